package com.talvoro.zrjni.stack;

import static org.junit.jupiter.api.Assertions.assertArrayEquals;
import static org.junit.jupiter.api.Assertions.assertEquals;
import static org.junit.jupiter.api.Assertions.assertNotSame;
import static org.junit.jupiter.api.Assertions.assertSame;
import static org.junit.jupiter.api.Assertions.assertThrows;

import com.talvoro.zrjni.Jni_Zervane;
import com.talvoro.zrjni.ZRJniRecord;
import com.talvoro.zrjni.ZRJniTagProp;
import java.util.ArrayList;
import java.util.Arrays;
import java.util.Collections;
import java.util.List;
import java.util.stream.IntStream;
import org.junit.jupiter.api.BeforeEach;
import org.junit.jupiter.api.DisplayName;
import org.junit.jupiter.api.Test;
import org.junit.jupiter.api.extension.RegisterExtension;
import org.junit.jupiter.params.ParameterizedTest;
import org.junit.jupiter.params.provider.CsvSource;
import org.junit.jupiter.params.provider.ValueSource;

@DisplayName("Values at instants")
class InterpolatedHistoryTest {
  private static final byte ANY_TYPE = 0;
  private static final int LINEAR = 0;
  private static final int PREVIOUS = 1;
  private static final int BAD = 0;

  @RegisterExtension final EmbeddedDatabase database = new EmbeddedDatabase();

  /** A tag with good records of 100 at second 10, 200 at 20 and 500 at 50, and a bad one at 40. */
  private int tag;

  @BeforeEach
  void addRecords() {
    tag = Tags.add("A", ValueType.FLOAT64);
    save(tag, Records.float64(10, 100));
    save(tag, Records.float64(20, 200));
    ZRJniRecord bad = Records.float64(40, 7);
    bad.nQuality = BAD;
    save(tag, bad);
    save(tag, Records.float64(50, 500));
  }

  private static void save(int id, ZRJniRecord record) {
    assertEquals(Codes.OK, Records.save(id, record));
  }

  private static ZRJniRecord[] instants(int... milliseconds) {
    return IntStream.of(milliseconds)
        .mapToObj(ms -> Records.at(ms / 1000, ms % 1000))
        .toArray(ZRJniRecord[]::new);
  }

  /** The records at these milliseconds since 1970, which all have a value. */
  private static ZRJniRecord[] at(int id, int mode, int... milliseconds) {
    ZRJniRecord[] records = instants(milliseconds);
    int[] codes = new int[records.length];
    Arrays.fill(codes, -1);
    int status =
        Jni_Zervane.queryInterpRecordsByMode(id, ANY_TYPE, records.length, records, codes, mode);
    assertEquals(Codes.OK, status);
    assertArrayEquals(new int[records.length], codes);
    return records;
  }

  @ParameterizedTest(name = "at {0} ms: {1} of quality {2}, previous {3} of {4}")
  @CsvSource({
    "10000, 100, 192, 100, 192",
    "15000, 150, 192, 100, 192",
    "12345, 123.45, 192, 100, 192",
    "20000, 200, 192, 200, 192",
    "35000, 350, 88, 200, 192",
    "40000, 400, 88, 200, 88",
    "45000, 450, 88, 200, 88",
    "50000, 500, 192, 500, 192",
    "60000, 500, 192, 500, 192",
  })
  void lieOnTheLineBetweenGoodRecordsOrAreTheOneBefore(
      int ms, double line, int lineQuality, double previous, int previousQuality) {
    ZRJniRecord[] records = instants(ms);
    int[] codes = {-1};

    assertEquals(Codes.OK, Jni_Zervane.queryInterpRecords(tag, ANY_TYPE, 1, records, codes));
    assertEquals(Codes.OK, codes[0]);
    assertEquals(line, records[0].fFloat64, 1e-9);
    assertEquals(lineQuality, records[0].nQuality);
    assertEquals(ValueType.FLOAT64.number(), records[0].nTagType);
    ZRJniRecord before = at(tag, PREVIOUS, ms)[0];
    assertEquals(previous, before.fFloat64);
    assertEquals(previousQuality, before.nQuality);
  }

  @Test
  void comeInTheOrderOfTheInstantsWhateverThatIs() {
    ZRJniRecord[] records = at(tag, LINEAR, 50_000, 15_000, 10_000, 15_000, 12_000);

    assertEquals(List.of(500.0, 150.0, 100.0, 150.0, 120.0), Records.doubles(List.of(records)));
    assertEquals(List.of(50, 15, 10, 15, 12), Records.seconds(List.of(records)));
  }

