package com.talvoro.zrjni;

/** Loads the native library. */
final class NativeLoader {
  private NativeLoader() {}

  static void load() {
    String folder = System.getProperty("zervane.library.path");
    if (folder == null) {
      System.loadLibrary("zrDataSDK");
    } else {
      System.load(new java.io.File(folder, "libzrDataSDK.so.1.0.0").getAbsolutePath());
    }
  }
}
