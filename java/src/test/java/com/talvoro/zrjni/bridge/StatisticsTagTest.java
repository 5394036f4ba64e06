package com.talvoro.zrjni.bridge;

import static org.junit.jupiter.api.Assertions.assertEquals;

import com.talvoro.zrjni.Jni_Zervane;
import com.talvoro.zrjni.ZRJniStatsTag;
import org.junit.jupiter.api.DisplayName;
import org.junit.jupiter.params.ParameterizedTest;
import org.junit.jupiter.params.provider.CsvSource;

@DisplayName("Statistics tags")
class StatisticsTagTest extends TagMaintenanceTest<ZRJniStatsTag> {
  StatisticsTagTest() {
    super(ZRJniStatsTag.class, "st3", Layouts.STATISTICS_TAG, TagRows.STATISTICS, ELSEWHERE);
  }

  @Override
  int add(ZRJniStatsTag tag, long mask, long extensionMask) {
    return Jni_Zervane.addStatsTag(tag, mask, extensionMask);
  }

  @Override
  int modify(ZRJniStatsTag tag, long mask, long extensionMask) {
    return Jni_Zervane.modifyStatsTag(tag, mask, extensionMask);
  }

  @Override
  int query(int identifier, ZRJniStatsTag tag) {
    return Jni_Zervane.queryStatsTag(identifier, tag);
  }

  @Override
  Struct preparedForModifying() {
    return Struct.cleared(Layouts.STATISTICS_TAG);
  }

  @ParameterizedTest(name = "day {0} is sent as {1}")
  @CsvSource({"31, 31", "0, 0", "-1, 255", "-128, 128"})
  void aDayOfTheMonthIsSentAsOneUnsignedByte(byte day, int sent) {
    ZRJniStatsTag tag = new ZRJniStatsTag();
    tag.m_sampleMonthBeginDay = day;
    tag.m_sampleMonthEndDay = day;
    tag.m_statsType = day;
    Jni_Zervane.addStatsTag(tag, 0, 0);
    assertCalls(
        addCall(
            Struct.cleared(Layouts.STATISTICS_TAG)
                .set("nSampleMonthBeginDay", sent)
                .set("nSampleMonthEndDay", sent)
                .set("nStatsType", (int) day),
            Layouts.mask(0, 0)));
  }

  @ParameterizedTest(name = "status {0}, identifier {1}: {2}")
  @CsvSource({"0, 5, 5", "0, -1, -1", "117802, 5, -1"})
  void aNameYieldsItsIdentifierOrMinusOne(int status, int identifier, int returned) {
    String name = "STATS" + Fields.BEYOND_ASCII;
    answer("tag3_query_id_by_name", status, out("pTagID", identifier));
    assertEquals(returned, Jni_Zervane.queryStatsTagID(name));
    assertCalls(call("tag3_query_id_by_name").with("szTagName", name));
    assertAllocated(textBuffer(name));
  }
}
