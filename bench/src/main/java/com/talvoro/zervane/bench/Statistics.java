package com.talvoro.zervane.bench;

import java.util.Arrays;

/** What is told of a number of measurements. */
final class Statistics {
  private Statistics() {}

  /** The value in the middle; the mean of the two in the middle of an even number. */
  static double median(double... samples) {
    double[] sorted = sorted(samples);
    int half = sorted.length / 2;
    return sorted.length % 2 == 1 ? sorted[half] : (sorted[half - 1] + sorted[half]) / 2;
  }

  /** The smallest sample that is not less than the given share of all: 0.99 for p99. */
  static long percentile(long[] samples, double share) {
    if (samples.length == 0) {
      throw new IllegalArgumentException("no samples");
    }
    long[] sorted = samples.clone();
    Arrays.sort(sorted);
    return sorted[Math.max(0, (int) Math.ceil(share * sorted.length) - 1)];
  }

  /** How far apart the smallest and the largest sample are, as a share of the median. */
  static double spread(double... samples) {
    double[] sorted = sorted(samples);
    return (sorted[sorted.length - 1] - sorted[0]) / median(samples);
  }

  private static double[] sorted(double[] samples) {
    if (samples.length == 0) {
      throw new IllegalArgumentException("no samples");
    }
    double[] sorted = samples.clone();
    Arrays.sort(sorted);
    return sorted;
  }
}
