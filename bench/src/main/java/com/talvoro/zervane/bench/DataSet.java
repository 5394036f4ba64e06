package com.talvoro.zervane.bench;

import com.talvoro.zervane.bench.BurstWriter.How;
import java.util.Map;

/**
 * The records that reading is measured on, the same for every subject; writing them tells how many
 * bytes a record takes on the disk.
 */
final class DataSet implements Workload {
  static final String ID = "data-set";
  static final int TAG_COUNT = 200;
  static final int RECORDS_PER_TAG = 10_000;

  private static final int BATCH_SIZE = 10_000;
  private static final int RECORDS = TAG_COUNT * RECORDS_PER_TAG;

  @Override
  public String id() {
    return ID;
  }

  @Override
  public String title() {
    return "2,000,000 records of 200 tags, closed";
  }

  @Override
  public Map<Metric, Double> run(WorkSpace space, double seconds, double warmUpSeconds)
      throws Exception {
    try (Subject subject = space.create(ID, TAG_COUNT)) {
      BurstWriter writer =
          new BurstWriter(subject, TAG_COUNT, BATCH_SIZE, How.NO_WAIT, RECORDS);
      writer.write(RECORDS / BATCH_SIZE);
      if (space.isVerified()) {
        writer.verify();
      }
    }
    return Map.of(
        Metric.BYTES_PER_RECORD,
        (double) space.sizeBytes(ID) / RECORDS,
        Metric.EMPTY_STORE_MB,
        space.emptySizeBytes(TAG_COUNT) / 1e6);
  }
}
