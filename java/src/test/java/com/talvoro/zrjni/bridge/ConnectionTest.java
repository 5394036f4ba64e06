package com.talvoro.zrjni.bridge;

import static org.junit.jupiter.api.Assertions.assertEquals;

import com.talvoro.zrjni.IntWrapper;
import com.talvoro.zrjni.Jni_Zervane;
import org.junit.jupiter.api.DisplayName;
import org.junit.jupiter.api.Test;
import org.junit.jupiter.params.ParameterizedTest;
import org.junit.jupiter.params.provider.CsvSource;
import org.junit.jupiter.params.provider.ValueSource;

@DisplayName("Connection")
class ConnectionTest extends BridgeTest {
  private static Struct connection(String address, int port, String standby, int standbyPort) {
    return Struct.cleared(Layouts.CONNECTION)
        .set("szAddress", address)
        .set("nPort", port)
        .set("szBakAddress", standby)
        .set("nBakPort", standbyPort)
        .set("nTimeout", 3);
  }

  @Test
  void connectExSendsBothServersAndKeepsTheStandbyTextAllocated() {
    assertEquals(0, Jni_Zervane.connectEx("primary\u6f22", 5000, "standby\ud83d\ude00", 6000));
    assertCalls(
        call("nt3_connect")
            .with("pConnection", connection("primary\u6f22", 5000, "standby\ud83d\ude00", 6000)));
    assertLeft(textBuffer("standby\ud83d\ude00"));
  }

  @Test
  void connect3SendsThePrimaryPortTwiceAndKeepsBothTextsAllocated() {
    assertEquals(0, Jni_Zervane.connect3("primary", 5000, "by", 6000));
    assertCalls(call("nt3_connect").with("pConnection", connection("primary", 5000, "by", 5000)));
    assertLeft(textBuffer("primary"), textBuffer("by"));
  }

  @ParameterizedTest(name = "{0} is sent as {1}")
  @CsvSource({"0, 0", "65535, 65535", "65536, 0", "70000, 4464", "-1, 65535"})
  void portsKeepTheirLowSixteenBits(int given, int sent) {
    Jni_Zervane.connectEx("a", given, "b", 7);
    Jni_Zervane.connectEx("a", 7, "b", given);
    Jni_Zervane.connect3("a", given, "b", 7);
    assertCalls(
        call("nt3_connect").with("pConnection", connection("a", sent, "b", 7)),
        call("nt3_connect").with("pConnection", connection("a", 7, "b", sent)),
        call("nt3_connect").with("pConnection", connection("a", sent, "b", sent)));
    AllocationProbe.reset();
  }

  @Test
  void aNullAddressIsSentEmpty() {
    Jni_Zervane.connectEx(null, 1, null, 2);
    assertLeft(1);
    Jni_Zervane.connect3(null, 1, null, 2);
    assertLeft(1, 1);
    assertCalls(
        call("nt3_connect").with("pConnection", connection("", 1, "", 2)),
        call("nt3_connect").with("pConnection", connection("", 1, "", 1)));
  }

  @Test
  void anAddressThatFillsItsArrayIsSentWhole() {
    String longest = "x".repeat(511);
    Jni_Zervane.connectEx(longest, 1, longest, 2);
    assertCalls(call("nt3_connect").with("pConnection", connection(longest, 1, longest, 2)));
    assertLeft(textBuffer(longest));
  }

  @ParameterizedTest
  @ValueSource(ints = {FAILURE, -1, 1})
  void theStatusIsReturnedUnchanged(int status) {
    answer("nt3_connect", status);
    assertEquals(status, Jni_Zervane.connectEx("a", 1, "b", 2));
    answer("nt3_connect", status);
    assertEquals(status, Jni_Zervane.connect3("a", 1, "b", 2));
    answer("nt3_disconnect", status);
    assertEquals(status, Jni_Zervane.disconnect());
    assertCalls(
        call("nt3_connect").with("pConnection", connection("a", 1, "b", 2)),
        call("nt3_connect").with("pConnection", connection("a", 1, "b", 1)),
        call("nt3_disconnect"));
    assertLeft(textBuffer("b"), textBuffer("a"), textBuffer("b"));
  }

  @Test
  void disconnectSucceeds() {
    assertEquals(0, Jni_Zervane.disconnect());
    assertCalls(call("nt3_disconnect"));
  }

  @ParameterizedTest
  @ValueSource(ints = {-1, 0, 3, Integer.MAX_VALUE})
  void testConnectAlwaysReportsAGoodConnectionAndAsksNobody(int timeout) {
    IntWrapper status = new IntWrapper();
    status.Value = 99;
    assertEquals(0, Jni_Zervane.testConnect(status, timeout));
    assertEquals(0, status.Value);
  }
}
