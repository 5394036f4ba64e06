package com.talvoro.zervane.demo;

import java.time.Duration;
import java.util.List;
import java.util.Locale;

/**
 * Something that is measured on this machine, and the tag that holds it.
 *
 * @param tagName name of the tag
 * @param type value type of the tag
 * @param unit engineering unit; empty for none
 * @param span the range of values, in that unit; 0 when it is not known
 * @param description what is measured
 * @param reading how the value comes from two readings of the kernel's counters
 */
record Measurement(
    String tagName, TagType type, String unit, double span, String description, Reading reading) {

  interface Reading {
    Object value(Counters before, Counters now);
  }

  private static final double KIB = 1024;
  private static final int IDLE = 0;
  private static final int WORKING = 1;
  private static final int BUSY = 2;

  static final List<Measurement> ALL =
      List.of(
          new Measurement(
              "HOST.CPU.BUSY",
              TagType.FLOAT64,
              "%",
              100,
              "processor time that was used",
              (before, now) -> 100 - now.cpuShareSince(before, "idle", "iowait")),
          new Measurement(
              "HOST.CPU.USER",
              TagType.FLOAT64,
              "%",
              100,
              "processor time of programs",
              (before, now) -> now.cpuShareSince(before, "user", "nice")),
          new Measurement(
              "HOST.CPU.SYSTEM",
              TagType.FLOAT64,
              "%",
              100,
              "processor time of the kernel",
              (before, now) -> now.cpuShareSince(before, "system", "irq", "softirq")),
          new Measurement(
              "HOST.CPU.WAIT",
              TagType.FLOAT64,
              "%",
              100,
              "processor time waiting for disks",
              (before, now) -> now.cpuShareSince(before, "iowait")),
          new Measurement(
              "HOST.CPU.STATE",
              TagType.DIGITAL,
              "",
              2,
              "0 idle, 1 working, 2 busy",
              (before, now) -> state(100 - now.cpuShareSince(before, "idle", "iowait"))),
          new Measurement(
              "HOST.CPU.COUNT",
              TagType.INT16,
              "",
              0,
              "processors",
              (before, now) -> Runtime.getRuntime().availableProcessors()),
          new Measurement(
              "HOST.LOAD.1MIN",
              TagType.FLOAT32,
              "",
              0,
              "tasks wanting to run, 1 minute's mean",
              (before, now) -> now.get("load.1")),
          new Measurement(
              "HOST.LOAD.5MIN",
              TagType.FLOAT32,
              "",
              0,
              "tasks wanting to run, 5 minutes' mean",
              (before, now) -> now.get("load.5")),
          new Measurement(
              "HOST.LOAD.15MIN",
              TagType.FLOAT32,
              "",
              0,
              "tasks wanting to run, 15 minutes' mean",
              (before, now) -> now.get("load.15")),
          new Measurement(
              "HOST.MEM.USED",
              TagType.FLOAT64,
              "MiB",
              0,
              "memory in use",
              (before, now) -> (now.get("mem.MemTotal") - now.get("mem.MemAvailable")) / KIB),
          new Measurement(
              "HOST.MEM.CACHED",
              TagType.FLOAT64,
              "MiB",
              0,
              "memory that holds files",
              (before, now) -> now.get("mem.Cached") / KIB),
          new Measurement(
              "HOST.MEM.DIRTY",
              TagType.INT32,
              "KiB",
              0,
              "memory to be written to disks",
              (before, now) -> now.get("mem.Dirty")),
          new Measurement(
              "HOST.MEM.SHARE",
              TagType.INT8,
              "%",
              100,
              "share of memory in use",
              (before, now) -> 100 - 100 * now.get("mem.MemAvailable") / now.get("mem.MemTotal")),
          new Measurement(
              "HOST.TASKS.TOTAL",
              TagType.INT16,
              "",
              0,
              "processes and threads",
              (before, now) -> now.get("tasks.total")),
          new Measurement(
              "HOST.TASKS.RUNNING",
              TagType.INT16,
              "",
              0,
              "tasks running or ready to run",
              (before, now) -> now.get("stat.procs_running")),
          new Measurement(
              "HOST.TASKS.SWITCHES",
              TagType.INT32,
              "1/s",
              0,
              "switches between tasks",
              (before, now) -> now.perSecondSince(before, "stat.ctxt")),
          new Measurement(
              "HOST.TASKS.TOP",
              TagType.STRING,
              "",
              0,
              "command that used most processor time",
              (before, now) -> now.busiestCommandSince(before)),
          new Measurement(
              "HOST.FILES.OPEN",
              TagType.INT32,
              "",
              0,
              "open files",
              (before, now) -> now.get("files.open")),
          new Measurement(
              "HOST.DISK.READ",
              TagType.FLOAT32,
              "KiB/s",
              0,
              "read from disks",
              (before, now) -> now.perSecondSince(before, "disk.read") / KIB),
          new Measurement(
              "HOST.DISK.WRITTEN",
              TagType.FLOAT32,
              "KiB/s",
              0,
              "written to disks",
              (before, now) -> now.perSecondSince(before, "disk.written") / KIB),
          new Measurement(
              "HOST.NET.RECEIVED",
              TagType.FLOAT32,
              "KiB/s",
              0,
              "received from networks",
              (before, now) -> now.perSecondSince(before, "net.received") / KIB),
          new Measurement(
              "HOST.NET.SENT",
              TagType.FLOAT32,
              "KiB/s",
              0,
              "sent to networks",
              (before, now) -> now.perSecondSince(before, "net.sent") / KIB),
          new Measurement(
              "HOST.UPTIME",
              TagType.STRING,
              "",
              0,
              "time since the machine started",
              (before, now) -> uptime((long) now.get("uptime"))));

  private static int state(double busyPercent) {
    if (busyPercent < 10) {
      return IDLE;
    }
    return busyPercent < 80 ? WORKING : BUSY;
  }

  private static String uptime(long seconds) {
    Duration time = Duration.ofSeconds(seconds);
    return String.format(
        Locale.ROOT,
        "%d d %02d:%02d:%02d",
        time.toDays(),
        time.toHoursPart(),
        time.toMinutesPart(),
        time.toSecondsPart());
  }
}
