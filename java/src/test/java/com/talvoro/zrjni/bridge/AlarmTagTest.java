package com.talvoro.zrjni.bridge;

import static org.junit.jupiter.api.Assertions.assertEquals;

import com.talvoro.zrjni.Jni_Zervane;
import com.talvoro.zrjni.ZRJniAlarmTag;
import org.junit.jupiter.api.DisplayName;
import org.junit.jupiter.params.ParameterizedTest;
import org.junit.jupiter.params.provider.CsvSource;
import org.junit.jupiter.params.provider.ValueSource;

@DisplayName("Alarm tags")
class AlarmTagTest extends TagMaintenanceTest<ZRJniAlarmTag> {
  private static final int OWN_IDENTIFIER = 2724;

  AlarmTagTest() {
    super(ZRJniAlarmTag.class, "am3", Layouts.ALARM_TAG, TagRows.ALARM, OWN_IDENTIFIER);
  }

  @Override
  int add(ZRJniAlarmTag tag, long mask, long extensionMask) {
    return Jni_Zervane.addAlarmTag(tag, mask, extensionMask);
  }

  @Override
  int modify(ZRJniAlarmTag tag, long mask, long extensionMask) {
    return Jni_Zervane.modifyAlarmTag(tag, mask, extensionMask);
  }

  @Override
  int query(int identifier, ZRJniAlarmTag tag) {
    return Jni_Zervane.queryAlarmTag(identifier, tag);
  }

  /** The rest of the record holds no defined value. */
  @Override
  Struct preparedForModifying() {
    return Struct.clearedUpTo(172, Layouts.ALARM_TAG);
  }

  @ParameterizedTest
  @ValueSource(bytes = {0, 1, 2, 127, -1, -128})
  void theWayOfAcknowledgingIsNotChecked(byte way) {
    ZRJniAlarmTag tag = new ZRJniAlarmTag();
    tag.m_nAutoAck = way;
    Jni_Zervane.addAlarmTag(tag, 0, 0);
    assertCalls(
        addCall(Struct.cleared(Layouts.ALARM_TAG).set("nAutoAck", (int) way), Layouts.mask(0, 0)));
  }

  @ParameterizedTest
  @ValueSource(ints = {0, FAILURE})
  void deletingPassesTheIdentifierOnAndReturnsTheStatus(int status) {
    answer("tag3_delete_tag", status);
    assertEquals(status, Jni_Zervane.deleteAlarmTag(-2));
    assertCalls(call("tag3_delete_tag").with("nTagID", 0xffff_fffeL));
  }

  @ParameterizedTest(name = "status {0}, identifier {1}: {2}")
  @CsvSource({"0, 5, 5", "0, -1, -1", "117802, 5, -1"})
  void aNameYieldsItsIdentifierOrMinusOne(int status, int identifier, int returned) {
    String name = "ALARM" + Fields.BEYOND_ASCII;
    answer("tag3_query_id_by_name", status, out("pTagID", identifier));
    assertEquals(returned, Jni_Zervane.queryAlarmTagID(name));
    assertCalls(call("tag3_query_id_by_name").with("szTagName", name));
    assertAllocated(textBuffer(name));
  }
}
