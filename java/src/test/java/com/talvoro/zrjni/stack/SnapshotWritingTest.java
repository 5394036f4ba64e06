package com.talvoro.zrjni.stack;

import static org.junit.jupiter.api.Assertions.assertArrayEquals;
import static org.junit.jupiter.api.Assertions.assertEquals;
import static org.junit.jupiter.api.Assertions.assertTrue;

import com.talvoro.zrjni.Jni_Zervane;
import com.talvoro.zrjni.ZRJniRecord;
import com.talvoro.zrjni.ZRJniTagProp;
import java.util.List;
import java.util.Objects;
import java.util.stream.Stream;
import org.junit.jupiter.api.DisplayName;
import org.junit.jupiter.api.Test;
import org.junit.jupiter.api.extension.RegisterExtension;
import org.junit.jupiter.params.ParameterizedTest;
import org.junit.jupiter.params.provider.Arguments;
import org.junit.jupiter.params.provider.CsvSource;
import org.junit.jupiter.params.provider.EnumSource;
import org.junit.jupiter.params.provider.MethodSource;
import org.junit.jupiter.params.provider.ValueSource;

@DisplayName("Writing one current value")
class SnapshotWritingTest {
  @RegisterExtension final EmbeddedDatabase database = new EmbeddedDatabase();

  @ParameterizedTest
  @EnumSource(ValueType.class)
  void keepsEveryValueOfTheType(ValueType type) {
    int id = Tags.add("A", type);
    int second = 100;
    for (Object value : type.edges()) {
      assertEquals(Codes.OK, Records.save(id, Records.of(type, second, value)));
      assertSameValue(value, type.load(Records.current(id)));
      second++;
    }

    database.reopen();

    List<ZRJniRecord> history = Records.history(id);
    assertEquals(type.edges().size(), history.size());
    for (int i = 0; i < history.size(); i++) {
      assertSameValue(type.edges().get(i), type.load(history.get(i)));
    }
  }

  private static void assertSameValue(Object expected, Object actual) {
    assertTrue(
        Objects.deepEquals(new Object[] {expected}, new Object[] {actual}),
        () -> "expected " + expected + " but was " + actual);
  }

  @ParameterizedTest(name = "argument {0}, record {1}")
  @CsvSource({"7, 0", "0, 4", "4, 6", "-1, -1"})
  void takesTheTypeFromTheTagAlone(byte argument, byte inRecord) {
    int id = Tags.add("A", ValueType.INT32);
    ZRJniRecord record = Records.filled();
    record.nTagType = inRecord;
    record.nInt32 = 42;

    assertEquals(Codes.OK, Jni_Zervane.saveSnapShot(id, argument, record));
    assertEquals(42, Records.current(id).nInt32);
    assertEquals(ValueType.INT32.number(), Records.current(id).nTagType);
  }

  @ParameterizedTest(name = "{0} is kept as {1}")
  @CsvSource({"0, 0", "64, 64", "192, 192", "65535, 65535", "65536, 0", "-1, 65535"})
  void keepsTheLowSixteenBitsOfTheQuality(int written, int kept) {
    int id = Tags.add("A", ValueType.FLOAT64);
    ZRJniRecord record = Records.float64(100, 2.5);
    record.nQuality = written;

    assertEquals(Codes.OK, Records.save(id, record));
    assertEquals(kept, Records.current(id).nQuality);
    assertEquals(kept, Records.history(id).get(0).nQuality);
  }

  static Stream<Arguments> textsThatAreTooLong() {
    return Stream.of(
        Arguments.of("1,000 bytes", "x".repeat(1000), Codes.VALUE_TOO_LONG),
        Arguments.of("334 characters of 3 bytes", "℃".repeat(334), Codes.VALUE_TOO_LONG),
        // The length travels in 16 bits, and the text has no end within what is left of it.
        Arguments.of("65,535 bytes", "x".repeat(65_535), Codes.INVALID_TEXT),
        Arguments.of("65,540 bytes", "x".repeat(65_540), Codes.INVALID_TEXT),
        Arguments.of("100,000 bytes", "x".repeat(100_000), Codes.INVALID_TEXT));
  }

  @ParameterizedTest(name = "{0}")
  @MethodSource("textsThatAreTooLong")
  void refusesATextThatCouldNotBeReadBackWhole(String name, String text, int status) {
    int id = Tags.add("A", ValueType.STRING);
    assertEquals(Codes.OK, Records.save(id, Records.of(ValueType.STRING, 100, "before")));

    assertEquals(status, Records.save(id, Records.of(ValueType.STRING, 101, text)));
    assertEquals("before", Records.current(id).strValue);
    assertEquals(1, Records.history(id).size());
  }

  @Test
  void takesNoTextForAnEmptyOne() {
    int id = Tags.add("A", ValueType.STRING);

    assertEquals(Codes.OK, Records.save(id, Records.of(ValueType.STRING, 100, null)));
    assertEquals("", Records.current(id).strValue);
  }

