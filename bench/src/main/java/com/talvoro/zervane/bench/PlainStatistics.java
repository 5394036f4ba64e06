package com.talvoro.zervane.bench;

/**
 * The statistics of one tag over one region, calculated record by record in the plainest way, so
 * that answers can be checked against it. It is told every record of the tag that matters, in the
 * order of time: those inside, and those next to the region's ends.
 */
final class PlainStatistics {
  private final long fromMs;
  private final long toMs;
  private final double low;
  private final double high;
  private boolean isAfterFirst;
  private long beforeMs;
  private double before;
  private boolean isBeforeGood;
  private final ExactSum sum = new ExactSum();
  private final ExactSum area = new ExactSum();
  private long good;
  private long between;
  private double least = Double.POSITIVE_INFINITY;
  private double greatest = Double.NEGATIVE_INFINITY;
  private double last = Double.NaN;
  private long goodMs;
  private long aboveMs;

  /**
   * @param fromMs the region's left end, which is part of it
   * @param toMs its right end, which is not
   * @param low the lower bound of statistics that have one
   * @param high their upper bound
   */
  PlainStatistics(long fromMs, long toMs, double low, double high) {
    this.fromMs = fromMs;
    this.toMs = toMs;
    this.low = low;
    this.high = high;
  }

  /** Takes the next record. */
  void add(long timeMs, double value, int quality) {
    boolean isGood = quality == Generator.GOOD;
    if (isAfterFirst && isBeforeGood) {
      addSpan(timeMs, isGood ? value : before);
    }
    if (isGood && timeMs >= fromMs && timeMs < toMs) {
      addValue(value);
    }
    isAfterFirst = true;
    beforeMs = timeMs;
    before = value;
    isBeforeGood = isGood;
  }

  private void addValue(double value) {
    sum.add(value);
    good++;
    between += value >= low && value <= high ? 1 : 0;
    least = Math.min(least, value);
    greatest = Math.max(greatest, value);
    last = value;
  }

  /** The time from the record before to the next one, where the value comes to be {@code end}. */
  private void addSpan(long nextMs, double end) {
    long leftMs = Math.max(beforeMs, fromMs);
    long rightMs = Math.min(nextMs, toMs);
    if (leftMs >= rightMs) {
      return;
    }
    long lengthMs = rightMs - leftMs;
    double middleMs = (leftMs - beforeMs + rightMs - beforeMs) / 2.0;
    area.add((before + (end - before) * middleMs / (nextMs - beforeMs)) * lengthMs / 1000);
    goodMs += lengthMs;
    aboveMs += before > low ? lengthMs : 0;
  }

  /** The answer; NaN when there is nothing to calculate it from. */
  double value(Statistic what) {
    return switch (what) {
      case MEAN, FILTERED_MEAN -> sum.value() / good;
      case LEAST -> good == 0 ? Double.NaN : least;
      case GREATEST -> good == 0 ? Double.NaN : greatest;
      case SUM -> good == 0 ? Double.NaN : sum.value();
      case LAST -> last;
      case AREA -> goodMs == 0 ? Double.NaN : area.value();
      case TIME_MEAN -> area.value() / (goodMs / 1e3);
      case GOOD_SHARE -> 100.0 * goodMs / (toMs - fromMs);
      case TIME_ABOVE -> aboveMs / 1e3;
      case COUNT_BETWEEN -> between;
    };
  }
}
