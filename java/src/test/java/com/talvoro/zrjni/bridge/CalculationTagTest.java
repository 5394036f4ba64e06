package com.talvoro.zrjni.bridge;

import static org.junit.jupiter.api.Assertions.assertEquals;
import static org.junit.jupiter.api.Assertions.assertFalse;

import com.talvoro.zrjni.Jni_Zervane;
import com.talvoro.zrjni.ZRJniCalcTag;
import org.junit.jupiter.api.DisplayName;
import org.junit.jupiter.api.Test;
import org.junit.jupiter.params.ParameterizedTest;
import org.junit.jupiter.params.provider.ValueSource;

@DisplayName("Calculation tags")
class CalculationTagTest extends TagMaintenanceTest<ZRJniCalcTag> {
  CalculationTagTest() {
    super(ZRJniCalcTag.class, "ca3", Layouts.CALCULATION_TAG, TagRows.CALCULATION, ELSEWHERE);
  }

  @Override
  int add(ZRJniCalcTag tag, long mask, long extensionMask) {
    return Jni_Zervane.addCalcTag(tag, mask, extensionMask);
  }

  @Override
  int modify(ZRJniCalcTag tag, long mask, long extensionMask) {
    return Jni_Zervane.modifyCalcTag(tag, mask, extensionMask);
  }

  @Override
  int query(int identifier, ZRJniCalcTag tag) {
    return Jni_Zervane.queryCalcTag(identifier, tag);
  }

  @Override
  Struct preparedForModifying() {
    return Struct.cleared(Layouts.CALCULATION_TAG);
  }

  @ParameterizedTest
  @ValueSource(bytes = {0, 1, -1, -128})
  void theModeIsWidenedByItsSign(byte mode) {
    ZRJniCalcTag tag = new ZRJniCalcTag();
    tag.m_calcMode = mode;
    Jni_Zervane.addCalcTag(tag, 0, 0);
    assertCalls(
        addCall(
            Struct.cleared(Layouts.CALCULATION_TAG).set("nCalcMode", (int) mode),
            Layouts.mask(0, 0)));
  }

  @Test
  void aTagWithoutAnEndTimeIsReadWithWhateverEndDateItHas() {
    answer(
        "ca3_query_tag_prop",
        out("pProp", Struct.cleared(Layouts.CALCULATION_TAG).set("nCalcEndDate", -3)));
    ZRJniCalcTag tag = Fields.filled(ZRJniCalcTag.class, 1);
    tag.m_haveEndTime = true;
    assertEquals(0, Jni_Zervane.queryCalcTag(1, tag));
    assertFalse(tag.m_haveEndTime);
    assertEquals(-3, tag.m_calcEndDate);
    assertCalls(call("ca3_query_tag_prop").with("nTagID", 1));
  }
}
