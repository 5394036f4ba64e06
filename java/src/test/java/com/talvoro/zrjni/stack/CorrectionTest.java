package com.talvoro.zrjni.stack;

import static org.junit.jupiter.api.Assertions.assertArrayEquals;
import static org.junit.jupiter.api.Assertions.assertEquals;

import com.talvoro.zrjni.Jni_Zervane;
import com.talvoro.zrjni.ZRJniRecord;
import com.talvoro.zrjni.ZRJniTagProp;
import java.util.List;
import org.junit.jupiter.api.DisplayName;
import org.junit.jupiter.api.Test;
import org.junit.jupiter.api.extension.RegisterExtension;
import org.junit.jupiter.params.ParameterizedTest;
import org.junit.jupiter.params.provider.CsvSource;
import org.junit.jupiter.params.provider.EnumSource;
import org.junit.jupiter.params.provider.ValueSource;

@DisplayName("A correction")
class CorrectionTest {
  @RegisterExtension final EmbeddedDatabase database = new EmbeddedDatabase();

  private static int correct(int id, ValueType type, ZRJniRecord record) {
    return Jni_Zervane.modifyRecord(id, type.number(), record);
  }

  private static void save(int id, ZRJniRecord record) {
    assertEquals(Codes.OK, Records.save(id, record));
  }

  /** A tag with records of its seconds' numbers at 10, 20 and 30. */
  private static int tagWithRecords() {
    int id = Tags.add("A", ValueType.FLOAT64);
    for (int second = 10; second <= 30; second += 10) {
      save(id, Records.float64(second, second));
    }
    return id;
  }

  private static List<Double> values(int id) {
    return Records.doubles(Records.history(id));
  }

  private static void assertValue(Object expected, ValueType type, ZRJniRecord record) {
    if (expected instanceof byte[] bytes) {
      assertArrayEquals(bytes, (byte[]) type.load(record));
    } else {
      assertEquals(expected, type.load(record));
    }
  }

  @ParameterizedTest
  @EnumSource
  void replacesValuesOfEveryTypeAndSurvivesReopening(ValueType type) {
    int id = Tags.add("A", type);
    for (Object value : type.edges()) {
      save(id, Records.of(type, 10, type.edges().get(0)));
      save(id, Records.of(type, 20, type.edges().get(0)));
      ZRJniRecord corrected = Records.of(type, 10, value);
      corrected.nQuality = 64;
      assertEquals(Codes.OK, correct(id, type, corrected));
      assertEquals(Codes.OK, correct(id, type, Records.of(type, 20, value)));
      List<ZRJniRecord> history = Records.history(id);
      assertEquals(2, history.size());
      assertValue(value, type, history.get(0));
      assertEquals(64, history.get(0).nQuality);
      assertValue(value, type, history.get(1));
      assertValue(value, type, Records.current(id));
      Tags.delete(id);
      id = Tags.add("A", type);
    }
    save(id, Records.of(type, 10, type.edges().get(0)));
    assertEquals(Codes.OK, correct(id, type, Records.of(type, 10, type.edges().get(1))));
    database.reopen();
    assertValue(type.edges().get(1), type, Records.history(id).get(0));
    assertValue(type.edges().get(1), type, Records.current(id));
  }

  @Test
  void ofTheCurrentValueChangesThatToo() {
    int id = tagWithRecords();

    assertEquals(Codes.OK, correct(id, ValueType.FLOAT64, Records.float64(20, -1)));
    assertEquals(30, Records.current(id).fFloat64);
    assertEquals(Codes.OK, correct(id, ValueType.FLOAT64, Records.float64(30, -2)));
    assertEquals(-2, Records.current(id).fFloat64);
    assertEquals(List.of(10.0, -1.0, -2.0), values(id));
    assertEquals(Codes.OUT_OF_ORDER, Records.save(id, Records.float64(29, 0)));
  }

  @ParameterizedTest(name = "{0} s {1} ms: {2}")
  @CsvSource({
    "9, 999, " + Codes.NO_RECORD,
    "10, 1, " + Codes.NO_RECORD,
    "0, 0, " + Codes.NO_RECORD,
    "-1, 999, " + Codes.NO_RECORD,
    "10, 1000, " + Codes.INVALID_TIME,
    "10, -1, " + Codes.INVALID_TIME,
  })
  void needsARecordAtExactlyItsTime(int second, int millisecond, int status) {
    int id = tagWithRecords();

    assertEquals(status, correct(id, ValueType.FLOAT64, Records.at(second, millisecond)));
    assertEquals(List.of(10.0, 20.0, 30.0), values(id));
  }

