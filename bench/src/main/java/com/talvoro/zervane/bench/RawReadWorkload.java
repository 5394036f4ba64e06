package com.talvoro.zervane.bench;

import java.util.Map;
import java.util.SplittableRandom;

/** Reading records of one tag after the other from the {@link DataSet}. */
final class RawReadWorkload implements Workload {
  /** Which call reads. */
  enum Call {
    /** The records of a range of times. */
    RANGE,
    /** A number of records from a time on. */
    FROM
  }

  private final Call call;
  private final int count;
  private final Checksum checksum = new Checksum();
  private final SplittableRandom random = new SplittableRandom(7);

  RawReadWorkload(Call call, int count) {
    this.call = call;
    this.count = count;
  }

  static String id(Call call, int count) {
    return (call == Call.RANGE ? "read-range-" : "read-from-") + count;
  }

  @Override
  public String id() {
    return id(call, count);
  }

  @Override
  public String title() {
    return String.format(
        "%,d raw records %s", count, call == Call.RANGE ? "of a range" : "from a time on");
  }

  @Override
  public Map<Metric, Double> run(WorkSpace space, double seconds, double warmUpSeconds)
      throws Exception {
    try (Subject subject = space.open(DataSet.ID, DataSet.TAG_COUNT)) {
      readFor(subject, warmUpSeconds);
      return Map.of(Metric.VALUES_PER_SECOND, readFor(subject, seconds));
    }
  }

  /** Reads for some time, and returns the records read in a second. */
  private double readFor(Subject subject, double seconds) throws Exception {
    long start = System.nanoTime();
    long end = start + (long) (seconds * 1e9);
    long records = 0;
    long now = start;
    while (now < end) {
      records += readOnce(subject);
      now = System.nanoTime();
    }
    return records / ((now - start) / 1e9);
  }

  private long readOnce(Subject subject) throws Exception {
    int tag = random.nextInt(DataSet.TAG_COUNT);
    int first = random.nextInt(DataSet.RECORDS_PER_TAG - count + 1);
    long fromMs = middleBefore(first);
    long read =
        call == Call.RANGE
            ? subject.readRaw(tag, fromMs, middleBefore(first + count), count, checksum)
            : ((ApiCalls) subject).readRawFrom(tag, fromMs, count, checksum);
    if (read != count) {
      throw new IllegalStateException(subject.name() + " read " + read + " of " + count);
    }
    return read;
  }

  /** The instant half a second before a record of that number. */
  private static long middleBefore(int record) {
    return Generator.START_MS + record * 1000L - 500;
  }
}
