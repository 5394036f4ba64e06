package com.talvoro.zrjni.stack;

import static org.junit.jupiter.api.Assertions.assertEquals;

import com.talvoro.zrjni.Jni_Zervane;
import java.io.IOException;
import java.nio.file.Files;
import java.nio.file.Path;
import java.util.Comparator;
import java.util.stream.Stream;
import org.junit.jupiter.api.extension.AfterEachCallback;
import org.junit.jupiter.api.extension.BeforeEachCallback;
import org.junit.jupiter.api.extension.ExtensionContext;

/**
 * Gives each test a database of its own in a folder that is gone afterwards, and connects to it; or
 * one in memory, for tests of so many tags that syncing each to the disk would take all their time.
 */
final class EmbeddedDatabase implements BeforeEachCallback, AfterEachCallback {
  private final boolean isInMemory;
  private Path folder;

  EmbeddedDatabase() {
    this(false);
  }

  private EmbeddedDatabase(boolean isInMemory) {
    this.isInMemory = isInMemory;
  }

  /** One that closing empties. */
  static EmbeddedDatabase inMemory() {
    return new EmbeddedDatabase(true);
  }

  @Override
  public void beforeEach(ExtensionContext context) throws IOException {
    folder = Files.createTempDirectory("zervane-test-");
    open();
  }

  @Override
  public void afterEach(ExtensionContext context) throws IOException {
    Jni_Zervane.disconnect(); // a test may have done so itself
    try (Stream<Path> files = Files.walk(folder)) {
      for (Path file : files.sorted(Comparator.reverseOrder()).toList()) {
        Files.delete(file);
      }
    }
  }

  Path folder() {
    return folder;
  }

  String address() {
    return isInMemory ? "memory:" : "embedded:" + folder;
  }

  void open() {
    assertEquals(Codes.OK, Jni_Zervane.connectEx(address(), 0, "", 0));
  }

  void close() {
    assertEquals(Codes.OK, Jni_Zervane.disconnect());
  }

  void reopen() {
    close();
    open();
  }
}
