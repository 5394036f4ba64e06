package com.talvoro.zrjni.stack;

import static org.junit.jupiter.api.Assertions.assertEquals;
import static org.junit.jupiter.api.Assertions.assertTrue;

import com.talvoro.zrjni.Jni_Zervane;
import java.io.IOException;
import java.net.URI;
import java.nio.file.Files;
import java.nio.file.Path;
import java.util.List;
import java.util.stream.Stream;
import org.junit.jupiter.api.DisplayName;
import org.junit.jupiter.api.Test;
import org.junit.jupiter.api.io.TempDir;
import org.junit.jupiter.params.ParameterizedTest;
import org.junit.jupiter.params.provider.CsvSource;
import org.junit.jupiter.params.provider.ValueSource;

@DisplayName("An address opens the database that it names, or none")
class AddressEncodingTest {
  private static final String HAN = "\u6d4b\u70b9";
  private static final String HAN_IN_UTF8 = "%E6%B5%8B%E7%82%B9/"; // as a URI spells the folder

  /** Nobody listens there. */
  private static final String NO_SERVER = "127.0.0.1";

  @TempDir Path parent;

  @ParameterizedTest
  @ValueSource(strings = {"connectEx", "connect3"})
  void whenTheEncodingLacksTheAddress(String form) throws Exception {
    ChildJvm.Result result = connectIn("ISO-8859-1", form, "primary");

    assertEquals(Codes.INVALID_ADDRESS + " then 0\n", result.output());
    assertEquals(List.of("plain/"), folders());
  }

  @ParameterizedTest
  @ValueSource(strings = {"connectEx", "connect3"})
  void whenTheEncodingLacksTheStandbysAddress(String form) throws Exception {
    ChildJvm.Result result = connectIn("ISO-8859-1", form, "standby");

    assertEquals(Codes.INVALID_ADDRESS + " then 0\n", result.output());
    assertEquals(List.of("plain/"), folders());
  }

  @ParameterizedTest(name = "{0}, {1}, in {2}")
  @CsvSource({
    "connectEx, primary, no-such-encoding",
    "connectEx, standby, no-such-encoding",
    "connect3, primary, no-such-encoding",
    "connect3, standby, no-such-encoding",
    "connectEx, primary, ISO-8859-1//TRANSLIT",
    "connectEx, primary, UTF-16"
  })
  void whenThereIsNoSuchEncoding(String form, String server, String encoding) throws Exception {
    ChildJvm.Result result = connectIn(encoding, form, server);

    assertEquals("0 then 0\n", result.output());
    assertEquals(List.of(HAN_IN_UTF8, "plain/"), folders());
    String line = "zervane error: texts cannot be in the encoding '" + encoding + "'";
    assertTrue(result.errors().contains(line), result.errors());
  }

  @Test
  void whenItIsTooLong() throws IOException {
    String address = "embedded:" + parent + "/";
    address += "x".repeat(512 - address.length());

    assertEquals(Codes.INVALID_TEXT, Jni_Zervane.connectEx(address, 0, "", 0));
    assertEquals(Codes.INVALID_TEXT, Jni_Zervane.connectEx(NO_SERVER, 1, address, 0));
    assertEquals(Codes.NOT_CONNECTED, Jni_Zervane.disconnect());
    assertEquals(List.of(), folders());
  }

  /**
   * Connects in that form and that encoding to a folder with a name in Han, as the primary or as
   * the standby, and then to the folder "plain", on the same thread.
   */
  private ChildJvm.Result connectIn(String encoding, String form, String server)
      throws IOException, InterruptedException {
    return ChildJvm.withLibrary()
        .with("ZERVANE_ENCODING", encoding)
        .with("ZERVANE_HOME", parent.resolve("home").toString())
        .without("ZERVANE_LOG")
        .run(ConnectMain.class, parent.toString(), form, server);
  }

  /** The names in {@link #parent} as URIs spell them, whatever this process's own encoding is. */
  private List<String> folders() throws IOException {
    try (Stream<Path> files = Files.list(parent)) {
      URI base = parent.toUri();
      return files.map(file -> base.relativize(file.toUri()).getRawPath()).sorted().toList();
    }
  }

  /** Connects twice and prints both statuses. */
  static final class ConnectMain {
    public static void main(String[] arguments) {
      String parent = "embedded:" + arguments[0];
      boolean isStandby = arguments[2].equals("standby");
      String primary = isStandby ? NO_SERVER : parent + "/" + HAN;
      String standby = isStandby ? parent + "/" + HAN : "";
      int status =
          arguments[1].equals("connect3")
              ? Jni_Zervane.connect3(primary, 1, standby, 1)
              : Jni_Zervane.connectEx(primary, 1, standby, 1);
      Jni_Zervane.disconnect();
      int next = Jni_Zervane.connectEx(parent + "/plain", 0, "", 0);
      Jni_Zervane.disconnect();
      System.out.println(status + " then " + next);
    }
  }
}
