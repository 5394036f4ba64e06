package com.talvoro.zrjni.bridge;

import static org.junit.jupiter.api.Assertions.assertEquals;

import com.talvoro.zrjni.Jni_Zervane;
import com.talvoro.zrjni.ZRJniRecord;
import org.junit.jupiter.api.DisplayName;
import org.junit.jupiter.api.Test;
import org.junit.jupiter.params.ParameterizedTest;
import org.junit.jupiter.params.provider.CsvSource;
import org.junit.jupiter.params.provider.EnumSource;
import org.junit.jupiter.params.provider.ValueSource;

@DisplayName("Writing one current value")
class SnapshotWriteTest extends BridgeTest {
  private static final int TAG = -7;

  private static ExpectedCall[] saveCalls(TypedValue value, ZRJniRecord record) {
    return saveCalls(value.sent(record, ApiRecord.uncleared()));
  }

  private static ExpectedCall[] saveCalls(ApiRecord record) {
    return RecordBatch.inOrder(
        RecordBatch.typeCalls(TAG),
        RecordBatch.then(
            call("sn3_save_snapshot")
                .with("nTagID", TAG & 0xffff_ffffL)
                .withRecords("pRecord", record)));
  }

  @ParameterizedTest
  @EnumSource
  void sendsHeaderAndTheFieldOfTheTagsType(TypedValue value) {
    ZRJniRecord record = Fields.filled(ZRJniRecord.class, 3);
    ZRJniRecord before = Fields.copy(record);
    RecordBatch.answerTypes(value);
    assertEquals(0, Jni_Zervane.saveSnapShot(TAG, (byte) 99, record));
    assertCalls(saveCalls(value, before));
    Fields.assertSameFields(before, record);
  }

  @Test
  void takesTheTypeFromTheServerAndNotFromArgumentOrRecord() {
    ZRJniRecord record = new ZRJniRecord();
    record.nTagType = 4;
    record.nInt32 = 123;
    RecordBatch.answerTypes(TypedValue.INT32);
    assertEquals(0, Jni_Zervane.saveSnapShot(TAG, (byte) 7, record));
    assertCalls(saveCalls(TypedValue.INT32, record));
  }

  @ParameterizedTest(name = "{0} is sent as {1}")
  @CsvSource({"65535, 65535", "65536, 0", "-1, 65535", "65728, 192"})
  void keepsTheLowSixteenBitsOfTheQuality(int given, int sent) {
    ZRJniRecord record = new ZRJniRecord();
    record.nQuality = given;
    RecordBatch.answerTypes(TypedValue.INT8);
    Jni_Zervane.saveSnapShot(TAG, (byte) 0, record);
    ApiRecord expected =
        ApiRecord.uncleared().time(0, 0).set("nQuality", sent).type(0).set("nInt8", 0);
    assertCalls(saveCalls(expected));
  }

  @ParameterizedTest
  @ValueSource(shorts = {0, 999, 1000, -1, Short.MIN_VALUE})
  void doesNotCheckMilliseconds(short milliseconds) {
    ZRJniRecord record = new ZRJniRecord();
    record.nSec = -5;
    record.nMsec = milliseconds;
    RecordBatch.answerTypes(TypedValue.INT8);
    Jni_Zervane.saveSnapShot(TAG, (byte) 0, record);
    assertCalls(saveCalls(TypedValue.INT8, record));
  }

  @ParameterizedTest(name = "type {0}")
  @ValueSource(ints = {8, -1, 262})
  void ofATypeOutsideTheListSendsTheHeaderAlone(int type) {
    ZRJniRecord record = Fields.filled(ZRJniRecord.class, 3);
    answer("pt3_query_tag_type", out("pTagType", type));
    assertEquals(0, Jni_Zervane.saveSnapShot(TAG, (byte) 0, record));
    ApiRecord expected =
        ApiRecord.uncleared()
            .time(record.nSec, record.nMsec)
            .set("nQuality", record.nQuality)
            .type(type);
    assertCalls(saveCalls(expected));
  }

  @ParameterizedTest(name = "\"{0}\" has length {1}")
  @CsvSource({"abc, 4", "'', 1", "\u6f22, 4", "\ud83d\ude00, 5"})
  void countsATextsTerminator(String text, int length) {
    ZRJniRecord record = new ZRJniRecord();
    record.strValue = text;
    RecordBatch.answerTypes(TypedValue.STRING);
    Jni_Zervane.saveSnapShot(TAG, (byte) 6, record);
    assertEquals(length, Output.terminated(text).length);
    assertCalls(saveCalls(TypedValue.STRING, record));
    assertAllocated(textBuffer(text));
  }

  @Test
  void sendsANullTextEmpty() {
    ZRJniRecord record = new ZRJniRecord();
    RecordBatch.answerTypes(TypedValue.STRING);
    Jni_Zervane.saveSnapShot(TAG, (byte) 6, record);
    record.strValue = "";
    assertCalls(saveCalls(TypedValue.STRING, record));
    assertAllocated(1);
  }

  @Test
  void keepsTheLowSixteenBitsOfATextsLength() {
    ZRJniRecord record = new ZRJniRecord();
    record.strValue = "x".repeat(65540);
    RecordBatch.answerTypes(TypedValue.STRING);
    Jni_Zervane.saveSnapShot(TAG, (byte) 6, record);
    ApiRecord expected =
        ApiRecord.uncleared().time(0, 0).set("nQuality", 0).type(6).buffer("xxxxx".getBytes());
    assertCalls(saveCalls(expected));
  }

  @ParameterizedTest(name = "{0} bytes are sent as {1}")
  @CsvSource({
    "0, 0",
    "1, 1",
    "1000, 1000",
    "65535, 65535",
    "65536, 0",
    "65537, 1",
    "70000, 4464",
    "131072, 0"
  })
  void keepsTheLowSixteenBitsOfABlobsLength(int length, int sent) {
    ZRJniRecord record = new ZRJniRecord();
    record.byteValue = new byte[length];
    for (int i = 0; i < length; ++i) {
      record.byteValue[i] = (byte) (i * 31 + 1);
    }
    RecordBatch.answerTypes(TypedValue.BLOB);
    assertEquals(0, Jni_Zervane.saveSnapShot(TAG, (byte) 7, record));
    assertCalls(saveCalls(TypedValue.BLOB, record));
    assertAllocated(sent);
  }

  @Test
  void ofAnUnknownTagReturnsTheLookUpsStatus() {
    answer("pt3_query_tag_type", 117801, out("pTagType", 6));
    assertEquals(
        117801, Jni_Zervane.saveSnapShot(TAG, (byte) 6, Fields.filled(ZRJniRecord.class, 3)));
    assertCalls(RecordBatch.typeCalls(TAG));
    assertAllocated();
  }

  @ParameterizedTest
  @EnumSource(names = {"INT8", "STRING", "BLOB"})
  void thatFailsReturnsItsStatusAndFreesTheBuffer(TypedValue value) {
    ZRJniRecord record = Fields.filled(ZRJniRecord.class, 3);
    RecordBatch.answerTypes(value);
    answer("sn3_save_snapshot", 119605);
    assertEquals(119605, Jni_Zervane.saveSnapShot(TAG, (byte) 0, record));
    assertCalls(saveCalls(value, record));
  }
}