  @Test
  void refusesATextWithANulInside() {
    int id = Tags.add("A", ValueType.STRING);
    ZRJniRecord record = Records.of(ValueType.STRING, 100, "before\0after");

    assertEquals(Codes.INVALID_TEXT, Records.save(id, record));
    assertEquals(Codes.NO_RECORD, Jni_Zervane.querySnapShot(id, (byte) 0, record));
  }

  @ParameterizedTest(name = "{0} bytes")
  @ValueSource(ints = {1001, 65_535, 70_000})
  void refusesABlobThatCouldNotBeReadBackWhole(int length) {
    int id = Tags.add("A", ValueType.BLOB);

    assertEquals(
        Codes.VALUE_TOO_LONG,
        Records.save(id, Records.of(ValueType.BLOB, 100, ValueType.bytes(length))));
    assertEquals(List.of(), Records.history(id));
  }

  @ParameterizedTest(name = "of {0} bytes {1} are kept")
  @CsvSource({"65536, 0", "65537, 1", "66536, 1000"})
  void carriesTheLowSixteenBitsOfABlobsLength(int written, int kept) {
    int id = Tags.add("A", ValueType.BLOB);

    assertEquals(
        Codes.OK, Records.save(id, Records.of(ValueType.BLOB, 100, ValueType.bytes(written))));
    assertArrayEquals(ValueType.bytes(kept), Records.current(id).byteValue);
  }

  @Test
  void takesTheClockWhenTheTimeIsZero() {
    int id = Tags.add("A", ValueType.FLOAT64);
    long before = System.currentTimeMillis();
    assertEquals(Codes.OK, Records.save(id, Records.float64(0, 2.5)));
    long after = System.currentTimeMillis();

    ZRJniRecord record = Records.current(id);
    long time = record.nSec * 1000L + record.nMsec;
    assertTrue(before <= time && time <= after, before + " " + time + " " + after);
  }

  @ParameterizedTest(name = "{0} milliseconds")
  @ValueSource(ints = {-1, 1000, -32768, 32767})
  void refusesMillisecondsThatAreNone(int milliseconds) {
    int id = Tags.add("A", ValueType.FLOAT64);

    assertEquals(Codes.INVALID_TIME, Records.save(id, Records.at(100, milliseconds)));
    assertEquals(List.of(), Records.history(id));
  }

  @Test
  void readsSecondsAsUnsigned() {
    int id = Tags.add("A", ValueType.FLOAT64);
    int[] ascending = {1, Integer.MAX_VALUE, Integer.MIN_VALUE, -1};
    for (int seconds : ascending) {
      assertEquals(Codes.OK, Records.save(id, Records.float64(seconds, 2.5)));
    }

    assertEquals(
        List.of(1, Integer.MAX_VALUE, Integer.MIN_VALUE, -1), Records.seconds(Records.history(id)));
  }

  @Test
  void refusesARecordThatIsOlderThanTheCurrentValue() {
    int id = Tags.add("A", ValueType.FLOAT64);
    assertEquals(Codes.OK, Records.save(id, Records.float64(100, 1.5)));

    assertEquals(Codes.OUT_OF_ORDER, Records.save(id, Records.float64(99, 2.5)));
    assertEquals(1.5, Records.current(id).fFloat64);
    assertEquals(List.of(1.5), Records.doubles(Records.history(id)));
  }

  @Test
  void refusesAnOlderRecordAfterReopening() {
    int id = Tags.add("A", ValueType.FLOAT64);
    assertEquals(Codes.OK, Records.save(id, Records.float64(100, 1.5)));

    database.reopen();

    assertEquals(Codes.OUT_OF_ORDER, Records.save(id, Records.float64(99, 2.5)));
  }

  @Test
  void replacesTheRecordOfTheSameTime() {
    int id = Tags.add("A", ValueType.FLOAT64);
    assertEquals(Codes.OK, Records.save(id, Records.float64(100, 1.5)));
    assertEquals(Codes.OK, Records.save(id, Records.float64(100, 2.5)));

    assertEquals(2.5, Records.current(id).fFloat64);
    assertEquals(List.of(2.5), Records.doubles(Records.history(id)));
    database.reopen();
    assertEquals(List.of(2.5), Records.doubles(Records.history(id)));
  }

  @ParameterizedTest(name = "identifier {0}")
  @ValueSource(ints = {0, -1, Tags.UNKNOWN})
  void isRefusedForAnUnknownTag(int id) {
    assertEquals(Codes.TAG_NOT_FOUND, Records.save(id, Records.float64(100, 1.5)));
  }

  @Test
  void leavesTheHistoryAloneWhenTheTagDoesNotArchive() {
    ZRJniTagProp tag = Tags.named("A", ValueType.FLOAT64);
    tag.m_archiving = false;
    int id = Tags.add(tag, Columns.TYPE | Columns.ARCHIVING);

    assertEquals(Codes.OK, Records.save(id, Records.float64(100, 1.5)));
    assertEquals(1.5, Records.current(id).fFloat64);
    assertEquals(List.of(), Records.history(id));
    database.reopen();
    assertEquals(1.5, Records.current(id).fFloat64);
  }
}
