package com.talvoro.zervane.bench;

/** What the means of every tag of a history have to be for every hour of its last day. */
final class WindowOracle {
  /** The latest that was asked for: all rounds of a process are about the same. */
  private static WindowOracle latest;

  private final HistorySet set;
  private final PlainStatistics[][] windows;

  private WindowOracle(HistorySet set) throws Exception {
    this.set = set;
    windows = new PlainStatistics[set.tagCount()][HistorySet.HOURS];
    for (PlainStatistics[] ofTag : windows) {
      for (int hour = 0; hour < HistorySet.HOURS; hour++) {
        long fromMs = set.dayMs() + hour * HistorySet.HOUR_MS;
        ofTag[hour] = new PlainStatistics(fromMs, fromMs + HistorySet.HOUR_MS, 0, 0);
      }
    }
    long firstMs = set.dayMs() - HistoryCalls.GAP_MS;
    set.forEach(
        batch -> {
          for (int i = 0; i < batch.size; i++) {
            if (batch.timeMs[i] >= firstMs) {
              add(batch.tag[i], batch.timeMs[i], batch.value[i], batch.quality[i]);
            }
          }
        });
  }

  /** Hands a record to its hour, and to one next to it whose end it may be beside. */
  private void add(int tag, long timeMs, double value, int quality) {
    int earliest = hour(timeMs - HistoryCalls.GAP_MS);
    int latestHour = hour(timeMs + HistoryCalls.GAP_MS);
    for (int hour = earliest; hour <= latestHour; hour++) {
      windows[tag][hour].add(timeMs, value, quality);
    }
  }

  private int hour(long timeMs) {
    long hour = Math.floorDiv(timeMs - set.dayMs(), HistorySet.HOUR_MS);
    return (int) Math.max(0, Math.min(HistorySet.HOURS - 1, hour));
  }

  /** Calculates it, once for a process. */
  static WindowOracle of(HistorySet set) throws Exception {
    if (latest == null || !latest.set.equals(set)) {
      latest = new WindowOracle(set);
    }
    return latest;
  }

  double expected(Statistic what, int tag, int hour) {
    return windows[tag][hour].value(what);
  }
}
