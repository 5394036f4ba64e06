package com.talvoro.zrjni.stack;

import static org.junit.jupiter.api.Assertions.assertAll;
import static org.junit.jupiter.api.Assertions.assertEquals;
import static org.junit.jupiter.api.Assertions.assertFalse;
import static org.junit.jupiter.api.Assertions.assertNotEquals;
import static org.junit.jupiter.api.Assertions.assertTrue;

import com.talvoro.zrjni.Jni_Zervane;
import com.talvoro.zrjni.ZRJniRecord;
import com.talvoro.zrjni.ZRJniStatsTag;
import java.util.List;
import java.util.function.Consumer;
import org.junit.jupiter.api.BeforeEach;
import org.junit.jupiter.api.DisplayName;
import org.junit.jupiter.api.Nested;
import org.junit.jupiter.api.Test;
import org.junit.jupiter.api.Timeout;
import org.junit.jupiter.api.extension.RegisterExtension;
import org.junit.jupiter.params.ParameterizedTest;
import org.junit.jupiter.params.provider.ValueSource;

@DisplayName("A statistics tag")
class StatisticsTagTest {
  private static final byte CLASS = 2;
  private static final byte SUM = 2;
  private static final byte EVERY_MONTH = 2;
  private static final byte FOREVER = 4;
  private static final long SOURCE_TAG = 1L;
  private static final long INTERVAL = 1L << 4;
  private static final long FIRST_UNKNOWN = 1L << 26;
  private static final String SOURCE = "FIC101.PV";

  @RegisterExtension final EmbeddedDatabase database = new EmbeddedDatabase();

  private int source;

  @BeforeEach
  void addTheTagsThatItNames() {
    source = Tags.add(SOURCE, ValueType.FLOAT64);
    Tags.add("TEXT", ValueType.STRING);
  }

  /** The sum of every week. */
  private static ZRJniStatsTag of(String name) {
    ZRJniStatsTag tag = new ZRJniStatsTag();
    tag.m_tagName = name;
    tag.m_sourceTagName = SOURCE;
    tag.m_statsType = SUM;
    tag.m_sampleInterval = 7 * 86_400;
    tag.m_filterExpr = "";
    return tag;
  }

  private static int add(ZRJniStatsTag tag, long mask, long extension) {
    assertEquals(Codes.OK, Jni_Zervane.addStatsTag(tag, mask, extension));
    int id = Jni_Zervane.queryStatsTagID(tag.m_tagName);
    assertTrue(id > 0, "identifier " + id);
    return id;
  }

  private static ZRJniStatsTag get(int id) {
    ZRJniStatsTag tag = new ZRJniStatsTag();
    tag.m_tagClass = CLASS; // reading leaves it alone
    assertEquals(Codes.OK, Jni_Zervane.queryStatsTag(id, tag));
    return tag;
  }

  private static ZRJniStatsTag complete(String name) {
    ZRJniStatsTag tag = of(name);
    tag.m_tagClass = CLASS;
    tag.m_tagType = ValueType.INT32.number();
    tag.m_archiving = false;
    tag.m_scan = false;
    tag.m_changeDate = 1_000_000_001;
    tag.m_changer = "changer";
    tag.m_creationDate = 1_000_000_002;
    tag.m_creator = "creator";
    tag.m_excMaxTime = 3;
    tag.m_excDev = 4.5f;
    tag.m_compDev = 5.5f;
    tag.m_compMaxTime = 6;
    tag.m_compType = 1;
    tag.m_recAccess = 7;
    tag.m_recOperateGroup = "record operators";
    tag.m_recOwnerGroup = "record owners";
    tag.m_tagAccess = 8;
    tag.m_tagOperateGroup = "tag operators";
    tag.m_tagOwnerGroup = "tag owners";
    tag.m_span = 9.5f;
    tag.m_minValue = 10.5f;
    tag.m_digitalSet = "digital set";
    tag.m_engUnits = "m³";
    tag.m_descriptor = "温度";
    tag.m_sampleStartDate = 1_000_000;
    tag.m_sampleMode = EVERY_MONTH;
    tag.m_sampleBeginOffset = 21_600;
    tag.m_sampleEndOffset = 86_400;
    tag.m_sampleMonthBeginDay = 31;
    tag.m_sampleMonthEndDay = 30;
    tag.m_beginTimeStamp = true;
    tag.m_timeStampOffset = -5;
    tag.m_scanPeriod = 7;
    tag.m_pctGood = 12.5f;
    tag.m_filterExpr = "value > 3";
    tag.m_dropBadMode = 1;
    tag.m_countParam1 = 1.5;
    tag.m_countParam2 = 2.5;
    tag.m_sampleType = 2;
    tag.m_interpOffset = 8;
    tag.m_interpPeriod = 9;
    tag.m_conversionType = 1;
    tag.m_conversion = 3.5;
    tag.m_filterFailMode = 1;
    tag.m_calcPeriod = 10;
    tag.m_reset = true;
    tag.m_useBadValue = true;
    return tag;
  }

