package com.talvoro.zrjni.bridge;

import static org.junit.jupiter.api.Assertions.assertArrayEquals;
import static org.junit.jupiter.api.Assertions.assertEquals;

import com.talvoro.zrjni.Jni_Zervane;
import com.talvoro.zrjni.ZRJniRecord;
import java.nio.charset.StandardCharsets;
import java.util.Arrays;
import java.util.stream.Stream;
import org.junit.jupiter.api.DisplayName;
import org.junit.jupiter.api.Test;
import org.junit.jupiter.params.ParameterizedTest;
import org.junit.jupiter.params.provider.MethodSource;
import org.junit.jupiter.params.provider.NullAndEmptySource;
import org.junit.jupiter.params.provider.ValueSource;

/** The conversion of texts, through one method for each direction; the system encoding is UTF-8. */
@DisplayName("Texts")
class TextTest extends BridgeTest {
  static Stream<String> texts() {
    return Stream.of(
        "a",
        "plain ASCII text",
        "\u00e9",
        "\u6f22\u5b57",
        "\uffff",
        "\ud83d\ude00",
        "\ud800\udc00\udbff\udfff",
        "mixed \u00e9\u6f22\ud83d\ude00 end",
        "\u0001\u007f\t\n",
        "x".repeat(5000),
        "\u6f22".repeat(5000));
  }

  @ParameterizedTest
  @MethodSource("texts")
  @NullAndEmptySource
  void goToTheClientLibraryInOneBufferOfFourBytesPerUnitAndATerminator(String text) {
    Jni_Zervane.queryTagID(text);
    assertCalls(call("tag3_query_id_by_name").with("szTagName", text == null ? "" : text));
    assertAllocated(textBuffer(text));
  }

  @Test
  void thatDoNotConvertGoEmptyInABufferOfTheFullSize() {
    Jni_Zervane.queryTagID("cut\0short");
    assertCalls(call("tag3_query_id_by_name").with("szTagName", ""));
    assertAllocated(9 * 4 + 1);
  }

  /** Seen in the standby address, whose buffer stays allocated. */
  @ParameterizedTest
  @ValueSource(strings = {"", "ab", "\u6f22\ud83d\ude00"})
  void goThroughABufferThatIsZeroedBeforehand(String text) {
    Jni_Zervane.connectEx(null, 0, text, 0);
    Recorder.takeCalls();
    byte[] converted = text.getBytes(StandardCharsets.UTF_8);
    assertArrayEquals(Arrays.copyOf(converted, (int) textBuffer(text)), AllocationProbe.content(0));
    assertLeft(textBuffer(text));
  }

  @ParameterizedTest
  @MethodSource("texts")
  void comeFromTheClientLibraryThroughOneBufferOfFourBytesPerByte(String text) {
    String carried = text.substring(0, Math.min(text.length(), 300));
    byte[] encoded = Output.terminated(carried);
    assertEquals(carried, read(encoded));
    assertAllocated(TypedValue.BUFFER_SIZE, (encoded.length - 1) * 4L);
  }

  @Test
  void thatAreEmptyComeWithoutABuffer() {
    assertEquals("", read(new byte[] {0, 'a', 0}));
    assertAllocated(TypedValue.BUFFER_SIZE);
  }

  @Test
  void thatFillTheReadBufferComeWhole() {
    String longest = "x".repeat(999);
    assertEquals(longest, read(Output.terminated(longest)));
  }

  static Stream<byte[]> invalidTexts() {
    return Stream.of(
        new byte[] {(byte) 0xff, 0},
        new byte[] {'a', 'b', (byte) 0x80, 'c', 0},
        new byte[] {(byte) 0xe6, (byte) 0xbc, 0},
        new byte[] {(byte) 0xf0, (byte) 0x9f, (byte) 0x98, 0});
  }

  @ParameterizedTest
  @MethodSource("invalidTexts")
  void thatDoNotConvertComeEmptyAndKeepTheirBufferAllocated(byte[] invalid) {
    assertEquals("", read(invalid));
    assertLeft((invalid.length - 1) * 4L);
  }

  private static String read(byte[] text) {
    RecordBatch.answerTypes(TypedValue.STRING);
    answer(
        "sn3_query_snapshot", Output.records("pRecord", ApiRecord.cleared().type(6).buffer(text)));
    ZRJniRecord record = new ZRJniRecord();
    record.strValue = "before";
    assertEquals(0, Jni_Zervane.querySnapShot(1, (byte) 6, record));
    Recorder.takeCalls();
    return record.strValue;
  }
}
