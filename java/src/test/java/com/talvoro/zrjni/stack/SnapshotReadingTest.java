package com.talvoro.zrjni.stack;

import static org.junit.jupiter.api.Assertions.assertArrayEquals;
import static org.junit.jupiter.api.Assertions.assertEquals;
import static org.junit.jupiter.api.Assertions.assertNotSame;
import static org.junit.jupiter.api.Assertions.assertNull;
import static org.junit.jupiter.api.Assertions.assertSame;

import com.talvoro.zrjni.Jni_Zervane;
import com.talvoro.zrjni.ZRJniRecord;
import java.util.List;
import org.junit.jupiter.api.DisplayName;
import org.junit.jupiter.api.Test;
import org.junit.jupiter.api.extension.RegisterExtension;
import org.junit.jupiter.params.ParameterizedTest;
import org.junit.jupiter.params.provider.EnumSource;
import org.junit.jupiter.params.provider.ValueSource;

@DisplayName("Reading current values")
class SnapshotReadingTest {
  @RegisterExtension final EmbeddedDatabase database = new EmbeddedDatabase();

  @ParameterizedTest(name = "asked as type {0}")
  @ValueSource(bytes = {0, 4, 6, 7, -1, 99})
  void takesNoNoticeOfTheTypeThatIsAskedFor(byte asked) {
    int id = Tags.add("A", ValueType.FLOAT64);
    assertEquals(Codes.OK, Records.save(id, Records.float64(100, 2.5)));
    ZRJniRecord record = new ZRJniRecord();

    assertEquals(Codes.OK, Jni_Zervane.querySnapShot(id, asked, record));
    assertEquals(2.5, record.fFloat64);
    assertEquals(ValueType.FLOAT64.number(), record.nTagType);
  }

  @ParameterizedTest
  @EnumSource(ValueType.class)
  void writesTheValueFieldOfTheTypeAndNoOther(ValueType type) {
    int id = Tags.add("A", type);
    Object value = type.edges().get(1);
    assertEquals(Codes.OK, Records.save(id, Records.of(type, 100, value)));
    ZRJniRecord record = Records.filled();

    assertEquals(Codes.OK, Jni_Zervane.querySnapShot(id, (byte) 0, record));

    ZRJniRecord expected = Records.filled();
    expected.nSec = 100;
    expected.nMsec = 0;
    expected.nQuality = Records.GOOD;
    expected.nTagType = type.number();
    type.store(expected, value);
    assertEquals(Records.fieldsOf(expected), Records.fieldsOf(record));
  }

  @Test
  void leavesTheRecordAloneWhenTheTagIsUnknownOrHasNoValueYet() {
    int empty = Tags.add("EMPTY", ValueType.STRING);
    ZRJniRecord record = Records.filled();
    List<String> before = Records.fieldsOf(record);

    assertEquals(Codes.TAG_NOT_FOUND, Jni_Zervane.querySnapShot(Tags.UNKNOWN, (byte) 0, record));
    assertEquals(Codes.NO_RECORD, Jni_Zervane.querySnapShot(empty, (byte) 0, record));
    assertEquals(before, Records.fieldsOf(record));
  }

  @Test
  void ofManyTagsDeliversTheKnownOnesAndACodeForEachOther() {
    int number = Tags.add("NUMBER", ValueType.INT32);
    int text = Tags.add("TEXT", ValueType.STRING);
    int empty = Tags.add("EMPTY", ValueType.INT8);
    assertEquals(Codes.OK, Records.save(number, Records.of(ValueType.INT32, 10, 42)));
    assertEquals(Codes.OK, Records.save(text, Records.of(ValueType.STRING, 20, "running")));
    int[] ids = {number, Tags.UNKNOWN, text, empty};
    int[] errors = {7, 7, 7, 7};
    ZRJniRecord[] records = new ZRJniRecord[4];

    assertEquals(Codes.SOME_RECORDS_FAILED, Jni_Zervane.querySnapShots(ids, 4, records, errors));

    assertArrayEquals(new int[] {0, Codes.TAG_NOT_FOUND, 0, Codes.NO_RECORD}, errors);
    assertEquals(42, records[0].nInt32);
    assertEquals("running", records[2].strValue);
    assertEquals(0, records[1].nSec, "a tag that failed has an object of zeros");
    assertEquals(Tags.UNKNOWN, ids[1]);
  }

  @Test
  void ofManyTagsReplacesEveryObjectThatTheCallerSupplied() {
    int number = Tags.add("NUMBER", ValueType.INT8);
    assertEquals(Codes.OK, Records.save(number, Records.of(ValueType.INT8, 10, (byte) 1)));
    ZRJniRecord known = Records.filled();
    ZRJniRecord unknown = Records.filled();
    ZRJniRecord[] records = {known, unknown};

    Jni_Zervane.querySnapShots(new int[] {number, Tags.UNKNOWN}, 2, records, new int[2]);

    assertNotSame(known, records[0]);
    assertNotSame(unknown, records[1]);
    assertNull(records[0].strValue);
    assertNull(records[0].byteValue);
    assertEquals(0, records[0].fFloat64);
  }

  @Test
  void ofManyTagsTakesOnlyAsManyAsTheCountSays() {
    int id = Tags.add("A", ValueType.INT8);
    assertEquals(Codes.OK, Records.save(id, Records.of(ValueType.INT8, 10, (byte) 1)));
    ZRJniRecord untouched = new ZRJniRecord();
    ZRJniRecord[] records = {null, untouched};
    int[] errors = {7, 7};

    assertEquals(Codes.OK, Jni_Zervane.querySnapShots(new int[] {id, id}, 1, records, errors));
    assertSame(untouched, records[1]);
    assertArrayEquals(new int[] {0, 7}, errors);
  }

  @Test
  void ofNoTagsAtAllSucceedsAndWritesNothing() {
    ZRJniRecord untouched = new ZRJniRecord();
    ZRJniRecord[] records = {untouched};
    int[] errors = {7};

    assertEquals(Codes.OK, Jni_Zervane.querySnapShots(new int[0], 0, records, errors));
    assertSame(untouched, records[0]);
    assertEquals(7, errors[0]);
  }

  @Test
  void ofManyTextsGivesEachItsOwn() {
    int count = 300;
    int[] ids = new int[count];
    ZRJniRecord[] written = new ZRJniRecord[count];
    for (int i = 0; i < count; i++) {
      ids[i] = Tags.add("TEXT." + i, i % 2 == 0 ? ValueType.STRING : ValueType.BLOB);
      written[i] = Records.at(10, 0);
      written[i].strValue = "text " + i;
      written[i].byteValue = ValueType.bytes(i);
    }
    assertEquals(Codes.OK, Jni_Zervane.saveSnapshots(ids, count, written, new int[count]));
    ZRJniRecord[] records = new ZRJniRecord[count];

    assertEquals(Codes.OK, Jni_Zervane.querySnapShots(ids, count, records, new int[count]));
    for (int i = 0; i < count; i++) {
      assertEquals(i % 2 == 0 ? "text " + i : null, records[i].strValue);
      assertArrayEquals(i % 2 == 0 ? null : ValueType.bytes(i), records[i].byteValue);
    }
  }

  @Test
  void isPossibleAfterReopening() {
    int id = Tags.add("A", ValueType.STRING);
    assertEquals(Codes.OK, Records.save(id, Records.of(ValueType.STRING, 100, "kept")));

    database.reopen();

    assertEquals("kept", Records.current(id).strValue);
    assertEquals(100, Records.current(id).nSec);
  }
}
