package com.talvoro.zervane.bench;

import com.talvoro.zervane.bench.BurstWriter.How;
import java.util.Map;

/** A database of many records: how fast it fills in the long run, and how long it takes to open. */
final class LargeStore {
  private static final String NAME = "large";
  private static final int TAG_COUNT = 1000;
  private static final int BATCH_SIZE = 10_000;
  private static final int RECORDS_IN_MEMORY = 1_000_000;

  private LargeStore() {}

  /** Fills the database; the figure counts up to the end of closing it. */
  record Fill(long records) implements Workload {
    static final String ID = "large-fill";

    @Override
    public String id() {
      return ID;
    }

    @Override
    public String title() {
      return String.format("filling with %,d records, to the end of closing", records);
    }

    @Override
    public Map<Metric, Double> run(WorkSpace space, double seconds, double warmUpSeconds)
        throws Exception {
      Subject subject = space.create(NAME, TAG_COUNT);
      BurstWriter writer =
          new BurstWriter(subject, TAG_COUNT, BATCH_SIZE, How.DURABLE, RECORDS_IN_MEMORY);
      double taken = writer.write(records / BATCH_SIZE);
      long start = System.nanoTime();
      subject.close();
      taken += (System.nanoTime() - start) / 1e9;
      return Map.of(
          Metric.VALUES_PER_SECOND, records / taken,
          Metric.BYTES_PER_RECORD, (double) space.sizeBytes(NAME) / records);
    }
  }

  /** Opens it, in a process that has not used the library yet, and reads a record. */
  record Open(long records) implements Workload {
    static final String ID = "large-open";

    @Override
    public String id() {
      return ID;
    }

    @Override
    public String title() {
      return String.format("opening with %,d records", records);
    }

    @Override
    public Map<Metric, Double> run(WorkSpace space, double seconds, double warmUpSeconds)
        throws Exception {
      long start = System.nanoTime();
      try (Subject subject = space.open(NAME, TAG_COUNT)) {
        long first = Generator.START_MS;
        long read = subject.readRaw(0, first - 500, first + 500, 1, new Checksum());
        double millis = (System.nanoTime() - start) / 1e6;
        if (read != 1) {
          throw new IllegalStateException("the large store has no records");
        }
        return Map.of(Metric.OPEN_MS, millis);
      }
    }
  }
}
