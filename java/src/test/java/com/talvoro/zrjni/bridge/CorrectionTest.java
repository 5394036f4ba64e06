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

@DisplayName("Correcting a record")
class CorrectionTest extends BridgeTest {
  private static final int TAG = -7;

  private static ExpectedCall modify(ApiRecord record) {
    return call("ar3_modify_record")
        .with("nTagID", TAG & 0xffff_ffffL)
        .withRecords("pRecord", record);
  }

  @ParameterizedTest
  @EnumSource
  void sendsHeaderAndTheFieldOfTheGivenTypeWithoutALookUp(TypedValue value) {
    ZRJniRecord record = Fields.filled(ZRJniRecord.class, 3);
    record.nTagType = (byte) (7 - value.type());
    ZRJniRecord before = Fields.copy(record);
    assertEquals(0, Jni_Zervane.modifyRecord(TAG, (byte) value.type(), record));
    assertCalls(modify(value.sent(before, ApiRecord.uncleared())));
    Fields.assertSameFields(before, record);
  }

  @ParameterizedTest(name = "type {0}")
  @ValueSource(bytes = {8, 9, 127, -1, -128})
  void ofATypeOutsideTheListSendsTheHeaderAlone(byte type) {
    ZRJniRecord record = Fields.filled(ZRJniRecord.class, 3);
    assertEquals(0, Jni_Zervane.modifyRecord(TAG, type, record));
    assertCalls(
        modify(
            ApiRecord.uncleared()
                .time(record.nSec, record.nMsec)
                .set("nQuality", record.nQuality)
                .type(type)));
    assertAllocated();
  }

  @ParameterizedTest(name = "{0} is sent as {1}")
  @CsvSource({"65535, 65535", "65536, 0", "-1, 65535"})
  void keepsTheLowSixteenBitsOfTheQuality(int given, int sent) {
    ZRJniRecord record = new ZRJniRecord();
    record.nQuality = given;
    Jni_Zervane.modifyRecord(TAG, (byte) 2, record);
    assertCalls(
        modify(ApiRecord.uncleared().time(0, 0).set("nQuality", sent).type(2).set("nInt32", 0)));
  }

  @Test
  void countsATextsTerminatorAndSendsANullTextEmpty() {
    ZRJniRecord record = new ZRJniRecord();
    record.strValue = "abc";
    Jni_Zervane.modifyRecord(TAG, (byte) 6, record);
    record.strValue = null;
    Jni_Zervane.modifyRecord(TAG, (byte) 6, record);
    assertCalls(modify(text(new byte[] {'a', 'b', 'c', 0})), modify(text(new byte[] {0})));
    assertAllocated(textBuffer("abc"), 1);
  }

  private static ApiRecord text(byte[] content) {
    return ApiRecord.uncleared().time(0, 0).set("nQuality", 0).type(6).buffer(content);
  }

  @ParameterizedTest
  @EnumSource(names = {"INT8", "STRING", "BLOB"})
  void returnsTheStatusUnchangedAndFreesTheBuffer(TypedValue value) {
    answer("ar3_modify_record", 119603);
    ZRJniRecord record = Fields.filled(ZRJniRecord.class, 3);
    assertEquals(119603, Jni_Zervane.modifyRecord(TAG, (byte) value.type(), record));
    assertCalls(modify(value.sent(record, ApiRecord.uncleared())));
  }
}
