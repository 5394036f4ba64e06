package com.talvoro.zrjni.stack;

import static org.junit.jupiter.api.Assertions.assertEquals;

import java.io.IOException;
import java.nio.file.Files;
import java.nio.file.Path;
import java.util.List;
import org.junit.jupiter.api.DisplayName;
import org.junit.jupiter.api.Test;
import org.junit.jupiter.api.io.TempDir;

/**
 * Files of the release that kept texts as they came. Tag 1 is a number, tag 2 a STRING with values
 * in chunks and in the journal, of which the newest is a text of ISO-8859-1 alone.
 */
@DisplayName("A database of an earlier release")
class EarlierDatabaseTest {
  private static final Path STORED =
      Path.of("..", "tests", "engine", "storage", "sqlite", "stored"); // from the Maven project

  @TempDir Path folder;

  private List<String> open(String encoding, String... steps) throws Exception {
    return EncodedProcess.run(encoding, "embedded:" + folder, steps);
  }

  private void store(String encoding) throws IOException {
    Files.copy(STORED.resolve("layout_2_" + encoding + ".db"), folder.resolve("zervane.db"));
  }

  @Test
  void isBroughtOverFromTheEncodingOfTheProcessThatOpensItFirst() throws Exception {
    store("GB18030");

    assertEquals(
        List.of("1", "温度 温度", "温度1", "a\ufffd\ufffd z", "温度.1 温度.2 温度.3 温度.4 温度.5"),
        open("GB18030", "id 温度.1", "describe 2", "history 2", "readId 2", "find 温*"));
    assertEquals(
        List.of("1", "温度 温度", "温度1", "a\ufffd\ufffd z"),
        open("UTF-8", "id 温度.1", "describe 2", "history 2", "readId 2"));
  }

  @Test
  void staysAsItIsWhenItsTextsAreNoneOfThatEncoding() throws Exception {
    store("GB18030");

    assertEquals(List.of(Codes.INVALID_TEXT + ""), open("UTF-8", "find *"));
    assertEquals(List.of("1", "温度1"), open("GB18030", "id 温度.1", "history 2"));
  }

  @Test
  void isReadInAnyEncodingOnceItWasBroughtOver() throws Exception {
    store("ISO-8859-1");

    assertEquals(
        List.of("2", "Füllstand1", "aÿÿ z"),
        open("ISO-8859-1", "id FüLLSTAND.2", "history 2", "readId 2"));
    assertEquals(
        List.of("2", "Füllstand1", "aÿÿ z", "0", "温度"),
        open("UTF-8", "id Füllstand.2", "history 2", "readId 2", "add 温度|温度", "describe 7"));
    assertEquals(List.of("7", "Füllstand1"), open("GB2312", "id 温度", "history 2"));
  }
}
