package com.talvoro.zervane.bench;

import com.talvoro.zervane.bench.BurstWriter.How;
import com.talvoro.zervane.bench.WorkSpace.Scratch;
import java.util.Locale;
import java.util.Map;

/** How long a single call takes, over 1,000 tags in turn. */
final class LatencyWorkload implements Workload {
  /** The call. */
  enum Single {
    SAVE("saveSnapShot, durable", 4_000),
    SAVE_NOWAIT("saveSnapshotsNowait of one", 40_000),
    QUERY("querySnapShot", 100_000),
    TYPE("getTagType", 100_000);

    private final String title;
    private final int samples;

    Single(String title, int samples) {
      this.title = title;
      this.samples = samples;
    }
  }

  private static final int TAG_COUNT = 1000;
  private static final int CALLS_IN_MEMORY = 20_000;

  private final Single single;
  private final Checksum checksum = new Checksum();
  private int nextTag;
  private boolean isWarm;

  LatencyWorkload(Single single) {
    this.single = single;
  }

  static String id(Single single) {
    return "latency-" + single.name().toLowerCase(Locale.ROOT).replace("_", "");
  }

  @Override
  public String id() {
    return id(single);
  }

  @Override
  public String title() {
    return single.title;
  }

  @Override
  public Map<Metric, Double> run(WorkSpace space, double seconds, double warmUpSeconds)
      throws Exception {
    try (Scratch scratch = space.scratch(TAG_COUNT)) {
      Subject subject = scratch.subject();
      BurstWriter writer = new BurstWriter(subject, TAG_COUNT, 1, How.NO_WAIT, CALLS_IN_MEMORY);
      writer.write(TAG_COUNT);
      if (!isWarm) {
        writer.latencies(Math.max(20_000, single.samples / 2), call(subject));
        isWarm = true;
      }
      long[] nanos = writer.latencies(single.samples, call(subject));
      return Map.of(
          Metric.P50_MICROS, Statistics.percentile(nanos, 0.50) / 1e3,
          Metric.P99_MICROS, Statistics.percentile(nanos, 0.99) / 1e3);
    }
  }

  private BurstWriter.Call call(Subject subject) {
    ApiCalls calls = (ApiCalls) subject;
    return switch (single) {
      case SAVE -> calls::writeOne;
      case SAVE_NOWAIT -> prepared -> subject.write(prepared, Durability.NO_WAIT);
      case QUERY -> prepared -> calls.readCurrentOf(tag(), checksum);
      case TYPE -> prepared -> checksum.add(0, 0, calls.tagType(tag()));
    };
  }

  private int tag() {
    nextTag = (nextTag + 1) % TAG_COUNT;
    return nextTag;
  }
}
