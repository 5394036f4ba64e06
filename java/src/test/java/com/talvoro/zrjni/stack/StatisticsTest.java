package com.talvoro.zrjni.stack;

import static org.junit.jupiter.api.Assertions.assertEquals;

import com.talvoro.zrjni.DoubleWrapper;
import com.talvoro.zrjni.Jni_Zervane;
import com.talvoro.zrjni.ZRJniRecord;
import com.talvoro.zrjni.ZRJniTagProp;
import com.talvoro.zrjni.ZRJniTime;
import org.junit.jupiter.api.BeforeEach;
import org.junit.jupiter.api.DisplayName;
import org.junit.jupiter.api.Test;
import org.junit.jupiter.api.extension.RegisterExtension;
import org.junit.jupiter.params.ParameterizedTest;
import org.junit.jupiter.params.provider.CsvSource;
import org.junit.jupiter.params.provider.ValueSource;

@DisplayName("Statistics")
class StatisticsTest {
  private static final double UNTOUCHED = -77;
  private static final double EXACT = 1e-9;
  private static final int BAD = 0;

  private static final int MAX = 0;
  private static final int SUM = 2;
  private static final int PERCENT_GOOD = 4;
  private static final int MEAN = 5;
  private static final int TIME_WEIGHTED_MEAN = 6;
  private static final int INTEGRAL = 7;
  private static final int COUNT_IN_RANGE = 12;
  private static final int COUNT = 24;
  private static final int DURATION = 25;

  @RegisterExtension final EmbeddedDatabase database = new EmbeddedDatabase();

  /** A tag with good records of their seconds' numbers at 10, 20, 30, 40 and 50. */
  private int tag;

  @BeforeEach
  void addRecords() {
    tag = Tags.add("A", ValueType.FLOAT64);
    for (int second = 10; second <= 50; second += 10) {
      save(tag, Records.float64(second, second));
    }
  }

  private static void save(int id, ZRJniRecord record) {
    assertEquals(Codes.OK, Records.save(id, record));
  }

  private static void saveBad(int id, int second, double value) {
    ZRJniRecord record = Records.float64(second, value);
    record.nQuality = BAD;
    save(id, record);
  }

  private static ZRJniTime at(int second) {
    return Records.time(second, 0);
  }

  /** A question, which can be changed piece by piece, about the seconds 10 to 50 of the tag. */
  private final class Question {
    private final int type;
    private int id = tag;
    private ZRJniTime from = at(10);
    private ZRJniTime to = at(50);
    private int sampleType;
    private int period;
    private int offset;
    private double first;
    private double second;
    private String filter = "";
    private int failMode;
    private int useBad;

    Question(int type) {
      this.type = type;
    }

    Question of(int otherTag) {
      id = otherTag;
      return this;
    }

    Question between(ZRJniTime start, ZRJniTime end) {
      from = start;
      to = end;
      return this;
    }

    Question samples(int samples, int periodSeconds, int offsetSeconds) {
      sampleType = samples;
      period = periodSeconds;
      offset = offsetSeconds;
      return this;
    }

    Question parameters(double first, double second) {
      this.first = first;
      this.second = second;
      return this;
    }

    Question filter(String expression, int mode) {
      filter = expression;
      failMode = mode;
      return this;
    }

    Question useBad(int use) {
      useBad = use;
      return this;
    }

    int ask(DoubleWrapper value) {
      return Jni_Zervane.getTagStats(
          id, type, from, to, sampleType, period, offset, first, second, filter, failMode, useBad,
          value);
    }

    void isAnswered(double expected) {
      DoubleWrapper value = new DoubleWrapper();
      value.Value = UNTOUCHED;
      assertEquals(Codes.OK, ask(value));
      assertEquals(expected, value.Value, EXACT);
    }

    void isRefused(int status) {
      DoubleWrapper value = new DoubleWrapper();
      value.Value = UNTOUCHED;
      assertEquals(status, ask(value));
      assertEquals(UNTOUCHED, value.Value);
    }
  }

  private Question question(int type) {
    return new Question(type);
  }

