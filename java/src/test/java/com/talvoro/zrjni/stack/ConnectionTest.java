package com.talvoro.zrjni.stack;

import static org.junit.jupiter.api.Assertions.assertEquals;
import static org.junit.jupiter.api.Assertions.assertTrue;

import com.talvoro.zrjni.IntWrapper;
import com.talvoro.zrjni.Jni_Zervane;
import java.io.IOException;
import java.nio.file.Files;
import java.nio.file.Path;
import java.util.stream.Stream;
import org.junit.jupiter.api.DisplayName;
import org.junit.jupiter.api.Test;
import org.junit.jupiter.api.extension.RegisterExtension;
import org.junit.jupiter.api.io.TempDir;
import org.junit.jupiter.params.ParameterizedTest;
import org.junit.jupiter.params.provider.CsvSource;
import org.junit.jupiter.params.provider.ValueSource;

@DisplayName("A connection")
class ConnectionTest {
  @RegisterExtension final EmbeddedDatabase database = new EmbeddedDatabase();

  @Test
  void toTheSameDatabaseAgainSucceedsAndChangesNothing() {
    int id = Tags.add("A", ValueType.INT32);

    assertEquals(Codes.OK, Jni_Zervane.connectEx(database.address(), 0, "", 0));
    assertEquals(id, Jni_Zervane.queryTagID("A"));
  }

  @Test
  void toAnotherDatabaseIsRefusedWhileConnected() {
    assertEquals(Codes.ALREADY_CONNECTED, Jni_Zervane.connectEx("memory:", 0, "", 0));
    assertEquals(Codes.OK, Jni_Zervane.deleteTag(Tags.add("STILL.CONNECTED", ValueType.INT8)));
  }

  @Test
  void canBeClosedOnlyOnce() {
    assertEquals(Codes.OK, Jni_Zervane.disconnect());
    assertEquals(Codes.NOT_CONNECTED, Jni_Zervane.disconnect());
  }

  @Test
  void isNeededByEveryCall() {
    database.close();

    assertEquals(Codes.NOT_CONNECTED, Jni_Zervane.deleteTag(1));
    assertEquals(-1, Jni_Zervane.queryTagID("A"));
  }

  @Test
  void canBeMadeAndClosedManyTimes() {
    int id = Tags.add("A", ValueType.INT32);
    for (int i = 0; i < 20; i++) {
      database.reopen();
      assertEquals(id, Jni_Zervane.queryTagID("A"));
    }
  }

  @Test
  void makesTheFolderThatIsMissing(@TempDir Path parent) {
    database.close();
    Path folder = parent.resolve("a/b/c");

    assertEquals(Codes.OK, Jni_Zervane.connectEx("embedded:" + folder, 0, null, 0));
    assertTrue(Files.isDirectory(folder));
  }

  @ParameterizedTest(name = "{0}")
  @ValueSource(strings = {"file", "file/below"})
  void toAFolderThatCannotBeOneIsRefused(String folder, @TempDir Path parent) throws IOException {
    database.close();
    Path file = Files.writeString(parent.resolve("file"), "not a folder");

    String address = "embedded:" + parent.resolve(folder);
    assertEquals(Codes.STORAGE_FAILED, Jni_Zervane.connectEx(address, 0, "", 0));
    assertEquals(Codes.NOT_CONNECTED, Jni_Zervane.disconnect());
    assertEquals("not a folder", Files.readString(file));
  }

  @Test
  void toAServerThatDoesNotAnswerIsRefused() {
    database.close();

    assertEquals(Codes.CONNECT_FAILED, Jni_Zervane.connectEx("127.0.0.1", 1, "127.0.0.1", 1));
    assertEquals(Codes.NOT_CONNECTED, Jni_Zervane.disconnect());
  }

  @Test
  void toMemoryForgetsEverything() {
    database.close();
    assertEquals(Codes.OK, Jni_Zervane.connectEx("memory:", 0, "", 0));
    Tags.add("A", ValueType.INT32);
    assertEquals(Codes.OK, Jni_Zervane.disconnect());

    assertEquals(Codes.OK, Jni_Zervane.connectEx("memory:", 0, "", 0));
    assertEquals(-1, Jni_Zervane.queryTagID("A"));
  }

  @Test
  void takesTheLowSixteenBitsOfAPort() {
    database.close();

    assertEquals(Codes.OK, Jni_Zervane.connectEx(database.address(), 70_000, "", 0));
    assertEquals(Codes.OK, Jni_Zervane.connectEx(database.address(), 4_464, "", 0));
  }

  @Test
  void canBeMadeInTheOldForm() {
    database.close();

    assertEquals(Codes.OK, Jni_Zervane.connect3(database.address(), 5_000, null, 6_000));
    assertEquals(Codes.OK, Jni_Zervane.deleteTag(Tags.add("A", ValueType.INT8)));
  }

  @ParameterizedTest(name = "time-out {0}")
  @ValueSource(ints = {-1, 0, 3})
  void alwaysTestsAsGood(int timeoutSec) {
    IntWrapper status = new IntWrapper();
    status.Value = 7;
    assertEquals(0, Jni_Zervane.testConnect(status, timeoutSec));
    assertEquals(0, status.Value);

    database.close();
    status.Value = 7;
    assertEquals(0, Jni_Zervane.testConnect(status, timeoutSec));
    assertEquals(0, status.Value);
  }

  @Test
  void ofASecondProcessToTheSameDatabaseIsRefused() throws Exception {
    ChildJvm.Result result = ChildJvm.withLibrary().run(ConnectMain.class, database.address());

    assertEquals("connectEx " + Codes.DATABASE_IN_USE + "\n", result.output());
  }

  @Test
  void ofASecondProcessSucceedsOnceTheFirstIsClosed() throws Exception {
    database.close();

    ChildJvm.Result result = ChildJvm.withLibrary().run(ConnectMain.class, database.address());

    assertEquals("connectEx 0\n", result.output());
  }

  @ParameterizedTest(name = "{0} names the folder {1}")
  @CsvSource({
    "ZERVANE_HOME, here",
    "XDG_DATA_HOME, here/zervane",
    "HOME, here/.local/share/zervane"
  })
  void withoutAnAddressUsesTheUsersDatabase(String variable, String folder, @TempDir Path parent)
      throws Exception {
    ChildJvm.Result result =
        ChildJvm.withLibrary()
            .without("ZERVANE_HOME")
            .without("XDG_DATA_HOME")
            .with(variable, parent.resolve("here").toString())
            .run(ConnectMain.class, "");

    assertEquals("connectEx 0\n", result.output());
    try (Stream<Path> files = Files.list(parent.resolve(folder))) {
      assertTrue(files.findAny().isPresent(), "no database in " + folder);
    }
  }

  /** Connects to the address that it is given and prints the status. */
  static final class ConnectMain {
    public static void main(String[] arguments) {
      System.out.println("connectEx " + Jni_Zervane.connectEx(arguments[0], 0, "", 0));
      Jni_Zervane.disconnect();
    }
  }
}
