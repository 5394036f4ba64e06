package com.talvoro.zervane.bench;

import com.talvoro.zervane.bench.BurstWriter.How;
import com.talvoro.zervane.bench.RawReadWorkload.Call;
import com.talvoro.zervane.bench.peers.Peers;
import java.util.ArrayList;
import java.util.List;
import java.util.OptionalDouble;
import java.util.Set;

/** What ours is to reach, as ratios of figures of one run. */
final class Marks {
  static final String DURABLE = WriteWorkload.id(How.DURABLE, 10_000, 1_000);
  static final String NO_WAIT = WriteWorkload.id(How.NO_WAIT, 10_000, 1_000);

  /** The workloads that are measured in rounds and have a mark. */
  static final Set<String> WORKLOADS =
      Set.of(
          DURABLE,
          NO_WAIT,
          RawReadWorkload.id(Call.RANGE, 10_000),
          RawReadWorkload.id(Call.FROM, 10_000));

  /** What a hundred million records are asked for. */
  private static final List<Metric> HISTORY =
      List.of(
          Metric.MEAN_MS,
          Metric.LEAST_MS,
          Metric.GREATEST_MS,
          Metric.SUM_MS,
          Metric.AREA_MS,
          Metric.GOOD_SHARE_MS,
          Metric.SHORT_FORM_MS);

  private Marks() {}

  /**
   * A mark and what was measured for it.
   *
   * @param what what is measured
   * @param goal what it is to be, as the table prints it
   * @param measured what it is, as the table prints it
   * @param isReached whether that is enough
   */
  record Mark(String what, String goal, String measured, boolean isReached) {}

  /** The marks for which there are figures. */
  static List<Mark> of(Results results) {
    List<Mark> marks = new ArrayList<>();
    ofFloor(marks, results, "writing 10,000 over 1,000 tags, durable", DURABLE, 0.40);
    ofFloor(marks, results, "writing 10,000 over 1,000 tags, no-wait", NO_WAIT, 0.60);
    for (Call call : Call.values()) {
      String id = RawReadWorkload.id(call, 10_000);
      String what = call == Call.RANGE ? "of a range" : "from a time on";
      ofFloor(marks, results, "reading 10,000 raw records " + what, id, 0.70);
    }
    results
        .median(DataSet.ID, Subjects.OURS, Metric.BYTES_PER_RECORD)
        .ifPresent(
            bytes ->
                marks.add(
                    new Mark(
                        "bytes on disk per record",
                        "at most 2.5",
                        Format.number(bytes),
                        bytes <= 2.5)));
    ofTags(marks, results);
    ofHistories(marks, results);
    ofBestPeer(marks, results);
    return marks;
  }

  private static void ofFloor(
      List<Mark> marks, Results results, String what, String workload, double goal) {
    results
        .shareOfFloor(workload, Metric.VALUES_PER_SECOND)
        .ifPresent(
            share ->
                marks.add(
                    new Mark(
                        what,
                        "at least " + Format.percent(goal) + " of the floor",
                        Format.percent(share),
                        share >= goal)));
  }

  /** Searches of a hundred thousand tags and of a million, and what a million take. */
  private static void ofTags(List<Mark> marks, Results results) {
    String searching = TagWorkload.Search.id(100_000);
    String searchingAll = TagWorkload.Search.id(1_000_000);
    String opening = TagWorkload.Open.id(1_000_000);
    atMost(marks, results, "the first item, 100,000 tags", searching, Metric.FIRST_ITEM_MS, 50);
    atMost(marks, results, "a page of 1,000, 100,000 tags", searching, Metric.PAGE_MS, 10);
    atMost(marks, results, "counting *.PV, 100,000 tags", searching, Metric.COUNT_MS, 100);
    atMost(marks, results, "counting *.PV, 1,000,000 tags", searchingAll, Metric.COUNT_MS, 1_000);
    atMost(marks, results, "opening 1,000,000 tags", opening, Metric.OPEN_MS, 5_000);
    atMost(marks, results, "memory of 1,000,000 tags", opening, Metric.BYTES_PER_TAG, 1_024);
    String filling = TagWorkload.Fill.id(1_000_000);
    OptionalDouble early = results.median(filling, Subjects.OURS, Metric.EARLY_ADD_MICROS);
    OptionalDouble late = results.median(filling, Subjects.OURS, Metric.LATE_ADD_MICROS);
    if (early.isPresent() && late.isPresent()) {
      double times = late.getAsDouble() / early.getAsDouble();
      marks.add(
          new Mark(
              "adding the millionth tag",
              "at most twice the thousandth",
              Format.number(times) + " times",
              times <= 2));
    }
  }

