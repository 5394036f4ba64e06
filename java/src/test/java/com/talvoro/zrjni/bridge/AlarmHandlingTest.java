package com.talvoro.zrjni.bridge;

import static org.junit.jupiter.api.Assertions.assertEquals;

import com.talvoro.zrjni.Jni_Zervane;
import com.talvoro.zrjni.ZRJniTime;
import java.util.stream.Stream;
import org.junit.jupiter.api.DisplayName;
import org.junit.jupiter.params.ParameterizedTest;
import org.junit.jupiter.params.provider.CsvSource;
import org.junit.jupiter.params.provider.MethodSource;

@DisplayName("Handling an alarm")
class AlarmHandlingTest extends BridgeTest {
  private static final Layout COMMENT = Layout.of("comment", 256).text("text", 0, 256);
  private static final ZRJniTime TIME = Times.of(-100, -1);
  private static final String IDEOGRAPH = "\u6f22"; // three bytes

  private static ExpectedCall ofOneAlarm(String function) {
    return call(function)
        .with("nNum", 1)
        .with("pTagIDs", new int[] {-2})
        .with("pTimes", Times.sent(TIME));
  }

  private static ExpectedCall comment(String text) {
    return ofOneAlarm("am3_comment_alarms")
        .with("pComments", Struct.uncleared(COMMENT).set("text", text));
  }

  @ParameterizedTest(name = "status {0}, code {1}")
  @CsvSource({"0, 0", "0, 7", "110113, 0", "119610, 7"})
  void returnsTheStatusAndIgnoresTheAlarmsCode(int status, int code) {
    answer("am3_acknowledge_alarms", status, out("pErrCodes", code));
    assertEquals(status, Jni_Zervane.acknowledgeAlarm(-2, TIME));
    answer("am3_comment_alarms", status, out("pErrCodes", code));
    assertEquals(status, Jni_Zervane.commentAlarm(-2, TIME, "seen"));
    assertCalls(ofOneAlarm("am3_acknowledge_alarms"), comment("seen"));
    assertAllocated(textBuffer("seen"));
  }

  static Stream<String> commentsThatFit() {
    return Stream.of("", "x".repeat(255), IDEOGRAPH.repeat(85), "\ud83d\ude00".repeat(63) + "xyz");
  }

  @ParameterizedTest
  @MethodSource("commentsThatFit")
  void sendsACommentOfUpTo255Bytes(String comment) {
    assertEquals(0, Jni_Zervane.commentAlarm(-2, TIME, comment));
    assertCalls(comment(comment));
  }

  static Stream<String> commentsThatAreTooLong() {
    return Stream.of("x".repeat(256), "x" + IDEOGRAPH.repeat(85), "\ud83d\ude00".repeat(64));
  }

  @ParameterizedTest
  @MethodSource("commentsThatAreTooLong")
  void refusesALongerCommentAndKeepsItAllocated(String comment) {
    assertEquals(-1, Jni_Zervane.commentAlarm(-2, TIME, comment));
    assertLeft(textBuffer(comment));
  }
}