  @ParameterizedTest(name = "as type {0}")
  @ValueSource(bytes = {0, 3, 5, 7, 9, -1})
  void ofAnotherTypeThanTheTagsIsRefused(byte type) {
    int id = tagWithRecords();
    ZRJniRecord record = Records.filled();
    record.nSec = 10;
    record.nMsec = 0;
    record.nTagType = ValueType.FLOAT64.number(); // is not looked at

    assertEquals(Codes.TYPE_MISMATCH, Jni_Zervane.modifyRecord(id, type, record));
    assertEquals(List.of(10.0, 20.0, 30.0), values(id));
    assertEquals(Codes.TAG_NOT_FOUND, correct(Tags.UNKNOWN, ValueType.FLOAT64, record));
  }

  @ParameterizedTest(name = "{0} arrives as {1}")
  @CsvSource({"192, 192", "65535, 65535", "65536, 0", "-1, 65535", "65600, 64"})
  void keepsTheLowSixteenBitsOfTheQuality(int given, int kept) {
    int id = tagWithRecords();
    ZRJniRecord record = Records.float64(10, 5);
    record.nQuality = given;

    assertEquals(Codes.OK, correct(id, ValueType.FLOAT64, record));
    assertEquals(kept, Records.history(id).get(0).nQuality);
  }

  @Test
  void ofATextKeepsItsLimits() {
    int id = Tags.add("TEXT", ValueType.STRING);
    save(id, Records.of(ValueType.STRING, 10, "before"));

    assertEquals(
        Codes.VALUE_TOO_LONG,
        correct(id, ValueType.STRING, Records.of(ValueType.STRING, 10, "x".repeat(1000))));
    assertEquals("before", Records.current(id).strValue);
    assertEquals(
        Codes.OK, correct(id, ValueType.STRING, Records.of(ValueType.STRING, 10, "x".repeat(999))));
    assertEquals("x".repeat(999), Records.current(id).strValue);
    assertEquals(Codes.OK, correct(id, ValueType.STRING, Records.of(ValueType.STRING, 10, "")));
    assertEquals("", Records.current(id).strValue);
  }

  @Test
  void comesAfterWhatWasQueuedBefore() {
    int id = Tags.add("A", ValueType.FLOAT64);
    int count = 1_000;
    for (int second = 1; second <= count; second++) {
      ZRJniRecord[] records = {Records.float64(second, 0)};
      assertEquals(
          Codes.OK, Jni_Zervane.saveSnapshotsNowait(new int[] {id}, 1, records, new int[1]));
    }
    assertEquals(Codes.OK, correct(id, ValueType.FLOAT64, Records.float64(count, 7)));
    assertEquals(7, Records.current(id).fFloat64);
    assertEquals(count, Records.history(id).size());
  }

  @Test
  void reachesWhatFiltersHoldBack() {
    ZRJniTagProp properties = Tags.named("FILTERED", ValueType.FLOAT64);
    properties.m_excDev = 5;
    int id = Tags.add(properties, Columns.TYPE | Columns.EXC_DEV);
    save(id, Records.float64(10, 100));
    save(id, Records.float64(20, 104));
    assertEquals(List.of(100.0), values(id));

    assertEquals(Codes.OK, correct(id, ValueType.FLOAT64, Records.float64(20, 200)));
    assertEquals(List.of(100.0, 200.0), values(id));
    assertEquals(200, Records.current(id).fFloat64);
  }

  @Test
  void ofARecordInAChunkIsFoundAgain() {
    int id = tagWithRecords();
    database.reopen(); // which brings everything into chunks

    assertEquals(Codes.OK, correct(id, ValueType.FLOAT64, Records.float64(20, -1)));
    assertEquals(List.of(10.0, -1.0, 30.0), values(id));
    database.reopen();
    assertEquals(List.of(10.0, -1.0, 30.0), values(id));
    assertEquals(Codes.OK, correct(id, ValueType.FLOAT64, Records.float64(20, -2)));
    assertEquals(List.of(10.0, -2.0, 30.0), values(id));
  }
}
