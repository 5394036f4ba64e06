package com.talvoro.zervane.bench;

/**
 * Sums up the records that were read, so that none can be left out by an optimiser, and so that
 * what different subjects read can be compared. Records count in their order.
 */
public final class Checksum {
  private long sum;

  /** Adds a record that was read, as Java values. */
  public void add(long timeMs, double value, int quality) {
    sum = (sum + timeMs + Double.doubleToRawLongBits(value)) * 0x9E3779B97F4A7C15L + quality;
  }

  /** The sum of what was added since the beginning. */
  public long sum() {
    return sum;
  }
}
