package com.talvoro.zervane.bench;

import java.util.Map;
import java.util.SplittableRandom;

/** The values of a history's only tag at instants all over it, in no order. */
record HistoryInterpolation(HistorySet set) implements Workload {
  private static final int INSTANTS = 10_000;

  /** Instants keep away from both ends, where a good record can be missing on a side. */
  private static final long MARGIN_MS = 60_000;

  static String id(HistorySet set) {
    return "history-interpolation-" + set.word();
  }

  @Override
  public String id() {
    return id(set);
  }

  @Override
  public String title() {
    return String.format("%,d instants among %s", INSTANTS, set.title());
  }

  @Override
  public Map<Metric, Double> run(WorkSpace space, double seconds, double warmUpSeconds)
      throws Exception {
    long[] instants = instants();
    PlainInterpolation plain = new PlainInterpolation(instants);
    set.forEach(
        batch -> {
          for (int i = 0; i < batch.size; i++) {
            plain.add(batch.timeMs[i], batch.value[i], batch.quality[i]);
          }
        });
    try (Subject subject = space.open(set.store(), set.tagCount());
        HistoryCalls history = subject.history(set.tagCount())) {
      history.setInstants(0, instants);
      double taken =
          Repetition.median(
              seconds / 4,
              warmUpSeconds / 8,
              () -> check(history.interpolate(), instants, plain.values()));
      return Map.of(Metric.INTERPOLATION_MS, taken * 1e3);
    }
  }

  private long[] instants() {
    long lengthMs = set.rounds() * set.periodMs();
    return new SplittableRandom(11)
        .longs(
            INSTANTS,
            Generator.START_MS + MARGIN_MS,
            Generator.START_MS + lengthMs - MARGIN_MS)
        .toArray();
  }

  private static void check(double[] answers, long[] instants, double[] expected) {
    Expected.check("how many values there are", expected.length, answers.length);
    for (int i = 0; i < answers.length; i++) {
      Expected.check("the value at " + instants[i], expected[i], answers[i]);
    }
  }
}
