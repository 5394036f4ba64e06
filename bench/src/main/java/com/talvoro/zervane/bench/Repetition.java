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
    double spent = 0;
    do {
      double taken = time(call);
      spent += taken;
      slowest = Math.max(slowest, taken);
    } while (spent < warmUpSeconds);
    if (slowest > LONG_SECONDS) {
      return time(call);
    }
    List<Double> runs = new ArrayList<>();
    for (spent = 0; runs.size() < FEWEST_RUNS || spent < seconds && runs.size() < MOST_RUNS; ) {
      double taken = time(call);
      spent += taken;
      runs.add(taken);
    }
    return Statistics.median(runs.stream().mapToDouble(Double::doubleValue).toArray());
  }

  private static double time(Call call) throws Exception {
    long start = System.nanoTime();
    call.run();
    return (System.nanoTime() - start) / 1e9;
  }
}
