package com.talvoro.zervane.bench;

/**
 * What statistics of the only tag of a history have to be: from its first record on, to its last
 * one.
 */
final class OneTagOracle {
  /** Bounds that the values of any history cross many times. */
  private static final double LOW = 40;

  private static final double HIGH = 60;

  /** The latest that was asked for: all rounds of a process are about the same. */
  private static OneTagOracle latest;

  private final HistorySet set;
  private long fromMs = Long.MAX_VALUE;
  private long toMs;
  private final PlainStatistics plain;
  private final PlainStatistics plainWithEnd;

  private OneTagOracle(HistorySet set) throws Exception {
    this.set = set;
    set.forEach(
        batch -> {
          fromMs = Math.min(fromMs, batch.timeMs[0]);
          toMs = batch.timeMs[batch.size - 1];
        });
    plain = new PlainStatistics(fromMs, toMs, LOW, HIGH);
    plainWithEnd = new PlainStatistics(fromMs, toMs + 1, LOW, HIGH);
    set.forEach(
        batch -> {
          for (int i = 0; i < batch.size; i++) {
            plain.add(batch.timeMs[i], batch.value[i], batch.quality[i]);
            plainWithEnd.add(batch.timeMs[i], batch.value[i], batch.quality[i]);
          }
        });
  }

  /** Calculates it, once for a process. */
  static OneTagOracle of(HistorySet set) throws Exception {
    if (latest == null || !latest.set.equals(set)) {
      latest = new OneTagOracle(set);
    }
    return latest;
  }

  Question question(Statistic what) {
    return new Question(what, 0, fromMs, toMs, LOW, HIGH);
  }

  double expected(Statistic what) {
    return plain.value(what);
  }

  /** The same when the last record, at the right end, is part of the region. */
  double expectedWithEnd(Statistic what) {
    return what == Statistic.GOOD_SHARE ? plain.value(what) : plainWithEnd.value(what);
  }
}
