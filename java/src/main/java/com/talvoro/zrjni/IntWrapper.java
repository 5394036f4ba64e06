package com.talvoro.zrjni;

/**
 * Receives a 32-bit integer from a native method: counts, tag identifiers, tag types and the
 * connection status.
 *
 * <p>Native methods write the holder and never read it.
 */
public class IntWrapper {
  /** What was received. */
  public int Value;
}
