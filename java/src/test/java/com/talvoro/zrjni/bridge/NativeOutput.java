package com.talvoro.zrjni.bridge;

import java.io.IOException;
import java.io.UncheckedIOException;
import java.nio.charset.StandardCharsets;
import java.nio.file.Files;
import java.nio.file.Path;

/**
 * What native code, the virtual machine's own included, prints to standard output. It goes to the
 * file {@code zervane.native.output}, where it can also be read after a crash.
 */
final class NativeOutput {
  private static final Path FILE = Path.of(System.getProperty("zervane.native.output"));
  private static long taken;

  static {
    System.load(LoadedLibrary.path(LoadedLibrary.PROBE));
    if (!redirect(FILE.toAbsolutePath().toString())) {
      throw new IllegalStateException("cannot write " + FILE);
    }
  }

  private NativeOutput() {}

  private static native boolean redirect(String path);

  private static native void flush();

  /** Makes sure that what is printed from now on is caught. */
  static void start() {}

  /** What was printed since the last time. */
  static String take() {
    flush();
    try {
      byte[] all = Files.readAllBytes(FILE);
      String text =
          new String(all, (int) taken, (int) (all.length - taken), StandardCharsets.UTF_8);
      taken = all.length;
      return text;
    } catch (IOException e) {
      throw new UncheckedIOException(e);
    }
  }
}
