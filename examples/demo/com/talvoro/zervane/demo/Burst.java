package com.talvoro.zervane.demo;

import java.time.Duration;

/** Keeps every processor busy for a short time. */
final class Burst {
  private Burst() {}

  /** Begins after a delay and ends by itself, without being waited for. */
  static void schedule(Duration delay, Duration length) {
    long begin = System.nanoTime() + delay.toNanos();
    long end = begin + length.toNanos();
    for (int i = 0; i < Runtime.getRuntime().availableProcessors(); i++) {
      Thread thread = new Thread(() -> spin(begin, end), "burst " + i);
      thread.setDaemon(true);
      thread.start();
    }
  }

  private static void spin(long begin, long end) {
    try {
      Thread.sleep(Math.max(0, begin - System.nanoTime()) / 1_000_000);
    } catch (InterruptedException e) {
      return;
    }
    while (System.nanoTime() < end) {
      Thread.onSpinWait();
    }
  }
}
