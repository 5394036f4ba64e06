package com.talvoro.zervane.bench;

import java.util.function.ObjDoubleConsumer;

/**
 * The history of an open store: records that are written once, and the questions about them. What
 * has no answer throws. It is closed before the store is.
 */
public interface HistoryCalls extends AutoCloseable {
  /** No record that an answer depends on is further away than this from what is asked about. */
  long GAP_MS = 20_000;

  /** A tag, and an hour by its beginning. */
  record TagHour(int tag, long hourMs) {}

  /** Adds records, newer than those that their tags have, the fastest way that the store has. */
  void add(Batch batch) throws Exception;

  /**
   * Makes all records readable and durable, and does once what the store's manual advises for
   * reading them (indexes, order).
   */
  void finish() throws Exception;

  /** Answers a question whose region begins and ends at records of the tag. */
  double ask(Question question) throws Exception;

  /** Over how many records a question can be asked that is to be answered within seconds. */
  default long mostRecords(Statistic what) {
    return Long.MAX_VALUE;
  }

  /**
   * Answers a question about a mean, weighted by time or not, whose region's ends lie anywhere; the
   * records next to them are at most {@link #GAP_MS} away, which a store may make use of.
   */
  double askWindow(Question question) throws Exception;

  /**
   * Calculates the means of all tags and all hours of a range in one call, if there is one for it.
   *
   * @param what {@link Statistic#MEAN} or {@link Statistic#TIME_MEAN}
   * @param fromMs the beginning of the first hour, a full one
   * @return whether there is such a call
   */
  default boolean meansByHour(
      Statistic what, long fromMs, long toMs, ObjDoubleConsumer<TagHour> means) throws Exception {
    return false;
  }

  /**
   * Makes known the instants at which values of a tag are going to be asked for: in the form in
   * which a caller hands them over, or a table of the store's has them.
   */
  void setInstants(int tag, long[] timesMs) throws Exception;

  /** Calculates the values at the instants, on the lines between good records, in their order. */
  double[] interpolate() throws Exception;

  /** Whether the store works in this process, which is then charged with its processor time. */
  default boolean isInProcess() {
    return true;
  }
}
