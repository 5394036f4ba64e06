package com.talvoro.zervane.bench;

import java.util.EnumMap;
import java.util.Map;

/**
 * Statistics of one tag over all its records: those that a summary of many records may serve, in
 * milliseconds, and those for which every record has to be looked at, in records a second.
 */
record HistoryStatistics(HistorySet set, boolean isOfEveryRecord) implements Workload {
  /** What summaries serve, and the figure of each. */
  private static final Map<Statistic, Metric> MILLISECONDS = new EnumMap<>(Statistic.class);

  /** What they do not, and its figures: by the clock, and by the process's use of processors. */
  private static final Map<Statistic, Metric[]> RATES = new EnumMap<>(Statistic.class);

  static {
    MILLISECONDS.put(Statistic.MEAN, Metric.MEAN_MS);
    MILLISECONDS.put(Statistic.LEAST, Metric.LEAST_MS);
    MILLISECONDS.put(Statistic.GREATEST, Metric.GREATEST_MS);
    MILLISECONDS.put(Statistic.SUM, Metric.SUM_MS);
    MILLISECONDS.put(Statistic.LAST, Metric.LAST_MS);
    MILLISECONDS.put(Statistic.AREA, Metric.AREA_MS);
    MILLISECONDS.put(Statistic.TIME_MEAN, Metric.TIME_MEAN_MS);
    MILLISECONDS.put(Statistic.GOOD_SHARE, Metric.GOOD_SHARE_MS);
    RATES.put(
        Statistic.TIME_ABOVE, new Metric[] {Metric.TIME_ABOVE_RATE, Metric.TIME_ABOVE_CORE_RATE});
    RATES.put(
        Statistic.COUNT_BETWEEN,
        new Metric[] {Metric.COUNT_BETWEEN_RATE, Metric.COUNT_BETWEEN_CORE_RATE});
    RATES.put(
        Statistic.FILTERED_MEAN, new Metric[] {Metric.FILTERED_RATE, Metric.FILTERED_CORE_RATE});
  }

  static String id(HistorySet set, boolean isOfEveryRecord) {
    return (isOfEveryRecord ? "history-decoding-" : "history-statistics-") + set.word();
  }

  @Override
  public String id() {
    return id(set, isOfEveryRecord);
  }

  @Override
  public String title() {
    return (isOfEveryRecord ? "statistics that need each of " : "statistics of ") + set.title();
  }

  @Override
  public Map<Metric, Double> run(WorkSpace space, double seconds, double warmUpSeconds)
      throws Exception {
    OneTagOracle oracle = OneTagOracle.of(set);
    Map<Metric, Double> figures = new EnumMap<>(Metric.class);
    try (Subject subject = space.open(set.store(), set.tagCount());
        HistoryCalls history = subject.history(set.tagCount())) {
      Asking asking = new Asking(history, oracle, seconds / 4, warmUpSeconds / 8, figures);
      if (isOfEveryRecord) {
        for (Statistic what : RATES.keySet()) {
          asking.rate(what, set.records());
        }
        return figures;
      }
      for (Statistic what : MILLISECONDS.keySet()) {
        asking.milliseconds(what, set.records());
      }
      asking.shortForms();
    }
    return figures;
  }

  /** The questions of a round, and their figures. */
  private record Asking(
      HistoryCalls history,
      OneTagOracle oracle,
      double seconds,
      double warmUpSeconds,
      Map<Metric, Double> figures) {

    void milliseconds(Statistic what, long records) throws Exception {
      if (records > history.mostRecords(what)) {
        return;
      }
      double taken = Repetition.median(seconds, warmUpSeconds, () -> ask(what));
      figures.put(MILLISECONDS.get(what), taken * 1e3);
    }

    void rate(Statistic what, long records) throws Exception {
      Metric[] metrics = RATES.get(what);
      int[] runs = {0};
      double before = ProcessorTime.seconds();
      double taken =
          Repetition.median(
              seconds,
              warmUpSeconds,
              () -> {
                ask(what);
                runs[0]++;
              });
      double used = (ProcessorTime.seconds() - before) / runs[0];
      figures.put(metrics[0], records / taken);
      if (history.isInProcess()) {
        figures.put(metrics[1], records / used);
      }
    }

    private void ask(Statistic what) throws Exception {
      Question question = oracle.question(what);
      Expected.check(what.toString(), oracle.expected(what), history.ask(question));
    }

    /** The slowest of the Java API's calls for single statistics. */
    void shortForms() throws Exception {
      if (!(history instanceof ZervaneHistory ours)) {
        return;
      }
      double slowest = 0;
      for (Statistic what : ZervaneHistory.SHORT_FORMS) {
        Question question = oracle.question(what);
        double expected = oracle.expectedWithEnd(what);
        slowest =
            Math.max(
                slowest,
                Repetition.median(
                    seconds,
                    warmUpSeconds,
                    () ->
                        Expected.check(
                            "short form of " + what, expected, ours.askShort(question))));
      }
      figures.put(Metric.SHORT_FORM_MS, slowest * 1e3);
    }
  }
}