  @Nested
  @DisplayName("being added")
  class Adding {
    @Test
    void keepsEveryPropertyButForTheFieldsThatAreNotRead() {
      ZRJniStatsTag tag = complete("S");
      int id = add(tag, Columns.ALL, Columns.ALL);

      ZRJniStatsTag stored = complete("S");
      stored.m_tagID = id;
      stored.m_creationDate = tag.m_changeDate;
      stored.m_span = tag.m_excDev;
      stored.m_minValue = tag.m_compDev;
      assertEquals(Records.fieldsOf(stored), Records.fieldsOf(get(id)));
    }

    @Test
    void takesTheSpanFromTheExceptionDeviation() {
      ZRJniStatsTag tag = of("S");
      tag.m_span = 7;
      tag.m_excDev = 2;
      assertEquals(2, get(add(tag, Columns.SPAN, Columns.ALL)).m_span);
    }

    @Test
    void doesNotTellItsIdentifierToTheCaller() {
      ZRJniStatsTag tag = of("S");
      tag.m_tagID = 4711;

      int id = add(tag, Columns.NONE, Columns.ALL);
      assertEquals(4711, tag.m_tagID);
      assertNotEquals(4711, id);
    }

    @Test
    void takesDefaultsForPropertiesThatAreNotSelected() {
      ZRJniStatsTag stored = get(add(complete("S"), Columns.NONE, SOURCE_TAG));
      assertAll(
          () -> assertEquals(SOURCE, stored.m_sourceTagName),
          () -> assertEquals(ValueType.FLOAT64.number(), stored.m_tagType),
          () -> assertEquals(0, stored.m_statsType),
          () -> assertEquals(0, stored.m_sampleMode),
          () -> assertEquals(3600, stored.m_sampleInterval),
          () -> assertEquals(1, stored.m_sampleMonthBeginDay),
          () -> assertEquals(31, stored.m_sampleMonthEndDay),
          () -> assertEquals(1, stored.m_dropBadMode),
          () -> assertEquals(60, stored.m_calcPeriod),
          () -> assertEquals("", stored.m_filterExpr),
          () -> assertEquals(0, stored.m_conversion),
          () -> assertFalse(stored.m_reset));
    }

    @ParameterizedTest
    @ValueSource(bytes = {31, -1, 0, 127})
    void keepsTheDaysOfAMonthWhereTheModeHasNone(byte day) {
      ZRJniStatsTag tag = of("S");
      tag.m_sampleMonthBeginDay = day;
      tag.m_sampleMonthEndDay = day;
      ZRJniStatsTag stored = get(add(tag, Columns.NONE, Columns.ALL));
      assertEquals(day, stored.m_sampleMonthBeginDay);
      assertEquals(day, stored.m_sampleMonthEndDay);
    }
  }

  @Nested
  @DisplayName("being refused")
  class Refusing {
    /** Both adding and modifying with what is wrong answer the status, and change nothing. */
    private void assertRefused(int status, Consumer<ZRJniStatsTag> wrong) {
      ZRJniStatsTag tag = of("S");
      wrong.accept(tag);
      assertEquals(status, Jni_Zervane.addStatsTag(tag, Columns.NONE, Columns.ALL));
      assertEquals(-1, Jni_Zervane.queryStatsTagID("S"));

      int id = add(of("SOUND"), Columns.NONE, Columns.ALL);
      List<String> before = Records.fieldsOf(get(id));
      tag.m_tagID = id;
      assertEquals(status, Jni_Zervane.modifyStatsTag(tag, Columns.NONE, Columns.ALL));
      assertEquals(before, Records.fieldsOf(get(id)));
    }

    @Test
    void isItForAnUnknownSource() {
      assertRefused(Codes.NAME_NOT_FOUND, tag -> tag.m_sourceTagName = "NOBODY");
    }

    @Test
    void isItForASumOfTexts() {
      assertRefused(Codes.INVALID_TAG_TYPE, tag -> tag.m_sourceTagName = "TEXT");
    }

    @Test
    void isItForWhatIsNoFilter() {
      assertRefused(Codes.INVALID_EXPRESSION, tag -> tag.m_filterExpr = "value >");
    }

    @ParameterizedTest
    @ValueSource(bytes = {-1, 5, 127})
    void isItForAModeThatIsNone(byte mode) {
      assertRefused(Codes.INVALID_PROPERTY, tag -> tag.m_sampleMode = mode);
    }

    @ParameterizedTest
    @ValueSource(bytes = {-1, 26})
    void isItForAStatisticThatIsNone(byte type) {
      assertRefused(Codes.INVALID_PROPERTY, tag -> tag.m_statsType = type);
    }

    @ParameterizedTest
    @ValueSource(ints = {0, -1, Integer.MIN_VALUE})
    void isItForAnIntervalThatIsNone(int interval) {
      assertRefused(Codes.INVALID_PROPERTY, tag -> tag.m_sampleInterval = interval);
    }

