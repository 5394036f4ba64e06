package com.talvoro.zrjni;

/** A time, mirroring {@code ZR3Time}. */
public class ZRJniTime {
  /** Seconds since 1970-01-01 UTC, as the bits of an unsigned 32-bit number. */
  public int nSec;

  /** Milliseconds within the second, 0 to 999. */
  public short nMsec;
}