  /** A hundred million records of a tag, and a thousand tags' week. */
  private static void ofHistories(List<Mark> marks, Results results) {
    HistorySet whole = HistorySet.ofOneTag(100_000_000);
    String statistics = HistoryStatistics.id(whole, false);
    for (Metric metric : HISTORY) {
      String what = metric.unit().replace("ms for ", "") + ", 100,000,000 records";
      atMost(marks, results, what, statistics, metric, 200);
    }
    String windows = HistoryWindows.id(HistorySet.ofTags(1000));
    String means = "1,000 tags' hourly means of a day, a call each";
    atMost(marks, results, means, windows, Metric.WINDOW_MEANS_MS, 1000);
    atMost(
        marks, results, means + ", weighted by time", windows, Metric.WINDOW_TIME_MEANS_MS, 1000);
    String instants = "10,000 instants among ";
    String shorter = HistoryInterpolation.id(HistorySet.ofOneTag(1_000_000));
    atMost(
        marks, results, instants + "1,000,000 records", shorter, Metric.INTERPOLATION_MS, 20);
    String longer = HistoryInterpolation.id(whole);
    atMost(
        marks, results, instants + "100,000,000 records", longer, Metric.INTERPOLATION_MS, 20);
    String decoding = HistoryStatistics.id(HistorySet.ofOneTag(10_000_000), true);
    atLeast(
        marks, results, "time above a value", decoding, Metric.TIME_ABOVE_CORE_RATE, 20e6);
    atLeast(marks, results, "count in a range", decoding, Metric.COUNT_BETWEEN_CORE_RATE, 20e6);
  }

  private static void atLeast(
      List<Mark> marks,
      Results results,
      String what,
      String workload,
      Metric metric,
      double least) {
    OptionalDouble median = results.median(workload, Subjects.OURS, metric);
    if (median.isPresent()) {
      String unit = " " + metric.unit().split(",")[0];
      marks.add(
          new Mark(
              what,
              "at least " + Format.number(least) + unit,
              Format.number(median.getAsDouble()) + unit,
              median.getAsDouble() >= least));
    }
  }

  private static void atMost(
      List<Mark> marks, Results results, String what, String workload, Metric metric, double most) {
    OptionalDouble median = results.median(workload, Subjects.OURS, metric);
    if (median.isPresent()) {
      String unit = " " + metric.unit().split(" ")[0];
      marks.add(
          new Mark(
              what,
              "at most " + Format.number(most) + unit,
              Format.number(median.getAsDouble()) + unit,
              median.getAsDouble() <= most));
    }
  }

  private static void ofBestPeer(List<Mark> marks, Results results) {
    OptionalDouble ours = results.median(DURABLE, Subjects.OURS, Metric.VALUES_PER_SECOND);
    OptionalDouble best =
        Peers.all().keySet().stream()
            .map(peer -> results.median(DURABLE, peer, Metric.VALUES_PER_SECOND))
            .filter(OptionalDouble::isPresent)
            .mapToDouble(OptionalDouble::getAsDouble)
            .max();
    if (ours.isPresent() && best.isPresent()) {
      double times = ours.getAsDouble() / best.getAsDouble();
      marks.add(
          new Mark(
              "writing 10,000 over 1,000 tags, durable",
              "at least 3 times the best peer",
              Format.number(times) + " times",
              times >= 3));
    }
  }
}
