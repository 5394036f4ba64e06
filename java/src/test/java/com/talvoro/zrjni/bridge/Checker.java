package com.talvoro.zrjni.bridge;

import java.lang.management.ManagementFactory;

/** The virtual machine's checker of JNI calls. */
final class Checker {
  private Checker() {}

  static boolean isRunning() {
    return ManagementFactory.getRuntimeMXBean().getInputArguments().contains("-Xcheck:jni");
  }
}
