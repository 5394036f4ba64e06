package com.talvoro.zrjni.bridge;

import com.talvoro.zrjni.IntWrapper;
import com.talvoro.zrjni.Jni_Zervane;

/** What the bridge asks of the heap, and what it leaves there. Sizes are in bytes. */
final class AllocationProbe {
  /** Content of a block that the bridge has allocated and not cleared. */
  static final byte FRESH = (byte) 0xA5;

  static {
    System.load(LoadedLibrary.path(LoadedLibrary.PROBE));
    Jni_Zervane.testConnect(new IntWrapper(), 0); // loads the bridge
    if (!watch(LoadedLibrary.BRIDGE)) {
      throw new IllegalStateException("the bridge is not loaded");
    }
    reset();
    if (!isPreloaded()) {
      throw new IllegalStateException(
          "not preloaded: run with LD_PRELOAD=" + LoadedLibrary.path(LoadedLibrary.PROBE));
    }
  }

  private AllocationProbe() {}

  private static native boolean watch(String library);

  /** Forgets everything; what is left stays allocated. */
  static native void reset();

  /** Lets the ordinal-th allocation from now on fail; 1 is the next. */
  static native void failRequest(int ordinal);

  /** Every allocation since the last reset, failed ones included, in order. */
  static native long[] requested();

  /** Those of them that are not freed, in order. */
  static native long[] outstanding();

  /** The content of the index-th block that is not freed; null when there is none. */
  static byte[] content(int index) {
    long[] sizes = outstanding();
    return index < sizes.length ? content(index, (int) sizes[index]) : null;
  }

  private static native byte[] content(int index, int size);

  private static boolean isPreloaded() {
    Jni_Zervane.connectEx(null, 0, null, 0);
    boolean seen = requested().length > 0;
    reset();
    return seen;
  }
}
