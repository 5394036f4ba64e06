package com.talvoro.zrjni;

import static org.junit.jupiter.api.Assertions.assertAll;
import static org.junit.jupiter.api.Assertions.assertEquals;
import static org.junit.jupiter.api.Assertions.assertFalse;
import static org.junit.jupiter.api.Assertions.assertThrows;
import static org.junit.jupiter.api.Assertions.assertTrue;

import java.io.ByteArrayInputStream;
import java.io.IOException;
import java.io.InputStream;
import java.io.UncheckedIOException;
import java.nio.charset.StandardCharsets;
import java.nio.file.Files;
import java.nio.file.Path;
import java.nio.file.attribute.PosixFilePermissions;
import java.util.ArrayList;
import java.util.List;
import java.util.Map;
import java.util.TreeMap;
import java.util.stream.Stream;
import org.junit.jupiter.api.DisplayName;
import org.junit.jupiter.api.Test;
import org.junit.jupiter.params.ParameterizedTest;
import org.junit.jupiter.params.provider.NullAndEmptySource;

@DisplayName("The search for the native library")
class NativeLoaderTest {
  private static final String BRIDGE = "libzrDataSDK.so.1.0.0";
  private static final String IN_JAR = "/native/linux/x86_64/";

  /** Writes down what is asked of it, loads nothing, and fails where it is told to. */
  private static final class RecordingLinker implements NativeLoader.Linker {
    final List<String> calls = new ArrayList<>();
    final Map<String, String> filesBesideIt = new TreeMap<>();
    String permissions;
    Path folder;
    boolean failsOnFiles;
    boolean failsOnNames;

    @Override
    public void load(Path file) {
      calls.add("load " + file);
      folder = file.getParent();
      if (Files.isDirectory(folder)) {
        lookAround();
      }
      if (failsOnFiles) {
        throw new UnsatisfiedLinkError("cannot map " + file.getFileName());
      }
    }

    @Override
    public void loadLibrary(String name) {
      calls.add("loadLibrary " + name);
      if (failsOnNames) {
        throw new UnsatisfiedLinkError("no " + name);
      }
    }

    private void lookAround() {
      try (Stream<Path> files = Files.list(folder)) {
        permissions = PosixFilePermissions.toString(Files.getPosixFilePermissions(folder));
        for (Path file : files.toList()) {
          filesBesideIt.put(file.getFileName().toString(), Files.readString(file));
        }
      } catch (IOException e) {
        throw new UncheckedIOException(e);
      }
    }
  }

  private final RecordingLinker linker = new RecordingLinker();

  private static InputStream jarWithEverything(String name) {
    return new ByteArrayInputStream(("content of " + name).getBytes(StandardCharsets.UTF_8));
  }

  private static InputStream emptyJar(String name) {
    return null;
  }

  @Test
  void takesTheNamedFolderAndNothingElse() {
    new NativeLoader("/opt/zervane", linker, NativeLoaderTest::jarWithEverything).load();

    assertEquals(List.of("load /opt/zervane/" + BRIDGE), linker.calls);
  }

  @Test
  void makesARelativeFolderAbsolute() {
    new NativeLoader("some/lib", linker, NativeLoaderTest::emptyJar).load();

    assertEquals(
        List.of("load " + Path.of("some/lib").toAbsolutePath().resolve(BRIDGE)), linker.calls);
  }

  @Test
  void doesNotLookElsewhereWhenTheNamedFolderFails() {
    linker.failsOnFiles = true;
    NativeLoader loader =
        new NativeLoader("/opt/zervane", linker, NativeLoaderTest::jarWithEverything);

    UnsatisfiedLinkError error = assertThrows(UnsatisfiedLinkError.class, loader::load);

    assertEquals(1, linker.calls.size());
    assertTrue(error.getMessage().contains("zervane.library.path=/opt/zervane"), error::getMessage);
    assertTrue(error.getMessage().contains("cannot map " + BRIDGE), error::getMessage);
  }

  @ParameterizedTest(name = "folder: {0}")
  @NullAndEmptySource
  void prefersTheLibraryPathToTheJar(String folder) {
    new NativeLoader(folder, linker, NativeLoaderTest::jarWithEverything).load();

    assertEquals(List.of("loadLibrary zrDataSDK"), linker.calls);
  }

  @Test
  void loadsPrivateCopiesOfTheLibrariesInTheJar() {
    linker.failsOnNames = true;

    new NativeLoader(null, linker, NativeLoaderTest::jarWithEverything).load();

    assertEquals("loadLibrary zrDataSDK", linker.calls.get(0));
    assertEquals("load " + linker.folder.resolve(BRIDGE), linker.calls.get(1));
    assertEquals("rwx------", linker.permissions);
    assertEquals(
        Map.of(
            BRIDGE,
            "content of " + IN_JAR + BRIDGE,
            "libzrOS.so.1.0.0",
            "content of " + IN_JAR + "libzrOS.so.1.0.0",
            "libzrVaskAPI.so.1.0.0",
            "content of " + IN_JAR + "libzrVaskAPI.so.1.0.0"),
        linker.filesBesideIt);
    assertFalse(Files.exists(linker.folder), "the copies must be gone once they are loaded");
  }

  @Test
  void removesTheCopiesThatCouldNotBeLoaded() {
    linker.failsOnNames = true;
    linker.failsOnFiles = true;
    NativeLoader loader = new NativeLoader(null, linker, NativeLoaderTest::jarWithEverything);

    assertThrows(UnsatisfiedLinkError.class, loader::load);

    assertFalse(Files.exists(linker.folder));
  }

  @Test
  void namesEveryPlaceTriedAndWhyItFailed() {
    linker.failsOnNames = true;
    NativeLoader loader = new NativeLoader(null, linker, NativeLoaderTest::emptyJar);

    String message = assertThrows(UnsatisfiedLinkError.class, loader::load).getMessage();

    assertAll(
        () -> assertTrue(message.contains("java.library.path: no zrDataSDK"), message),
        () -> assertTrue(message.contains("the jar: it has no " + IN_JAR), message));
  }
}