  // The records inside are 10, 20, 30 and 40, since the right end does not belong to the region.
  // Their spans of 10 s each run on lines up to 50.
  @ParameterizedTest(name = "{0}, with {1} and {2}: {3}")
  @CsvSource({
    "0, 0, 0, 40",
    "1, 0, 0, 10",
    "2, 0, 0, 100",
    "3, 0, 0, 40",
    "4, 0, 0, 100",
    "5, 0, 0, 25",
    "6, 0, 0, 30",
    "7, 0, 0, 1200",
    "8, 0, 0, 3",
    "9, 20, 0, 1",
    "10, 20, 0, 0",
    "11, 0, 0, 30",
    "12, 15, 30, 2",
    "13, 15, 30, 2",
    "14, 0, 0, 30",
    "15, 0, 0, 11.180339887498949",
    "16, 20, 0, 20",
    "17, 20, 0, 30",
    "18, 20, 0, 10",
    "19, 20, 0, 30",
    "20, 20, 0, 10",
    "21, 20, 0, 20",
    "22, 15, 30, 20",
    "23, 15, 30, 20",
    "24, 0, 0, 4",
    "25, 0, 0, 40",
  })
  void areCalculatedOverARegion(int type, double first, double second, double expected) {
    question(type).parameters(first, second).isAnswered(expected);
    database.reopen();
    question(type).parameters(first, second).isAnswered(expected);
  }

  @Test
  void countFallsAsWellAsRises() {
    save(tag, Records.float64(60, 5));
    question(10).between(at(10), at(70)).parameters(20, 0).isAnswered(1);
    question(9).between(at(10), at(70)).parameters(20, 0).isAnswered(1);
  }

  @Test
  void ofTheShortFormsCountBothEnds() {
    DoubleWrapper value = new DoubleWrapper();
    assertEquals(Codes.OK, Jni_Zervane.getTagMean(tag, at(20), at(40), 0, 0, 0, value));
    assertEquals(30, value.Value);
    assertEquals(Codes.OK, Jni_Zervane.getTagMax(tag, at(20), at(40), 0, value));
    assertEquals(40, value.Value);
    assertEquals(Codes.OK, Jni_Zervane.getTagMin(tag, at(20), at(40), 0, value));
    assertEquals(20, value.Value);
    assertEquals(Codes.OK, Jni_Zervane.getTagSum(tag, at(20), at(40), 0, value));
    assertEquals(90, value.Value);
    assertEquals(Codes.OK, Jni_Zervane.getTagPercentGood(tag, at(20), at(40), value));
    assertEquals(100, value.Value);
    assertEquals(Codes.OK, Jni_Zervane.getTagMax(tag, at(30), at(30), 0, value));
    assertEquals(30, value.Value, "a region of one instant has its record");
  }

  @ParameterizedTest
  @CsvSource({"0, 0", "0, 1", "1, 0", "-5, 77", "6, 6"})
  void ofTheMeanAreTheSameWhateverTheModes(int qualityMode, int weightMode) {
    DoubleWrapper value = new DoubleWrapper();
    assertEquals(
        Codes.OK,
        Jni_Zervane.getTagMean(tag, at(10), at(50), qualityMode, weightMode, 0, value));
    assertEquals(30, value.Value);
  }

  @Test
  void ofTooFewGoodDataAreRefused() {
    int id = Tags.add("B", ValueType.FLOAT64);
    save(id, Records.float64(10, 1));
    saveBad(id, 20, 2);
    save(id, Records.float64(30, 3));
    save(id, Records.float64(50, 4));
    DoubleWrapper value = new DoubleWrapper();

    assertEquals(Codes.OK, Jni_Zervane.getTagPercentGood(id, at(10), at(50), value));
    assertEquals(75, value.Value, EXACT);
    assertEquals(Codes.OK, Jni_Zervane.getTagSum(id, at(10), at(50), 75, value));
    assertEquals(8, value.Value);
    assertEquals(
        Codes.TOO_FEW_GOOD, Jni_Zervane.getTagSum(id, at(10), at(50), 75.5f, value));
    assertEquals(
        Codes.TOO_FEW_GOOD, Jni_Zervane.getTagMean(id, at(10), at(50), 0, 0, 100, value));
    assertEquals(8, value.Value);
    for (float share : new float[] {-1, 100.5f, Float.NaN}) {
      assertEquals(
          Codes.INVALID_ARGUMENT, Jni_Zervane.getTagMax(id, at(10), at(50), share, value));
    }
  }

