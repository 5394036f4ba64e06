package com.talvoro.zrjni.stack;

import static org.junit.jupiter.api.Assertions.assertEquals;
import static org.junit.jupiter.api.Assertions.assertTrue;

import com.talvoro.zrjni.Jni_Zervane;
import com.talvoro.zrjni.ZRJniTagProp;
import java.io.IOException;
import java.util.List;
import org.junit.jupiter.api.DisplayName;
import org.junit.jupiter.api.Test;
import org.junit.jupiter.api.extension.RegisterExtension;
import org.junit.jupiter.params.ParameterizedTest;
import org.junit.jupiter.params.provider.CsvSource;
import org.junit.jupiter.params.provider.ValueSource;

/** This process's encoding is UTF-8; processes of other encodings open the same database. */
@DisplayName("Texts of one encoding in a process of another")
class TextEncodingTest {
  private static final String HAN = "温度";
  private static final String HAN_TEXT = "风机运行";

  @RegisterExtension final EmbeddedDatabase database = new EmbeddedDatabase();

  /** Runs the steps in a process of an encoding and answers what they printed. */
  private List<String> inEncoding(String encoding, String... steps)
      throws IOException, InterruptedException {
    database.close();
    List<String> printed = EncodedProcess.run(encoding, database.address(), steps);
    database.open();
    return printed;
  }

  @ParameterizedTest(name = "{0}")
  @ValueSource(strings = {"GB18030", "GBK", "GB2312", "Shift_JIS", "EUC-JP", "UTF-8"})
  void areTheSameTexts(String encoding) throws Exception {
    String name = encoding.contains("JI") || encoding.contains("JP") ? "温度計" : HAN;
    Tags.add(name + ".0", ValueType.INT8);

    List<String> printed =
        inEncoding(
            encoding,
            "id " + name + ".0",
            "add " + name + ".1|" + name + "1 m",
            "write " + name + ".1|" + name + "2",
            "read " + name + ".1",
            "find *" + name.substring(1, 2) + "*");

    assertEquals(List.of("1", "0", "0", name + "2", name + ".0 " + name + ".1"), printed);
    assertEquals(2, Jni_Zervane.queryTagID(name + ".1"));
    assertEquals(name + "1 m", Tags.get(2).m_descriptor);
    assertEquals(name + "2", Records.current(2).strValue);
    assertEquals(List.of(name + "2"), Records.history(2).stream().map(r -> r.strValue).toList());
  }

  @Test
  void showAQuestionMarkForWhatTheOtherLacks() throws Exception {
    ZRJniTagProp tag = Tags.named("é" + HAN, ValueType.STRING);
    tag.m_descriptor = HAN_TEXT + " ü";
    int id = Tags.add(tag, Columns.TYPE | Columns.DESCRIPTOR);
    assertEquals(Codes.OK, Records.save(id, Records.of(ValueType.STRING, 1, "ä" + HAN_TEXT)));

    List<String> printed =
        inEncoding("ISO-8859-1", "find *", "describe 1", "readId 1", "history 1");
    assertEquals(List.of("é??", "???? ü", "ä????", "ä????"), printed);
    assertEquals("é" + HAN, Tags.get(id).m_tagName); // reading changed nothing
    assertEquals("ä" + HAN_TEXT, Records.current(id).strValue);
  }

  @Test
  void ofLatinLettersAreReadEverywhere() throws Exception {
    List<String> printed =
        inEncoding("ISO-8859-1", "add Käse.1|Öl: 3 m³", "write Käse.1|für", "find k?se*");

    assertEquals(List.of("0", "0", "Käse.1"), printed);
    assertEquals("Öl: 3 m³", Tags.get(Jni_Zervane.queryTagID("Käse.1")).m_descriptor);
    assertEquals("für", Records.current(1).strValue);
    assertEquals(List.of("1", "für"), inEncoding("UTF-8", "id Käse.1", "readId 1"));
  }

  /** In GBK the two names differ in a byte that would be a letter's case, were it a letter. */
  @Test
  void doNotLoseTheirCaseByHalfACharacter() throws Exception {
    String upper = new String(new byte[] {(byte) 0x81, 0x41}, "GBK");
    String lower = new String(new byte[] {(byte) 0x81, 0x61}, "GBK");

    List<String> printed =
        inEncoding(
            "GBK",
            "add " + upper + "|1",
            "add " + lower + "|2",
            "id " + upper,
            "id " + lower,
            "find " + upper);
    assertEquals(List.of("0", "0", "1", "2", upper), printed);
  }

  /** The last byte of the character is that of a backslash. */
  @ParameterizedTest(name = "{0}")
  @CsvSource({"GBK, \u4e57", "Shift_JIS, \u8868"})
  void haveNoBackslashInHalfACharacter(String encoding, String character) throws Exception {
    assertEquals('\\', character.getBytes(encoding)[1]);
    List<String> printed =
        inEncoding(
            encoding,
            "add " + character + "|1",
            "find " + character,
            "find ?",
            "find *" + character);

    assertEquals(List.of("0", character, character, character), printed);
  }

  /** What a process's record has room for is its own bytes; the database has room for more. */
  @Test
  void mayFillARecordInTheEncodingOfTheirProcess() throws Exception {
    String name = HAN.repeat(63) + "x"; // 253 bytes in GBK, 379 in UTF-8
    List<String> printed =
        inEncoding("GBK", "add " + name + "|1", "write " + name + "|" + HAN.repeat(249) + "xyz");
    assertEquals(List.of("0", "0"), printed);

    assertEquals(
        List.of("1", HAN.repeat(249) + "xyz"), inEncoding("GBK", "id " + name, "readId 1"));
    // Here as much of it as there is room for, in whole characters.
    String shown = Tags.get(1).m_tagName;
    assertTrue(name.startsWith(shown) && shown.length() == 85, shown);
    String value = Records.current(1).strValue;
    assertEquals((HAN.repeat(249) + "xyz").substring(0, 333), value);
  }

  @Test
  void areRefusedWhenTheProcessCannotSayThem() throws Exception {
    List<String> printed = inEncoding("ISO-8859-1", "add " + HAN + "|1", "id " + HAN, "find *");

    assertEquals(List.of(Codes.INVALID_TEXT + "", Codes.INVALID_TEXT + "", ""), printed);
  }
}