    @ParameterizedTest
    @ValueSource(bytes = {0, 32, -1})
    void isItForADayThatNoMonthHas(byte day) {
      assertRefused(
          Codes.INVALID_PROPERTY,
          tag -> {
            tag.m_sampleMode = EVERY_MONTH;
            tag.m_sampleMonthBeginDay = 1;
            tag.m_sampleMonthEndDay = day;
          });
    }

    @Test
    void isItForALoop() {
      int first = add(of("A"), Columns.NONE, Columns.ALL);
      ZRJniStatsTag second = of("B");
      second.m_sourceTagName = "A";
      add(second, Columns.NONE, Columns.ALL);
      ZRJniStatsTag changes = new ZRJniStatsTag();
      changes.m_tagID = first;
      changes.m_sourceTagName = "B";
      assertEquals(
          Codes.CALCULATION_LOOP, Jni_Zervane.modifyStatsTag(changes, Columns.NONE, SOURCE_TAG));
      assertEquals(SOURCE, get(first).m_sourceTagName);
    }

    @Test
    void isItForAMaskBeyondItsColumns() {
      assertEquals(
          Codes.INVALID_MASK, Jni_Zervane.addStatsTag(of("S"), Columns.NONE, FIRST_UNKNOWN));
    }
  }

  @Nested
  @DisplayName("being asked for and modified")
  class Modifying {
    @Test
    void hasNoIdentifierWhenThereIsNoneOfTheName() {
      assertEquals(-1, Jni_Zervane.queryStatsTagID("NOBODY"));
    }

    @Test
    void changesWhatIsSelectedAlone() {
      int id = add(of("S"), Columns.NONE, Columns.ALL);
      ZRJniStatsTag changes = complete("OTHER");
      changes.m_tagID = id;
      changes.m_sampleInterval = 5;
      assertEquals(Codes.OK, Jni_Zervane.modifyStatsTag(changes, Columns.NONE, INTERVAL));
      ZRJniStatsTag stored = get(id);
      assertEquals(5, stored.m_sampleInterval);
      assertEquals(0, stored.m_sampleMode);
      assertEquals("S", stored.m_tagName);
    }

    @Test
    void answersForATagOfAnotherClassAndForNone() {
      ZRJniStatsTag tag = new ZRJniStatsTag();
      tag.m_tagName = "before";
      assertEquals(Codes.INVALID_TAG_CLASS, Jni_Zervane.queryStatsTag(source, tag));
      assertEquals(Codes.TAG_NOT_FOUND, Jni_Zervane.queryStatsTag(Tags.UNKNOWN, tag));
      assertEquals("before", tag.m_tagName);
    }

    @Test
    void followsTheNameOfItsSource() {
      int id = add(of("S"), Columns.NONE, Columns.ALL);
      Tags.rename(source, "温度");
      assertEquals("温度", get(id).m_sourceTagName);
      Tags.delete(source);
      assertEquals("", get(id).m_sourceTagName);
    }
  }

  @Nested
  @DisplayName("being computed")
  @Timeout(60)
  class Computing {
    private static final int START = 1_000_000_000;
    private static final int WEEK = 7 * 86_400;

    /** The value at a second, once it is the one that is awaited. */
    private static void awaitValue(int id, int second, double value) {
      ZRJniRecord[] found = new ZRJniRecord[0];
      while (found.length == 0 || found[0].fFloat64 != value) {
        List<ZRJniRecord> records = Records.history(id);
        found =
            records.stream().filter(record -> record.nSec == second).toArray(ZRJniRecord[]::new);
      }
    }

    private int addSince(int start) {
      ZRJniStatsTag tag = of("S");
      tag.m_sampleStartDate = start;
      return add(tag, Columns.NONE, Columns.ALL);
    }

    @Test
    void hasItsPastAndComputesAgainWhatComesLate() {
      assertEquals(Codes.OK, Records.save(source, Records.float64(START + 1, 2)));
      assertEquals(Codes.OK, Records.save(source, Records.float64(START + 5, 3)));
      int id = addSince(START);
      awaitValue(id, START + WEEK, 5);
      assertEquals(Codes.OK, Records.save(source, Records.float64(START + 9, 4)));
      awaitValue(id, START + WEEK, 9);
    }

    @Test
    void ofAllTimeHasTheLatestWindowAlone() {
      assertEquals(Codes.OK, Records.save(source, Records.float64(START + 1, 2)));
      ZRJniStatsTag tag = of("S");
      tag.m_sampleMode = FOREVER;
      tag.m_sampleStartDate = START;
      tag.m_calcPeriod = WEEK;
      int id = add(tag, Columns.NONE, Columns.ALL);
      ZRJniRecord record = new ZRJniRecord();
      while (Jni_Zervane.querySnapShot(id, (byte) 0, record) != Codes.OK) Thread.onSpinWait();
      assertEquals(2, record.fFloat64);
      assertEquals(1, Records.history(id).size());
    }

    @Test
    void takesNoValuesFromOutside() {
      int id = addSince(START);
      assertEquals(Codes.INVALID_TAG_CLASS, Records.save(id, Records.float64(START, 1)));
    }
  }
}
