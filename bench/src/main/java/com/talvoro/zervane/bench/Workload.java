package com.talvoro.zervane.bench;

import java.util.Map;

/** Something that is measured, round by round. An instance lives as long as its process. */
interface Workload {
  /** What names it on the command line and in the results. */
  String id();

  /** What the tables call it. */
  String title();

  /**
   * Measures once.
   *
   * @param space where the subject's stores are
   * @param seconds how long a round is to be measured, about
   * @param warmUpSeconds how long to run before that
   * @return the figures of the round
   */
  Map<Metric, Double> run(WorkSpace space, double seconds, double warmUpSeconds) throws Exception;
}
