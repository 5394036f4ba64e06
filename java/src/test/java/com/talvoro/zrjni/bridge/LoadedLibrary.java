package com.talvoro.zrjni.bridge;

import java.io.File;

/**
 * The native libraries of the run, all of which stand in the folder {@code zervane.library.path}.
 */
final class LoadedLibrary {
  static final String BRIDGE = "libzrDataSDK.so.1.0.0";
  static final String PROBE = "libzrallocprobe.so";

  private LoadedLibrary() {}

  static String path(String name) {
    return new File(System.getProperty("zervane.library.path"), name).getAbsolutePath();
  }
}
