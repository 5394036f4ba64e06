package com.talvoro.zrjni.bridge;

import com.talvoro.zrjni.ZRJniTime;

/** Times in both worlds. */
final class Times {
  private Times() {}

  static ZRJniTime of(int seconds, int milliseconds) {
    ZRJniTime time = new ZRJniTime();
    time.nSec = seconds;
    time.nMsec = (short) milliseconds;
    return time;
  }

  /** A time as it is sent; its padding holds no defined value. */
  static Struct sent(ZRJniTime time) {
    return Struct.uncleared(Layouts.TIME).set("nSec", time.nSec).set("nMsec", time.nMsec);
  }

  /** A region without its flags, in memory that was not cleared. */
  static Struct region(ZRJniTime left, ZRJniTime right) {
    return Struct.uncleared(Layouts.TIME_REGION)
        .set("left.nSec", left.nSec)
        .set("left.nMsec", left.nMsec)
        .set("right.nSec", right.nSec)
        .set("right.nMsec", right.nMsec);
  }

  static Struct closedRegion(ZRJniTime left, ZRJniTime right) {
    return region(left, right).set("bLeftClosed", 1).set("bRightClosed", 1);
  }
}
