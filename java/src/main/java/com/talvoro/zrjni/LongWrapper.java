package com.talvoro.zrjni;

/**
 * Receives a 64-bit integer from a native method: iterator and batch handles, the server time and
 * version numbers.
 *
 * <p>Native methods write the holder and never read it.
 */
public class LongWrapper {
  /** What was received. */
  public long Value;
}
