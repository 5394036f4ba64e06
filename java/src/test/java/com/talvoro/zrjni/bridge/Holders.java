package com.talvoro.zrjni.bridge;

import com.talvoro.zrjni.DoubleWrapper;
import com.talvoro.zrjni.IntWrapper;
import com.talvoro.zrjni.LongWrapper;

/** Value holders that hold something before they are handed in. */
final class Holders {
  static final int BEFORE = 99;

  private Holders() {}

  static IntWrapper ofInt() {
    IntWrapper holder = new IntWrapper();
    holder.Value = BEFORE;
    return holder;
  }

  static LongWrapper ofLong() {
    LongWrapper holder = new LongWrapper();
    holder.Value = BEFORE;
    return holder;
  }

  static DoubleWrapper ofDouble() {
    DoubleWrapper holder = new DoubleWrapper();
    holder.Value = BEFORE;
    return holder;
  }
}
