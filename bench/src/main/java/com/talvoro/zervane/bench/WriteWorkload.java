package com.talvoro.zervane.bench;

import com.talvoro.zervane.bench.BurstWriter.How;
import com.talvoro.zervane.bench.WorkSpace.Scratch;
import java.util.Locale;
import java.util.Map;

/** Writing batches of one size over a number of tags, into a new store each round. */
final class WriteWorkload implements Workload {
  private static final int RECORDS_IN_MEMORY = 4_000_000;

  private final How how;
  private final int batchSize;
  private final int tagCount;

  /** As many batches as filled the first round. */
  private long batches;

  WriteWorkload(How how, int batchSize, int tagCount) {
    this.how = how;
    this.batchSize = batchSize;
    this.tagCount = tagCount;
  }

  static String id(How how, int batchSize, int tagCount) {
    String word = how.name().toLowerCase(Locale.ROOT).replace("_", "");
    return "write-" + word + "-" + batchSize + "-" + tagCount;
  }

  @Override
  public String id() {
    return id(how, batchSize, tagCount);
  }

  @Override
  public String title() {
    String word =
        switch (how) {
          case DURABLE -> "durable";
          case NO_WAIT -> "no-wait";
          case LATE -> "20 % late, durable";
        };
    return String.format(Locale.ROOT, "%,d over %,d tags, %s", batchSize, tagCount, word);
  }

  @Override
  public Map<Metric, Double> run(WorkSpace space, double seconds, double warmUpSeconds)
      throws Exception {
    try (Scratch scratch = space.scratch(tagCount)) {
      BurstWriter writer =
          new BurstWriter(scratch.subject(), tagCount, batchSize, how, RECORDS_IN_MEMORY);
      double perSecond = writer.warmUp(warmUpSeconds);
      if (batches == 0) {
        batches = Math.max(1, Math.round(perSecond * seconds));
      }
      double taken = writer.write(batches);
      if (space.isVerified()) {
        writer.verify();
      }
      return Map.of(Metric.VALUES_PER_SECOND, batches * batchSize / taken);
    }
  }
}
