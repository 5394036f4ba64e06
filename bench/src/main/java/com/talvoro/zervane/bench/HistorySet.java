package com.talvoro.zervane.bench;

/**
 * The records of a history, the same for every subject: every tag is measured once in a period.
 *
 * @param tagCount how many tags there are
 * @param rounds how many records each tag has
 * @param periodMs how far apart they are, but for the generator's jitter
 */
record HistorySet(int tagCount, long rounds, int periodMs) {
  static final long HOUR_MS = 3_600_000;
  static final int HOURS = 24;

  private static final long SEED = 20240229;
  private static final int BATCH_SIZE = 10_000;

  /** Days before the one that is asked about. */
  private static final int DAYS_BEFORE = 7;

  private static final int PERIOD_OF_MANY_MS = 10_000;

  /** What batches are handed to, one after the other. */
  interface Consumer {
    void take(Batch batch) throws Exception;
  }

  /** One tag with a record a second. */
  static HistorySet ofOneTag(long records) {
    return new HistorySet(1, records, 1000);
  }

  /** Tags with a record every ten seconds: a week, a day, and somewhat more than a minute. */
  static HistorySet ofTags(int tagCount) {
    long rounds = (DAYS_BEFORE + 1) * HOURS * HOUR_MS / PERIOD_OF_MANY_MS + 10;
    return new HistorySet(tagCount, rounds, PERIOD_OF_MANY_MS);
  }

  /** The word that names it in identifiers: how many tags it has, or how many records of one. */
  String word() {
    return tagCount == 1 ? Long.toString(rounds) : tagCount + "-tags";
  }

  /** How it is named to people. */
  String title() {
    return tagCount == 1
        ? String.format("%,d records of one tag", rounds)
        : String.format("%,d records of %,d tags", records(), tagCount);
  }

  /** The store that has it. */
  String store() {
    return "history-store-" + word();
  }

  long records() {
    return rounds * tagCount;
  }

  /** When the day begins whose hours are asked about. */
  long dayMs() {
    return Generator.START_MS + DAYS_BEFORE * HOURS * HOUR_MS;
  }

  /** Makes all records anew, in the order of time, batch by batch; a batch's arrays are reused. */
  void forEach(Consumer consumer) throws Exception {
    Generator generator = new Generator(SEED, tagCount, periodMs);
    Batch batch = new Batch(BATCH_SIZE);
    for (long left = records(); left > 0; left -= batch.size) {
      if (left < batch.size) {
        batch = new Batch((int) left);
      }
      generator.fill(batch);
      consumer.take(batch);
    }
  }
}