  @Test
  void haveACodeEachAndSucceedForOneTagThoughSomeFail() {
    ZRJniRecord[] records = {
      Records.at(9, 999), Records.at(15, 0), Records.at(15, 1000), Records.at(-1, 999)
    };
    ZRJniRecord[] given = records.clone();
    int[] codes = new int[5];
    codes[4] = 7;

    assertEquals(Codes.OK, Jni_Zervane.queryInterpRecords(tag, ANY_TYPE, 4, records, codes));
    assertArrayEquals(
        new int[] {Codes.NO_RECORD, Codes.OK, Codes.INVALID_TIME, Codes.NO_RECORD, 7}, codes);
    for (int i = 0; i < records.length; i++) {
      assertNotSame(given[i], records[i]);
      assertEquals(given[i].nSec, records[i].nSec);
      assertEquals(given[i].nMsec, records[i].nMsec);
      assertEquals(i == 1 ? Records.GOOD : 0, records[i].nQuality);
    }
    assertEquals(150, records[1].fFloat64);
    assertEquals(0, records[0].nTagType);
  }

  @Test
  void ofManyTagsTellWhenSomeFail() {
    int other = Tags.add("B", ValueType.INT32);
    save(other, Records.of(ValueType.INT32, 10, -3));
    save(other, Records.of(ValueType.INT32, 20, -4));
    ZRJniRecord[] records = instants(15_000, 15_000, 9_000);
    int[] codes = new int[3];

    int status =
        Jni_Zervane.queryTagsInterpRecordsByMode(
            LINEAR, new int[] {tag, other, tag}, 3, records, codes);
    assertEquals(Codes.SOME_INSTANTS_FAILED, status);
    assertArrayEquals(new int[] {Codes.OK, Codes.OK, Codes.NO_RECORD}, codes);
    assertEquals(150, records[0].fFloat64);
    assertEquals(-4, records[1].nInt32, "a half is rounded away from zero");
    assertEquals(0, records[2].nQuality);

    ZRJniRecord[] two = instants(15_000, 15_000);
    status =
        Jni_Zervane.queryTagsInterpRecordsByMode(
            PREVIOUS, new int[] {tag, other}, 2, two, codes);
    assertEquals(Codes.OK, status);
    assertEquals(100, two[0].fFloat64);
    assertEquals(-3, two[1].nInt32);
  }

  @Test
  void ofTwoTextTagsComeEachFromItsOwn() {
    int first = Tags.add("T1", ValueType.STRING);
    int second = Tags.add("T2", ValueType.STRING);
    int blob = Tags.add("BLOB", ValueType.BLOB);
    save(first, Records.of(ValueType.STRING, 10, "x".repeat(999)));
    save(second, Records.of(ValueType.STRING, 10, "second"));
    save(blob, Records.of(ValueType.BLOB, 10, ValueType.bytes(1000)));
    ZRJniRecord[] records = instants(15_000, 15_000, 15_000, 15_000);

    int status =
        Jni_Zervane.queryTagsInterpRecordsByMode(
            LINEAR, new int[] {first, blob, tag, second}, 4, records, new int[4]);
    assertEquals(Codes.OK, status);
    assertEquals("x".repeat(999), records[0].strValue);
    assertArrayEquals(ValueType.bytes(1000), records[1].byteValue);
    assertEquals(150, records[2].fFloat64);
    assertEquals("second", records[3].strValue);
    for (ZRJniRecord text : at(first, LINEAR, 12_000, 13_000)) {
      assertEquals("x".repeat(999), text.strValue);
    }
  }

  @ParameterizedTest(name = "asked as type {0}")
  @ValueSource(bytes = {0, 6, 7, -1, 99})
  void areTheSameWhateverTypeIsAskedFor(byte asked) {
    ZRJniRecord[] records = instants(15_000, 16_000);

    assertEquals(
        Codes.OK, Jni_Zervane.queryInterpRecords(tag, asked, 2, records, new int[2]));
    assertEquals(List.of(150.0, 160.0), Records.doubles(List.of(records)));
  }

  @ParameterizedTest(name = "mode {0}: {1}")
  @CsvSource({"0, 150", "1, 100", "256, 150", "513, 100", "-255, 100"})
  void areFoundByTheLowByteOfTheMode(int mode, double value) {
    assertEquals(value, at(tag, mode, 15_000)[0].fFloat64);
  }

