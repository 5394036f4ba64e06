package com.talvoro.zrjni.stack;

import static org.junit.jupiter.api.Assertions.assertArrayEquals;
import static org.junit.jupiter.api.Assertions.assertEquals;
import static org.junit.jupiter.api.Assertions.assertNull;
import static org.junit.jupiter.api.Assertions.assertSame;

import com.talvoro.zrjni.IntWrapper;
import com.talvoro.zrjni.Jni_Zervane;
import com.talvoro.zrjni.ZRJniRecord;
import com.talvoro.zrjni.ZRJniTime;
import java.util.ArrayList;
import java.util.Collections;
import java.util.List;
import java.util.stream.IntStream;
import java.util.stream.Stream;
import org.junit.jupiter.api.BeforeEach;
import org.junit.jupiter.api.DisplayName;
import org.junit.jupiter.api.Test;
import org.junit.jupiter.api.extension.RegisterExtension;
import org.junit.jupiter.params.ParameterizedTest;
import org.junit.jupiter.params.provider.CsvSource;
import org.junit.jupiter.params.provider.ValueSource;

@DisplayName("Raw history")
class RawHistoryTest {
  private static final byte ANY_TYPE = 0;

  @RegisterExtension final EmbeddedDatabase database = new EmbeddedDatabase();

  /**
   * A tag with one record at each of the seconds 10, 20, 30, 40 and 50, of the value of its time.
   */
  private int tag;

  @BeforeEach
  void addRecords() {
    tag = Tags.add("A", ValueType.FLOAT64);
    for (int second = 10; second <= 50; second += 10) {
      assertEquals(Codes.OK, Records.save(tag, Records.float64(second, second)));
    }
  }

  private static List<Integer> between(int id, ZRJniTime from, ZRJniTime to, int capacity) {
    ZRJniRecord[] records = new ZRJniRecord[capacity];
    assertEquals(Codes.OK, Jni_Zervane.queryRawRecords(id, ANY_TYPE, from, to, capacity, records));
    return Records.seconds(Records.present(records));
  }

  private static List<Integer> from(int id, ZRJniTime start, int backward, int capacity) {
    ZRJniRecord[] records = new ZRJniRecord[capacity];
    int status =
        Jni_Zervane.querySpecifyNumRawRecords(id, ANY_TYPE, start, backward, capacity, records);
    assertEquals(Codes.OK, status);
    return Records.seconds(Records.present(records));
  }

  /** The seconds of a row of a table; none for an empty cell. */
  private static List<Integer> list(String seconds) {
    return seconds == null
        ? List.of()
        : Stream.of(seconds.split(" ")).map(Integer::valueOf).toList();
  }

  @ParameterizedTest(name = "{0} s {1} ms to {2} s {3} ms: {4}")
  @CsvSource({
    "20, 0, 40, 0, 20 30 40",
    "20, 1, 39, 999, 30",
    "19, 999, 40, 1, 20 30 40",
    "30, 0, 30, 0, 30",
    "31, 0, 39, 0, ",
    "0, 0, 9, 999, ",
    "51, 0, -1, 999, ",
    "0, 0, -1, 999, 10 20 30 40 50",
  })
  void ofAnIntervalIncludesBothEnds(int from, int fromMs, int to, int toMs, String expected) {
    ZRJniTime start = Records.time(from, fromMs);
    ZRJniTime end = Records.time(to, toMs);
    IntWrapper count = new IntWrapper();

    assertEquals(list(expected), between(tag, start, end, 10));
    assertEquals(Codes.OK, Jni_Zervane.queryRawRecordsCount(tag, start, end, count));
    assertEquals(list(expected).size(), count.Value);
  }

  @Test
  void ofAnIntervalGivesTheOldestWhenTheCapacityIsTooSmall() {
    assertEquals(List.of(10, 20, 30), between(tag, Records.BEGINNING, Records.END, 3));
  }

