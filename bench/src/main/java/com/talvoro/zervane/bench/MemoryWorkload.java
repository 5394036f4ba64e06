package com.talvoro.zervane.bench;

import com.talvoro.zervane.bench.BurstWriter.How;
import com.talvoro.zervane.bench.WorkSpace.Scratch;
import java.io.IOException;
import java.nio.file.Files;
import java.nio.file.Path;
import java.util.Map;

/**
 * How much memory the process takes while records are written without waiting. It asks for a
 * process of its own, whose heap has a fixed size.
 */
final class MemoryWorkload implements Workload {
  private static final int BATCH_SIZE = 10_000;
  private static final int BATCHES = 500;
  private static final int RECORDS_IN_MEMORY = 20 * BATCH_SIZE;

  private final int tagCount;

  MemoryWorkload(int tagCount) {
    this.tagCount = tagCount;
  }

  @Override
  public String id() {
    return "memory-" + tagCount;
  }

  @Override
  public String title() {
    return String.format("5,000,000 no-wait records of %,d tags", tagCount);
  }

  @Override
  public Map<Metric, Double> run(WorkSpace space, double seconds, double warmUpSeconds)
      throws Exception {
    try (Scratch scratch = space.scratch(tagCount)) {
      new BurstWriter(scratch.subject(), tagCount, BATCH_SIZE, How.NO_WAIT, RECORDS_IN_MEMORY)
          .write(BATCHES);
      return Map.of(
          Metric.RESIDENT_MB, ownMemoryMb("VmRSS:"),
          Metric.PEAK_RESIDENT_MB, ownMemoryMb("VmHWM:"));
    }
  }

  /** A line of the kernel's account of this process, in MB. */
  static double ownMemoryMb(String label) throws IOException {
    for (String line : Files.readAllLines(Path.of("/proc/self/status"))) {
      if (line.startsWith(label)) {
        return Long.parseLong(line.replaceAll("\\D", "")) * 1024 / 1e6;
      }
    }
    throw new IOException("/proc/self/status has no " + label);
  }
}
