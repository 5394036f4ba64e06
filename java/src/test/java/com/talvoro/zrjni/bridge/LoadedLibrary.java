package com.talvoro.zrjni.bridge;

import java.io.File;

/**
 * The native libraries of the run, all of which stand in the folder {@code zervane.library.path}.
 */
final class LoadedLibrary {
  static final String BRIDGE = "libzrDataSDK.so.1.0.0";
  static final String PROBE = "libzrallocprobe.so";

  static {
    System.load(path(PROBE));
  }

  private LoadedLibrary() {}

  static String path(String name) {
    return new File(System.getProperty("zervane.library.path"), name).getAbsolutePath();
  }

  /** Whether a loaded library, given by its path, offers a symbol. */
  static native boolean offers(String path, String symbol);
}
