package com.talvoro.zervane.bench;

import com.talvoro.zervane.bench.BurstWriter.How;
import com.talvoro.zervane.bench.WorkSpace.Scratch;
import java.util.Map;

/** Reading the current values of 1,000 tags, in one call or one by one. */
final class CurrentReadWorkload implements Workload {
  private static final int TAG_COUNT = 1000;

  private final boolean isBatch;
  private final Checksum checksum = new Checksum();

  CurrentReadWorkload(boolean isBatch) {
    this.isBatch = isBatch;
  }

  static String id(boolean isBatch) {
    return isBatch ? "current-1000" : "current-1";
  }

  @Override
  public String id() {
    return id(isBatch);
  }

  @Override
  public String title() {
    return isBatch ? "current values of 1,000 tags in a call" : "the current value of one tag";
  }

  @Override
  public Map<Metric, Double> run(WorkSpace space, double seconds, double warmUpSeconds)
      throws Exception {
    try (Scratch scratch = space.scratch(TAG_COUNT)) {
      Subject subject = scratch.subject();
      new BurstWriter(subject, TAG_COUNT, TAG_COUNT, How.DURABLE, TAG_COUNT).write(1);
      ApiCalls calls = (ApiCalls) subject;
      readFor(calls, warmUpSeconds);
      return Map.of(Metric.VALUES_PER_SECOND, readFor(calls, seconds));
    }
  }

  private double readFor(ApiCalls calls, double seconds) {
    long start = System.nanoTime();
    long end = start + (long) (seconds * 1e9);
    long values = 0;
    long now = start;
    while (now < end) {
      values += readAll(calls);
      now = System.nanoTime();
    }
    return values / ((now - start) / 1e9);
  }

  private int readAll(ApiCalls calls) {
    if (!isBatch) {
      for (int tag = 0; tag < TAG_COUNT; tag++) {
        calls.readCurrentOf(tag, checksum);
      }
      return TAG_COUNT;
    }
    int read = calls.readCurrent(TAG_COUNT, checksum);
    if (read != TAG_COUNT) {
      throw new IllegalStateException("read " + read + " of " + TAG_COUNT + " current values");
    }
    return read;
  }
}
