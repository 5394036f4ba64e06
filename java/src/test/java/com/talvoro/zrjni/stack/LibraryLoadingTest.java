package com.talvoro.zrjni.stack;

import static org.junit.jupiter.api.Assertions.assertEquals;
import static org.junit.jupiter.api.Assertions.assertNotEquals;
import static org.junit.jupiter.api.Assertions.assertTrue;

import com.talvoro.zrjni.IntWrapper;
import com.talvoro.zrjni.Jni_Zervane;
import java.io.IOException;
import java.nio.file.Files;
import java.nio.file.Path;
import java.util.List;
import java.util.stream.Stream;
import org.junit.jupiter.api.DisplayName;
import org.junit.jupiter.api.Test;
import org.junit.jupiter.api.io.TempDir;

@DisplayName("The native library is loaded")
class LibraryLoadingTest {
  @Test
  void fromTheFolderThatIsNamed() throws Exception {
    assertLoads(
        new ChildJvm()
            .option("-Dzervane.library.path=" + ChildJvm.LIBRARY_FOLDER)
            .run(LoadMain.class));
  }

  @Test
  void fromTheLibraryPath() throws Exception {
    assertLoads(
        new ChildJvm()
            .option("-Djava.library.path=" + ChildJvm.LIBRARY_FOLDER)
            .run(LoadMain.class));
  }

  @Test
  void fromTheJarWithoutLeavingACopy(@TempDir Path temporary) throws Exception {
    ChildJvm.Result result =
        new ChildJvm()
            .option("-Djava.library.path=/nowhere")
            .option("-Djava.io.tmpdir=" + temporary)
            .run(LoadMain.class);

    assertLoads(result);
    try (Stream<Path> copies = Files.list(temporary)) {
      assertEquals(List.of(), copies.toList());
    }
  }

  @Test
  void fromNowhereWithAnErrorThatNamesEveryPlace(@TempDir Path empty)
      throws IOException, InterruptedException {
    copyClasses(empty);
    ChildJvm.Result result =
        new ChildJvm()
            .option("-Djava.library.path=/nowhere")
            .run(List.of(empty, ChildJvm.TEST_CLASSES), LoadMain.class.getName());

    assertNotEquals(0, result.exitCode());
    assertTrue(result.errors().contains("java.library.path: no zrDataSDK"), result.errors());
    assertTrue(result.errors().contains("the jar: it has no /native/"), result.errors());
  }

  private static void assertLoads(ChildJvm.Result result) {
    assertEquals(0, result.exitCode(), result.errors());
    assertEquals("good\n", result.output());
  }

  /** Copies the classes without the native libraries beside them. */
  private static void copyClasses(Path destination) throws IOException {
    try (Stream<Path> files = Files.walk(ChildJvm.CLASSES.resolve("com"))) {
      for (Path file : files.toList()) {
        Path copy = destination.resolve(ChildJvm.CLASSES.relativize(file).toString());
        if (Files.isDirectory(file)) {
          Files.createDirectories(copy);
        } else {
          Files.copy(file, copy);
        }
      }
    }
  }

  /** Makes a call that needs the library and nothing else. */
  static final class LoadMain {
    public static void main(String[] arguments) {
      IntWrapper status = new IntWrapper();
      status.Value = 7;
      Jni_Zervane.testConnect(status, 0);
      System.out.println(status.Value == 0 ? "good" : "bad");
    }
  }
}