  @ParameterizedTest(name = "use {0}: {1} records, sum {2}")
  @CsvSource({"0, 4, 100", "1, 5, 107", "5, 5, 107", "-1, 5, 107"})
  void takeBadValuesWhenAskedTo(int use, double count, double sum) {
    save(tag, Records.float64(55, 1)); // so that order allows the bad one
    ZRJniRecord bad = Records.float64(45, 7);
    bad.nQuality = BAD;
    assertEquals(
        Codes.OK, Jni_Zervane.saveDisorderSnapshots(1, tag, new ZRJniRecord[] {bad}));

    question(COUNT).useBad(use).isAnswered(count);
    question(SUM).useBad(use).isAnswered(sum);
    question(PERCENT_GOOD).useBad(use).isAnswered(87.5);
  }

  @ParameterizedTest(name = "of type {0} every {1} s from {2} s on: {3}, mean {4}")
  @CsvSource({
    "1, 5, 0, 8, 27.5",
    "2, 5, 0, 8, 25",
    "1, 10, 5, 4, 30",
    "2, 10, 5, 4, 25",
    "1, 40, 0, 1, 10",
    "1, 100, 39, 1, 49",
  })
  void takeSamplesByInterpolation(int type, int period, int offset, double count, double mean) {
    question(COUNT).samples(type, period, offset).isAnswered(count);
    question(MEAN).samples(type, period, offset).isAnswered(mean);
  }

  @ParameterizedTest(name = "{0}, mode {1}: {2}")
  @CsvSource({
    "'', 0, 4",
    "value > 25, 0, 2",
    "value > 25 && time < 40, 0, 1",
    "quality == 192, 0, 4",
    "1 / (value - 20), 0, 3",
    "1 / (value - 20), 1, 4",
  })
  void leaveOutWhatAFilterDrops(String filter, int failMode, double count) {
    question(COUNT).filter(filter, failMode).isAnswered(count);
  }

  @ParameterizedTest(name = "{0}")
  @ValueSource(strings = {"value >", "unknown > 1", "'A' > 1", "value > 1)", ")"})
  void areRefusedForAFilterThatIsNoExpression(String filter) {
    question(COUNT).filter(filter, 0).isRefused(Codes.INVALID_EXPRESSION);
  }

  @Test
  void areRefusedForAFilterThatDoesNotEndInItsArray() {
    question(COUNT).filter("1".repeat(255), 0).isAnswered(4);
    question(COUNT).filter("1".repeat(256), 0).isRefused(Codes.INVALID_TEXT);
    question(COUNT).filter("1".repeat(290), 0).isRefused(Codes.INVALID_TEXT);
    question(COUNT)
        .filter("(".repeat(100) + "1" + ")".repeat(100), 0)
        .isRefused(Codes.INVALID_EXPRESSION);
  }

  @ParameterizedTest(name = "{0} s {1} ms to {2} s {3} ms: {4}")
  @CsvSource({
    "30, 0, 20, 0, " + Codes.INVALID_REGION,
    "30, 1, 30, 0, " + Codes.INVALID_REGION,
    "30, 0, 30, 0, " + Codes.INVALID_REGION, // its right end does not belong to it
    "10, 1000, 20, 0, " + Codes.INVALID_TIME,
    "10, 0, 20, -1, " + Codes.INVALID_TIME,
  })
  void areRefusedForARegionThatIsNone(int from, int fromMs, int to, int toMs, int status) {
    question(COUNT)
        .between(Records.time(from, fromMs), Records.time(to, toMs))
        .isRefused(status);
  }

  @ParameterizedTest
  @ValueSource(ints = {-1, 26, 256, Integer.MAX_VALUE, Integer.MIN_VALUE})
  void areRefusedForATypeThatIsNone(int type) {
    question(type).isRefused(Codes.INVALID_ARGUMENT);
  }

  @ParameterizedTest(name = "samples of type {0} every {1} s from {2} s on")
  @CsvSource({"-1, 1, 0", "3, 1, 0", "1, 0, 0", "2, -1, 0", "1, 1, -1"})
  void areRefusedForSamplesThatCannotBeTaken(int type, int period, int offset) {
    question(COUNT).samples(type, period, offset).isRefused(Codes.INVALID_ARGUMENT);
  }

