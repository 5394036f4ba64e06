package com.talvoro.zervane.bench;

/**
 * Records in columns, made before the clock runs: record i is {@code tag[i]}, {@code timeMs[i]},
 * {@code value[i]}, {@code quality[i]}.
 *
 * <p>The arrays are filled anew for every batch, so whoever keeps a batch copies it.
 */
public final class Batch {
  /** How many records there are: the length of every column. */
  public final int size;

  /** Tag numbers, from 0 to the number of tags minus 1. A tag may stand more than once. */
  public final int[] tag;

  /** Times in milliseconds since 1970-01-01 UTC; no tag has two records of one time. */
  public final long[] timeMs;

  /** Values with two decimals. */
  public final double[] value;

  /** Qualities: 192 good, 0 bad. */
  public final int[] quality;

  /** Makes a batch whose columns are all zero. */
  public Batch(int size) {
    this.size = size;
    tag = new int[size];
    timeMs = new long[size];
    value = new double[size];
    quality = new int[size];
  }
}
