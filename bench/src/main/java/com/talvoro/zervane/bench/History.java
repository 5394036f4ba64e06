package com.talvoro.zervane.bench;

import com.talvoro.zervane.bench.peers.Peers;
import java.util.ArrayList;
import java.util.List;

/**
 * A history, and what is asked about it.
 *
 * @param set its records
 * @param questions what is asked, in this order
 * @param peers who is asked beside ours
 */
record History(HistorySet set, List<Workload> questions, List<String> peers) {
  private static final long FEWEST_RECORDS = 1_000_000;
  private static final int MOST_TAGS = 1000;
  private static final int RECORDS_PER_TAG = 100_000;

  /**
   * The histories of a run: one tag with all records, with a tenth of them, with a hundredth, and
   * many tags with a week and a day.
   *
   * @param records how many the longest has
   */
  static List<History> all(long records) {
    if (records < FEWEST_RECORDS) {
      return List.of();
    }
    HistorySet whole = HistorySet.ofOneTag(records);
    HistorySet tenth = HistorySet.ofOneTag(records / 10);
    HistorySet hundredth = HistorySet.ofOneTag(records / 100);
    HistorySet many =
        HistorySet.ofTags((int) Math.min(MOST_TAGS, records / RECORDS_PER_TAG));
    return List.of(
        new History(
            hundredth, List.of(new HistoryInterpolation(hundredth)), Peers.ofHistory()),
        new History(
            tenth,
            List.of(
                new HistoryStatistics(tenth, false),
                new HistoryStatistics(tenth, true),
                new HistoryInterpolation(tenth)),
            Peers.ofHistory()),
        new History(
            whole,
            List.of(new HistoryStatistics(whole, false), new HistoryInterpolation(whole)),
            Peers.ofLongHistory()),
        new History(many, List.of(new HistoryWindows(many)), Peers.ofHistory()));
  }

  Workload fill() {
    return new HistoryFill(set);
  }

  /** The words of all that have it. */
  List<String> subjects(boolean withPeers) {
    List<String> subjects = new ArrayList<>(List.of(Subjects.OURS));
    if (withPeers) {
      subjects.addAll(peers);
    }
    return subjects;
  }
}
