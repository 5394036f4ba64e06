package com.talvoro.zervane.bench;

import java.util.Arrays;
import java.util.Comparator;

/**
 * The values at instants, calculated in the plainest way while all records of a tag go by in the
 * order of time: on the line between the good record at or before the instant and the one after it.
 */
final class PlainInterpolation {
  private final long[] timesMs;
  private final Integer[] byTime;
  private final double[] values;
  private int next;
  private boolean isAfterGood;
  private long beforeMs;
  private double before;

  PlainInterpolation(long[] timesMs) {
    this.timesMs = timesMs;
    values = new double[timesMs.length];
    Arrays.fill(values, Double.NaN);
    byTime = new Integer[timesMs.length];
    Arrays.setAll(byTime, i -> i);
    Arrays.sort(byTime, Comparator.comparingLong(i -> timesMs[i]));
  }

  /** Takes the next record. */
  void add(long timeMs, double value, int quality) {
    if (quality != Generator.GOOD) {
      return;
    }
    while (next < byTime.length && timesMs[byTime[next]] < timeMs) {
      int i = byTime[next++];
      if (isAfterGood) {
        double share = (double) (timesMs[i] - beforeMs) / (timeMs - beforeMs);
        values[i] = before + (value - before) * share;
      }
    }
    isAfterGood = true;
    beforeMs = timeMs;
    before = value;
  }

  /** The values at the instants, in their order; NaN where a good record is missing on a side. */
  double[] values() {
    return values;
  }
}
