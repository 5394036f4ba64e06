package com.talvoro.zervane.bench;

import java.util.ArrayList;
import java.util.List;

/** A call that is repeated until it is warm, and then timed. */
final class Repetition {
  /** Something that is timed. */
  interface Call {
    void run() throws Exception;
  }

  /** What takes longer than this is timed once. */
  private static final double LONG_SECONDS = 4;

  private static final int FEWEST_RUNS = 3;
  private static final int MOST_RUNS = 100;

  private Repetition() {}

  /**
   * Repeats a call.
   *
   * @param seconds how long runs are timed, about
   * @param warmUpSeconds how long it runs before that; once at least
   * @return the median of the runs, in seconds
   */
  static double median(double seconds, double warmUpSeconds, Call call) throws Exception {
    double slowest = 0;
    for (double spent = 0; spent == 0 || spent < warmUpSeconds; ) {
      double taken = time(call);
      spent += taken;
      slowest = Math.max(slowest, taken);
    }
    int fewest = slowest > LONG_SECONDS ? 1 : FEWEST_RUNS;
    List<Double> runs = new ArrayList<>();
    double spent = 0;
    while (runs.size() < fewest || spent < seconds && runs.size() < MOST_RUNS && fewest > 1) {
      runs.add(time(call));
      spent += runs.get(runs.size() - 1);
    }
    return Statistics.median(runs.stream().mapToDouble(Double::doubleValue).toArray());
  }

  private static double time(Call call) throws Exception {
    long start = System.nanoTime();
    call.run();
    return (System.nanoTime() - start) / 1e9;
  }
}
