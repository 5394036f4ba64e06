package com.talvoro.zervane.demo;

import java.io.IOException;
import java.nio.file.Files;
import java.nio.file.Path;
import java.util.HashMap;
import java.util.List;
import java.util.Map;
import java.util.stream.Stream;

/**
 * The kernel's counters at one instant, by name. One that this machine does not have reads as 0.
 *
 * <p>Names: {@code cpu.user} and its kin (clock ticks), {@code stat.ctxt} and other lines of
 * /proc/stat, {@code mem.MemTotal} and other lines of /proc/meminfo (KiB), {@code load.1}, {@code
 * load.5}, {@code load.15}, {@code tasks.total}, {@code files.open}, {@code uptime} (seconds),
 * {@code disk.read} and {@code disk.written} (bytes), {@code net.received} and {@code net.sent}
 * (bytes).
 */
final class Counters {
  private static final Path PROC = Path.of("/proc");
  private static final String[] CPU_STATES = {
    "user", "nice", "system", "idle", "iowait", "irq", "softirq", "steal"
  };
  private static final int BYTES_PER_SECTOR = 512;

  private final long readAtNanos = System.nanoTime();
  private final Map<String, Double> values = new HashMap<>();
  private final Map<Path, ProcessTime> processes = new HashMap<>();

  /** A process and the processor time that it has used, in clock ticks. */
  private record ProcessTime(String command, long ticks) {}

  private Counters() {}

  static Counters read() throws IOException {
    Counters counters = new Counters();
    counters.readStat();
    counters.readMemory();
    counters.readLoad();
    counters.readDisks();
    counters.readNetwork();
    counters.readProcesses();
    counters.put("files.open", fields(firstLine("sys/fs/file-nr"))[0]);
    counters.put("uptime", fields(firstLine("uptime"))[0]);
    return counters;
  }

  double get(String name) {
    return values.getOrDefault(name, 0.0);
  }

  /** How far a counter went since an earlier reading. */
  double since(Counters before, String name) {
    return Math.max(0, get(name) - before.get(name));
  }

  /** How far a counter went per second since an earlier reading. */
  double perSecondSince(Counters before, String name) {
    return since(before, name) / ((readAtNanos - before.readAtNanos) / 1e9);
  }

  /** The share of all processor time since an earlier reading, in percent. */
  double cpuShareSince(Counters before, String... states) {
    double total = 0;
    for (String state : CPU_STATES) {
      total += since(before, "cpu." + state);
    }
    double selected = 0;
    for (String state : states) {
      selected += since(before, "cpu." + state);
    }
    return total == 0 ? 0 : 100 * selected / total;
  }

  /** The command that used most processor time since an earlier reading; "idle" when none did. */
  String busiestCommandSince(Counters before) {
    String busiest = "idle";
    long most = 0;
    for (Map.Entry<Path, ProcessTime> entry : processes.entrySet()) {
      ProcessTime earlier = before.processes.get(entry.getKey());
      long ticks = entry.getValue().ticks() - (earlier == null ? 0 : earlier.ticks());
      if (ticks > most) {
        busiest = entry.getValue().command();
        most = ticks;
      }
    }
    return busiest;
  }

  private void readStat() throws IOException {
    for (String line : lines("stat")) {
      String[] fields = fields(line);
      if (fields[0].equals("cpu")) {
        for (int i = 0; i < CPU_STATES.length; i++) {
          put("cpu." + CPU_STATES[i], fields[i + 1]);
        }
      } else if (!fields[0].startsWith("cpu")) {
        put("stat." + fields[0], fields[1]);
      }
    }
  }

  private void readMemory() throws IOException {
    for (String line : lines("meminfo")) {
      String[] fields = fields(line);
      put("mem." + fields[0].replace(":", ""), fields[1]);
    }
  }

  private void readLoad() throws IOException {
    String[] fields = fields(firstLine("loadavg"));
    put("load.1", fields[0]);
    put("load.5", fields[1]);
    put("load.15", fields[2]);
    put("tasks.total", fields[3].substring(fields[3].indexOf('/') + 1));
  }

  /** Sums whole disks up; partitions are parts of them, and loop and memory disks are none. */
  private void readDisks() throws IOException {
    for (String line : lines("diskstats")) {
      String[] fields = fields(line);
      if (Files.isDirectory(Path.of("/sys/block", fields[2], "device"))) {
        add("disk.read", BYTES_PER_SECTOR * Double.parseDouble(fields[5]));
        add("disk.written", BYTES_PER_SECTOR * Double.parseDouble(fields[9]));
      }
    }
  }

  private void readNetwork() throws IOException {
    for (String line : lines("net/dev")) {
      int colon = line.indexOf(':');
      if (colon > 0 && !line.substring(0, colon).strip().equals("lo")) {
        String[] fields = fields(line.substring(colon + 1));
        add("net.received", Double.parseDouble(fields[0]));
        add("net.sent", Double.parseDouble(fields[8]));
      }
    }
  }

  private void readProcesses() throws IOException {
    try (Stream<Path> folders = Files.list(PROC)) {
      for (Path folder : folders.filter(Counters::isProcess).toList()) {
        readProcess(folder);
      }
    }
  }

  private void readProcess(Path folder) {
    try {
      String line = Files.readString(folder.resolve("stat"));
      int end = line.lastIndexOf(')'); // a command may hold spaces and parentheses itself
      String[] fields = fields(line.substring(end + 1));
      long ticks = Long.parseLong(fields[11]) + Long.parseLong(fields[12]);
      processes.put(folder, new ProcessTime(line.substring(line.indexOf('(') + 1, end), ticks));
    } catch (IOException e) {
      // The process ended between the listing and the reading.
    }
  }

  private static boolean isProcess(Path folder) {
    return folder.getFileName().toString().chars().allMatch(Character::isDigit);
  }

  private void put(String name, String value) {
    values.put(name, Double.parseDouble(value));
  }

  private void add(String name, double value) {
    values.merge(name, value, Double::sum);
  }

  private static List<String> lines(String file) throws IOException {
    return Files.readAllLines(PROC.resolve(file));
  }

  private static String firstLine(String file) throws IOException {
    return lines(file).get(0);
  }

  private static String[] fields(String line) {
    return line.strip().split("\\s+");
  }
}