  @ParameterizedTest(name = "from {0} s {1} ms, backward {2}, {3} at most: {4}")
  @CsvSource({
    "0, 0, 0, 2, 10 20",
    "20, 0, 0, 2, 20 30",
    "20, 1, 0, 2, 30 40",
    "40, 0, 0, 9, 40 50",
    "51, 0, 0, 9, ",
    "-1, 999, 1, 2, 50 40",
    "30, 0, 1, 2, 30 20",
    "29, 999, 1, 9, 20 10",
    "30, 0, 2, 2, 30 20",
    "30, 0, -1, 2, 30 20",
    "9, 999, 1, 9, ",
  })
  void fromATimeCountsThatTimeInEitherDirection(
      int second, int millisecond, int backward, int capacity, String expected) {
    assertEquals(list(expected), from(tag, Records.time(second, millisecond), backward, capacity));
  }

  @ParameterizedTest(name = "asked as type {0}")
  @ValueSource(bytes = {0, 4, 6, 7, -1, 99})
  void isTheSameWhateverTypeIsAskedFor(byte asked) {
    ZRJniRecord[] interval = new ZRJniRecord[5];
    ZRJniRecord[] number = new ZRJniRecord[5];

    assertEquals(
        Codes.OK,
        Jni_Zervane.queryRawRecords(tag, asked, Records.BEGINNING, Records.END, 5, interval));
    assertEquals(
        Codes.OK,
        Jni_Zervane.querySpecifyNumRawRecords(
            tag, asked, Records.BEGINNING, Records.FORWARD, 5, number));
    for (ZRJniRecord[] records : List.of(interval, number)) {
      for (ZRJniRecord record : records) {
        assertEquals(ValueType.FLOAT64.number(), record.nTagType);
        assertEquals(record.nSec, record.fFloat64);
        assertEquals(Records.GOOD, record.nQuality);
        assertNull(record.strValue);
        assertNull(record.byteValue);
      }
    }
  }

  @Test
  void replacesOnlyTheElementsThatItFills() {
    ZRJniRecord first = new ZRJniRecord();
    ZRJniRecord last = Records.filled();
    ZRJniRecord[] records = {first, null, null, null, null, last};

    assertEquals(
        Codes.OK,
        Jni_Zervane.queryRawRecords(tag, ANY_TYPE, Records.BEGINNING, Records.END, 6, records));
    assertEquals(10, records[0].nSec);
    assertEquals(0, first.nSec);
    assertSame(last, records[5]);
  }

  @Test
  void ofACapacityOfNothingSucceedsAndWritesNothing() {
    ZRJniRecord untouched = new ZRJniRecord();
    ZRJniRecord[] records = {untouched};

    assertEquals(
        Codes.OK,
        Jni_Zervane.queryRawRecords(tag, ANY_TYPE, Records.BEGINNING, Records.END, 0, records));
    assertEquals(
        Codes.OK,
        Jni_Zervane.querySpecifyNumRawRecords(
            tag, ANY_TYPE, Records.BEGINNING, Records.FORWARD, 0, records));
    assertSame(untouched, records[0]);
  }

  @Test
  void isRefusedForAnUnknownTagAndWritesNothing() {
    ZRJniRecord[] records = new ZRJniRecord[1];
    IntWrapper count = new IntWrapper();
    count.Value = 7;

    assertEquals(
        Codes.TAG_NOT_FOUND,
        Jni_Zervane.queryRawRecords(
            Tags.UNKNOWN, ANY_TYPE, Records.BEGINNING, Records.END, 1, records));
    assertEquals(
        Codes.TAG_NOT_FOUND,
        Jni_Zervane.querySpecifyNumRawRecords(
            Tags.UNKNOWN, ANY_TYPE, Records.BEGINNING, Records.FORWARD, 1, records));
    assertEquals(
        Codes.TAG_NOT_FOUND,
        Jni_Zervane.queryRawRecordsCount(Tags.UNKNOWN, Records.BEGINNING, Records.END, count));
    assertNull(records[0]);
    assertEquals(7, count.Value);
  }

