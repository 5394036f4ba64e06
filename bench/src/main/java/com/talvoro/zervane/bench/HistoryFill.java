package com.talvoro.zervane.bench;

import java.util.Map;

/** Writes a history once and closes it; the others ask for what it has. */
record HistoryFill(HistorySet set) implements Workload {
  static String id(HistorySet set) {
    return "history-fill-" + set.word();
  }

  @Override
  public String id() {
    return id(set);
  }

  @Override
  public String title() {
    return set.title() + ", closed";
  }

  @Override
  public Map<Metric, Double> run(WorkSpace space, double seconds, double warmUpSeconds)
      throws Exception {
    try (Subject subject = space.create(set.store(), set.tagCount());
        HistoryCalls history = subject.history(set.tagCount())) {
      set.forEach(history::add);
      history.finish();
    }
    space.sync(set.store());
    return Map.of(
        Metric.BYTES_PER_RECORD, (double) space.sizeBytes(set.store()) / set.records());
  }
}