  @ParameterizedTest
  @ValueSource(ints = {2, 255, -1})
  void areRefusedInAModeThatIsNone(int mode) {
    ZRJniRecord[] records = instants(15_000);
    ZRJniRecord given = records[0];
    int[] codes = {7};

    assertEquals(
        Codes.INVALID_ARGUMENT,
        Jni_Zervane.queryInterpRecordsByMode(tag, ANY_TYPE, 1, records, codes, mode));
    assertEquals(
        Codes.INVALID_ARGUMENT,
        Jni_Zervane.queryTagsInterpRecordsByMode(mode, new int[] {tag}, 1, records, codes));
    assertSame(given, records[0]);
    assertEquals(7, codes[0]);
  }

  @Test
  void ofAnUnknownTagAreRefusedAndNothingIsWritten() {
    ZRJniRecord[] records = instants(15_000, 16_000);
    ZRJniRecord[] given = records.clone();
    int[] codes = {7, 8};

    assertEquals(
        Codes.TAG_NOT_FOUND,
        Jni_Zervane.queryInterpRecords(Tags.UNKNOWN, ANY_TYPE, 2, records, codes));
    assertEquals(
        Codes.TAG_NOT_FOUND,
        Jni_Zervane.queryTagsInterpRecordsByMode(
            LINEAR, new int[] {tag, Tags.UNKNOWN}, 2, records, codes));
    assertArrayEquals(given, records);
    assertArrayEquals(new int[] {7, 8}, codes);
  }

  @Test
  void ofNoInstantsSucceed() {
    assertEquals(
        Codes.OK,
        Jni_Zervane.queryInterpRecords(tag, ANY_TYPE, 0, new ZRJniRecord[0], new int[0]));
    assertEquals(
        Codes.OK,
        Jni_Zervane.queryTagsInterpRecordsByMode(
            LINEAR, new int[0], 0, new ZRJniRecord[0], new int[0]));
  }

  @Test
  void needAPlaceForEveryCode() {
    assertThrows(
        ArrayIndexOutOfBoundsException.class,
        () ->
            Jni_Zervane.queryInterpRecords(
                tag, ANY_TYPE, 2, instants(15_000, 16_000), new int[1]));
  }

  @Test
  void ofStatesAndTextsAreTheOnesBefore() {
    int state = Tags.add("STATE", ValueType.DIGITAL);
    save(state, Records.of(ValueType.DIGITAL, 10, (byte) 1));
    save(state, Records.of(ValueType.DIGITAL, 20, (byte) 3));

    assertEquals(1, at(state, LINEAR, 19_999)[0].nDigital);
    assertEquals(3, at(state, LINEAR, 20_000)[0].nDigital);
  }

  @Test
  void seeWhatFiltersHoldBack() {
    ZRJniTagProp properties = Tags.named("FILTERED", ValueType.FLOAT64);
    properties.m_excDev = 5;
    int id = Tags.add(properties, Columns.TYPE | Columns.EXC_DEV);
    save(id, Records.float64(10, 100));
    save(id, Records.float64(20, 104));
    assertEquals(1, Records.history(id).size());

    assertEquals(102, at(id, LINEAR, 15_000)[0].fFloat64, 1e-9);
    assertEquals(104, at(id, PREVIOUS, 20_000)[0].fFloat64);
    database.reopen();
    assertEquals(102, at(id, LINEAR, 15_000)[0].fFloat64, 1e-9);
  }

  @Test
  void stayTheSameOverManyChunksAndAfterReopening() {
    int id = Tags.add("LONG", ValueType.INT32);
    int count = 5_000;
    for (int first = 0; first < count; first += 500) {
      int[] ids = IntStream.generate(() -> id).limit(500).toArray();
      ZRJniRecord[] records =
          IntStream.range(first, first + 500)
              .mapToObj(i -> Records.of(ValueType.INT32, 10 * i + 10, 100 * i))
              .toArray(ZRJniRecord[]::new);
      assertEquals(Codes.OK, Jni_Zervane.saveSnapshots(ids, 500, records, new int[500]));
    }
    List<Integer> order = IntStream.range(0, count - 1).boxed().toList();
    List<Integer> backward = new ArrayList<>(order);
    Collections.reverse(backward);

    for (List<Integer> asked : List.of(order, backward)) {
      int[] milliseconds = asked.stream().mapToInt(i -> 10_000 * i + 15_000).toArray();
      ZRJniRecord[] records = at(id, LINEAR, milliseconds);
      for (int i = 0; i < records.length; i++) {
        assertEquals(100 * asked.get(i) + 50, records[i].nInt32);
      }
      database.reopen();
    }
  }
}
