package com.talvoro.zervane.bench;

import com.talvoro.zervane.bench.HistoryCalls.TagHour;
import java.util.EnumMap;
import java.util.HashMap;
import java.util.Map;

/** The means of every tag for every hour of a day: by a call for each, and in one call. */
record HistoryWindows(HistorySet set) implements Workload {
  /** Tags that are asked about before the clock runs. */
  private static final int WARM_UP_TAGS = 50;

  static String id(HistorySet set) {
    return "history-windows-" + set.word();
  }

  @Override
  public String id() {
    return id(set);
  }

  @Override
  public String title() {
    return String.format(
        "hourly means of a day of %,d tags (%,d calls)",
        set.tagCount(), set.tagCount() * HistorySet.HOURS);
  }

  @Override
  public Map<Metric, Double> run(WorkSpace space, double seconds, double warmUpSeconds)
      throws Exception {
    WindowOracle oracle = WindowOracle.of(set);
    Map<Metric, Double> figures = new EnumMap<>(Metric.class);
    try (Subject subject = space.open(set.store(), set.tagCount());
        HistoryCalls history = subject.history(set.tagCount())) {
      figures.put(Metric.WINDOW_MEANS_MS, eachMillis(history, oracle, Statistic.MEAN));
      figures.put(Metric.WINDOW_TIME_MEANS_MS, eachMillis(history, oracle, Statistic.TIME_MEAN));
      double together = togetherMillis(history, oracle, Statistic.MEAN);
      if (together > 0) {
        figures.put(Metric.GROUP_MEANS_MS, together);
        figures.put(
            Metric.GROUP_TIME_MEANS_MS, togetherMillis(history, oracle, Statistic.TIME_MEAN));
      }
    }
    return figures;
  }

  /** A call for each tag and hour, tag by tag. */
  private double eachMillis(HistoryCalls history, WindowOracle oracle, Statistic what)
      throws Exception {
    double[] answers = new double[set.tagCount() * HistorySet.HOURS];
    ask(history, what, Math.min(WARM_UP_TAGS, set.tagCount()), answers);
    long start = System.nanoTime();
    ask(history, what, set.tagCount(), answers);
    double taken = (System.nanoTime() - start) / 1e6;
    for (int i = 0; i < answers.length; i++) {
      int tag = i / HistorySet.HOURS;
      int hour = i % HistorySet.HOURS;
      Expected.check(name(what, tag, hour), oracle.expected(what, tag, hour), answers[i]);
    }
    return taken;
  }

  private void ask(HistoryCalls history, Statistic what, int tags, double[] answers)
      throws Exception {
    for (int i = 0; i < tags * HistorySet.HOURS; i++) {
      long fromMs = hourMs(i % HistorySet.HOURS);
      answers[i] =
          history.askWindow(
              new Question(
                  what, i / HistorySet.HOURS, fromMs, fromMs + HistorySet.HOUR_MS, 0, 0));
    }
  }

  /** One call for everything; 0 when there is none. */
  private double togetherMillis(HistoryCalls history, WindowOracle oracle, Statistic what)
      throws Exception {
    Map<TagHour, Double> answers = new HashMap<>();
    double taken = 0;
    for (int run = 0; run < 2; run++) { // the first one warms up
      answers.clear();
      long start = System.nanoTime();
      if (!history.meansByHour(what, hourMs(0), hourMs(HistorySet.HOURS), answers::put)) {
        return 0;
      }
      taken = (System.nanoTime() - start) / 1e6;
    }
    Expected.check("how many means there are", set.tagCount() * HistorySet.HOURS, answers.size());
    for (int tag = 0; tag < set.tagCount(); tag++) {
      for (int hour = 0; hour < HistorySet.HOURS; hour++) {
        double answer = answers.getOrDefault(new TagHour(tag, hourMs(hour)), Double.NaN);
        Expected.check(name(what, tag, hour), oracle.expected(what, tag, hour), answer);
      }
    }
    return taken;
  }

  private long hourMs(int hour) {
    return set.dayMs() + hour * HistorySet.HOUR_MS;
  }

  private static String name(Statistic what, int tag, int hour) {
    return what + " of tag " + tag + " in hour " + hour;
  }
}