  @ParameterizedTest(name = "{0} s {1} ms to {2} s {3} ms: {4}")
  @CsvSource({
    "30, 0, 20, 0, " + Codes.INVALID_REGION,
    "30, 1, 30, 0, " + Codes.INVALID_REGION,
    "-1, 0, 1, 0, " + Codes.INVALID_REGION,
    "10, 1000, 20, 0, " + Codes.INVALID_TIME,
    "10, 0, 20, -1, " + Codes.INVALID_TIME,
  })
  void isRefusedForAnIntervalThatIsNone(int from, int fromMs, int to, int toMs, int status) {
    ZRJniTime start = Records.time(from, fromMs);
    ZRJniTime end = Records.time(to, toMs);
    ZRJniRecord[] records = new ZRJniRecord[1];
    IntWrapper count = new IntWrapper();
    count.Value = 7;

    assertEquals(status, Jni_Zervane.queryRawRecords(tag, ANY_TYPE, start, end, 1, records));
    assertEquals(status, Jni_Zervane.queryRawRecordsCount(tag, start, end, count));
    assertNull(records[0]);
    assertEquals(7, count.Value);
  }

  @Test
  void isRefusedFromATimeThatIsNone() {
    int status =
        Jni_Zervane.querySpecifyNumRawRecords(
            tag, ANY_TYPE, Records.time(1, 1000), Records.FORWARD, 1, new ZRJniRecord[1]);

    assertEquals(Codes.INVALID_TIME, status);
  }

  @Test
  void ofTextsGivesEachRecordItsOwn() {
    int text = Tags.add("TEXT", ValueType.STRING);
    int blob = Tags.add("BLOB", ValueType.BLOB);
    int count = 100;
    for (int i = 1; i <= count; i++) {
      String value = "text " + "x".repeat(i);
      assertEquals(Codes.OK, Records.save(text, Records.of(ValueType.STRING, i, value)));
      assertEquals(
          Codes.OK, Records.save(blob, Records.of(ValueType.BLOB, i, ValueType.bytes(10 * i))));
    }

    List<ZRJniRecord> texts = Records.history(text);
    List<ZRJniRecord> blobs = Records.history(blob);
    assertEquals(count, texts.size());
    assertEquals(count, blobs.size());
    for (int i = 1; i <= count; i++) {
      assertEquals("text " + "x".repeat(i), texts.get(i - 1).strValue);
      assertArrayEquals(ValueType.bytes(10 * i), blobs.get(i - 1).byteValue);
    }
  }

  @Test
  void staysWholeOverManyChunksInEitherDirectionAndAfterReopening() {
    int id = Tags.add("LONG", ValueType.INT32);
    int batches = 40;
    int batchSize = 250;
    for (int batch = 0; batch < batches; batch++) {
      int first = 1 + batch * batchSize;
      saveInt32Batch(id, first, batchSize);
    }
    List<Integer> all = IntStream.rangeClosed(1, batches * batchSize).boxed().toList();
    List<Integer> backward = new ArrayList<>(all);
    Collections.reverse(backward);

    for (int round = 0; round < 2; round++) {
      assertEquals(all, between(id, Records.BEGINNING, Records.END, all.size()));
      assertEquals(backward, from(id, Records.END, Records.BACKWARD, all.size()));
      assertEquals(
          all.subList(4_999, 5_010),
          between(id, Records.time(5_000, 0), Records.time(5_010, 0), 99));
      database.reopen();
    }
  }

  private static void saveInt32Batch(int id, int first, int count) {
    int[] ids = IntStream.generate(() -> id).limit(count).toArray();
    ZRJniRecord[] records =
        IntStream.range(first, first + count)
            .mapToObj(second -> Records.of(ValueType.INT32, second, second))
            .toArray(ZRJniRecord[]::new);
    assertEquals(Codes.OK, Jni_Zervane.saveSnapshots(ids, count, records, new int[count]));
  }
}
