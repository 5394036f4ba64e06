package com.talvoro.zrjni;

/**
 * Receives a floating-point number from a native method: statistics.
 *
 * <p>Native methods write the holder and never read it.
 */
public class DoubleWrapper {
  /** What was received. */
  public double Value;
}
