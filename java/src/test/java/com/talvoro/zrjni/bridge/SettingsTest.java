package com.talvoro.zrjni.bridge;

import static org.junit.jupiter.api.Assertions.assertEquals;

import com.talvoro.zrjni.Jni_Zervane;
import com.talvoro.zrjni.LongWrapper;
import org.junit.jupiter.api.DisplayName;
import org.junit.jupiter.api.Test;
import org.junit.jupiter.params.ParameterizedTest;
import org.junit.jupiter.params.provider.ValueSource;

@DisplayName("Client settings and server time")
class SettingsTest extends BridgeTest {
  @ParameterizedTest
  @ValueSource(ints = {0, 30, -1, Integer.MAX_VALUE, Integer.MIN_VALUE})
  void settingsArePassedOnAndTheirStatusIsDropped(int value) {
    answer("ut3_set_request_timeout", FAILURE);
    Jni_Zervane.setRequestTimeout(value);
    answer("ut3_set_request_cache_capacity", FAILURE);
    Jni_Zervane.setRequestCacheCapacity(value);
    answer("ut3_set_api_option", FAILURE);
    Jni_Zervane.setAPIOption(value);
    assertCalls(
        call("ut3_set_request_timeout").with("nTimeout", value),
        call("ut3_set_request_cache_capacity").with("nCapacity", value),
        call("ut3_set_api_option").with("nOption", (long) value));
  }

  @Test
  void anOptionIsSignExtendedToSixtyFourBits() {
    Jni_Zervane.setAPIOption(-1);
    assertCalls(call("ut3_set_api_option").with("nOption", 0xffff_ffff_ffff_ffffL));
  }

  @ParameterizedTest
  @ValueSource(longs = {0, 1_700_000_000_123L, -1, Long.MAX_VALUE, 0x8000_0000L})
  void theServerTimeArrivesWhole(long time) {
    answer("ut3_get_server_ms_time", out("pMsTime", time));
    LongWrapper holder = new LongWrapper();
    holder.Value = 99;
    assertEquals(0, Jni_Zervane.getServerMsTime(holder));
    assertEquals(time, holder.Value);
    assertCalls(call("ut3_get_server_ms_time").with("*pMsTime", 0));
  }

  @Test
  void aFailureLeavesTheHolderAsItWas() {
    answer("ut3_get_server_ms_time", FAILURE, out("pMsTime", 5L));
    LongWrapper holder = new LongWrapper();
    holder.Value = 99;
    assertEquals(FAILURE, Jni_Zervane.getServerMsTime(holder));
    assertEquals(99, holder.Value);
    assertCalls(call("ut3_get_server_ms_time").with("*pMsTime", 0));
  }
}