  @Test
  void areRefusedForMoreSamplesThanTheyMayHave() {
    question(COUNT)
        .between(at(0), at(10_000_000))
        .samples(1, 1, 0)
        .isAnswered(10_000_000 - 10);
    question(COUNT)
        .between(at(0), at(10_000_001))
        .samples(1, 1, 0)
        .isRefused(Codes.INVALID_ARGUMENT);
  }

  @Test
  void areRefusedForParametersThatAreNone() {
    question(COUNT_IN_RANGE).parameters(2, 1).isRefused(Codes.INVALID_ARGUMENT);
    question(22).parameters(2, 1).isRefused(Codes.INVALID_ARGUMENT);
    question(COUNT).filter("1", 2).isRefused(Codes.INVALID_ARGUMENT);
    question(COUNT).of(Tags.UNKNOWN).isRefused(Codes.TAG_NOT_FOUND);
  }

  @ParameterizedTest(name = "of type {0}")
  @CsvSource({
    "0, true", "1, true", "2, true", "3, true", "4, false", "5, true", "6, true", "7, true",
    "8, false", "9, false", "10, false", "11, true", "12, false", "14, true", "15, true",
    "16, false", "22, false", "24, false", "25, false"
  })
  void ofARegionBeforeAllRecordsAreNoneOrNothing(int type, boolean isNone) {
    Question before = question(type).between(at(1), at(9));
    if (isNone) {
      before.isRefused(Codes.NO_RECORD);
    } else {
      before.isAnswered(0);
    }
  }

  @Test
  void ofTheTimeBetweenRecordsGoOnFromTheOneBefore() {
    question(TIME_WEIGHTED_MEAN).between(at(22), at(28)).isAnswered(25);
    question(INTEGRAL).between(at(22), at(28)).isAnswered(150);
    question(DURATION).between(at(22), at(28)).isAnswered(6);
    question(MAX).between(at(22), at(28)).isRefused(Codes.NO_RECORD);
    question(INTEGRAL).between(at(50), at(60)).isAnswered(500);
  }

  @Test
  void ofTextsAreThoseThatNeedNoNumbers() {
    int id = Tags.add("TEXT", ValueType.STRING);
    save(id, Records.of(ValueType.STRING, 10, "a"));
    save(id, Records.of(ValueType.STRING, 20, "b"));
    save(id, Records.of(ValueType.STRING, 30, "b"));

    question(COUNT).of(id).isAnswered(3);
    question(8).of(id).isAnswered(1);
    question(PERCENT_GOOD).of(id).isAnswered(100);
    question(DURATION).of(id).isAnswered(40);
    for (int type : new int[] {MAX, SUM, MEAN, INTEGRAL, COUNT_IN_RANGE, 16, 3, 11}) {
      question(type).of(id).isRefused(Codes.TYPE_MISMATCH);
    }
  }

  @Test
  void ofStatesHoldFromOneToTheNext() {
    int id = Tags.add("STATE", ValueType.DIGITAL);
    save(id, Records.of(ValueType.DIGITAL, 10, (byte) 0));
    save(id, Records.of(ValueType.DIGITAL, 20, (byte) 1));
    save(id, Records.of(ValueType.DIGITAL, 50, (byte) 0));

    question(18).of(id).parameters(1, 0).isAnswered(30);
    question(TIME_WEIGHTED_MEAN).of(id).isAnswered(0.75);
  }

  @Test
  void seeWhatFiltersHoldBack() {
    ZRJniTagProp properties = Tags.named("FILTERED", ValueType.FLOAT64);
    properties.m_excDev = 5;
    int id = Tags.add(properties, Columns.TYPE | Columns.EXC_DEV);
    save(id, Records.float64(10, 100));
    save(id, Records.float64(30, 104));
    assertEquals(1, Records.history(id).size());

    question(COUNT).of(id).isAnswered(2);
    question(INTEGRAL).of(id).between(at(10), at(30)).isAnswered(2040);
  }

  @Test
  void followACorrection() {
    assertEquals(
        Codes.OK,
        Jni_Zervane.modifyRecord(tag, ValueType.FLOAT64.number(), Records.float64(20, 200)));
    question(MAX).isAnswered(200);
    question(SUM).isAnswered(280);
    database.reopen();
    assertEquals(
        Codes.OK,
        Jni_Zervane.modifyRecord(tag, ValueType.FLOAT64.number(), Records.float64(30, 300)));
    question(MAX).isAnswered(300);
    question(SUM).isAnswered(550);
  }
}
