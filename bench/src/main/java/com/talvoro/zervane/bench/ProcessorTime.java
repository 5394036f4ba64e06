package com.talvoro.zervane.bench;

import java.lang.management.ManagementFactory;

/** The processor time that this process, with all its threads, has used so far. */
final class ProcessorTime {
  private static final com.sun.management.OperatingSystemMXBean SYSTEM =
      (com.sun.management.OperatingSystemMXBean) ManagementFactory.getOperatingSystemMXBean();

  private ProcessorTime() {}

  static double seconds() {
    return SYSTEM.getProcessCpuTime() / 1e9;
  }
}
