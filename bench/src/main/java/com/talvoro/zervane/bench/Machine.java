package com.talvoro.zervane.bench;

import java.io.IOException;
import java.nio.ByteBuffer;
import java.nio.channels.FileChannel;
import java.nio.file.Files;
import java.nio.file.Path;
import java.nio.file.StandardOpenOption;
import java.time.LocalDate;
import java.time.ZoneOffset;
import java.util.LinkedHashMap;
import java.util.Map;

/**
 * What the figures were measured on.
 *
 * @param facts the facts by their names, in the order of the table
 */
record Machine(Map<String, String> facts) {
  private static final int SYNCS = 500;

  /** Describes this machine and the disk that a folder is on. */
  static Machine describe(Path folder) throws IOException {
    Map<String, String> facts = new LinkedHashMap<>();
    facts.put("Date", LocalDate.now(ZoneOffset.UTC).toString());
    facts.put("Processor", lineOf("/proc/cpuinfo", "model name"));
    facts.put("Cores", Integer.toString(Runtime.getRuntime().availableProcessors()));
    long kilobytes = Long.parseLong(lineOf("/proc/meminfo", "MemTotal").replaceAll("\\D", ""));
    facts.put("Memory", String.format("%.1f GiB", kilobytes / 1024.0 / 1024));
    facts.put("Kernel", System.getProperty("os.name") + " " + System.getProperty("os.version"));
    facts.put("Disk", Files.getFileStore(folder) + ", " + Files.getFileStore(folder).type());
    facts.put("Syncing 4 KiB appended to a file", syncLatency(folder));
    facts.put(
        "Java",
        System.getProperty("java.vm.name") + " " + System.getProperty("java.vm.version"));
    return new Machine(facts);
  }

  private static String lineOf(String file, String label) throws IOException {
    return Files.readAllLines(Path.of(file)).stream()
        .filter(line -> line.startsWith(label))
        .map(line -> line.substring(line.indexOf(':') + 1).strip())
        .findFirst()
        .orElse("unknown");
  }

  /** What a durable write cannot do without. */
  private static String syncLatency(Path folder) throws IOException {
    Path file = folder.resolve("sync-latency");
    long[] nanos = new long[SYNCS];
    try (FileChannel channel =
        FileChannel.open(file, StandardOpenOption.CREATE_NEW, StandardOpenOption.WRITE)) {
      for (int i = 0; i < SYNCS; i++) {
        ByteBuffer page = ByteBuffer.allocate(4096);
        long start = System.nanoTime();
        channel.write(page);
        channel.force(false);
        nanos[i] = System.nanoTime() - start;
      }
    } finally {
      Files.delete(file);
    }
    return String.format(
        "%s µs p50, %s µs p99",
        Format.number(Statistics.percentile(nanos, 0.5) / 1e3),
        Format.number(Statistics.percentile(nanos, 0.99) / 1e3));
  }
}
