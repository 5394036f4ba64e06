package com.talvoro.zervane.demo;

import com.talvoro.zrjni.Jni_Zervane;
import com.talvoro.zrjni.ZRJniRecord;
import java.io.IOException;
import java.time.Duration;
import java.time.Instant;
import java.util.List;
import java.util.Locale;
import java.util.Map;

/** Measures this machine at a steady pace and writes every sample as one batch. */
final class Recorder {
  private static final Duration PERIOD = Duration.ofMillis(200);
  private static final int QUALITY_GOOD = 192;
  private static final Map<String, String> PROGRESS_LABELS =
      Map.of(
          "HOST.CPU.BUSY", "cpu ",
          "HOST.TASKS.TOP", "top ",
          "HOST.LOAD.1MIN", "load ",
          "HOST.MEM.USED", "memory ");

  private final List<Catalogue.Tag> tags;
  private final int[] ids;
  private final int[] errors;
  private Counters before;
  private long recordsWritten;

  Recorder(List<Catalogue.Tag> tags) throws IOException {
    this.tags = tags;
    this.ids = tags.stream().mapToInt(Catalogue.Tag::id).toArray();
    this.errors = new int[ids.length];
    this.before = Counters.read();
  }

  long recordsWritten() {
    return recordsWritten;
  }

  /** Records for a number of seconds, with one line of progress for each, and what follows that. */
  void record(int seconds, Runnable afterEach) throws IOException, InterruptedException {
    long start = System.nanoTime();
    long samples = Duration.ofSeconds(seconds).dividedBy(PERIOD);
    long samplesPerSecond = Duration.ofSeconds(1).dividedBy(PERIOD);
    for (long sample = 1; sample <= samples; sample++) {
      long due = start + sample * PERIOD.toNanos();
      Thread.sleep(Math.max(0, due - System.nanoTime()) / 1_000_000);
      ZRJniRecord[] records = measure();
      write(records);
      if (sample % samplesPerSecond == 0) {
        printProgress(sample / samplesPerSecond, records);
        afterEach.run();
      }
    }
  }

  private ZRJniRecord[] measure() throws IOException {
    Counters now = Counters.read();
    Instant time = Instant.now();
    ZRJniRecord[] records = new ZRJniRecord[ids.length];
    for (int i = 0; i < records.length; i++) {
      Measurement measurement = tags.get(i).measurement();
      records[i] = new ZRJniRecord();
      records[i].nSec = (int) time.getEpochSecond();
      records[i].nMsec = (short) (time.getNano() / 1_000_000);
      records[i].nQuality = QUALITY_GOOD;
      measurement.type().store(records[i], measurement.reading().value(before, now));
    }
    before = now;
    return records;
  }

  private void write(ZRJniRecord[] records) {
    int status = Jni_Zervane.saveSnapshots(ids, ids.length, records, errors);
    if (status != 0) {
      throw new Status.Failure("saveSnapshots returned " + status + firstRefusal());
    }
    recordsWritten += records.length;
  }

  private String firstRefusal() {
    for (int i = 0; i < errors.length; i++) {
      if (errors[i] != 0) {
        return ", " + tags.get(i).measurement().tagName() + ": " + errors[i];
      }
    }
    return "";
  }

  private void printProgress(long second, ZRJniRecord[] records) {
    StringBuilder line = new StringBuilder();
    line.append(String.format(Locale.ROOT, "%4d s %,7d records", second, recordsWritten));
    for (int i = 0; i < records.length; i++) {
      Measurement measurement = tags.get(i).measurement();
      String label = PROGRESS_LABELS.get(measurement.tagName());
      if (label != null) {
        line.append("   ").append(label).append(Text.withUnit(measurement, records[i]));
      }
    }
    System.out.println(line);
  }
}
