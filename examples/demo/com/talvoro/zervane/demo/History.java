package com.talvoro.zervane.demo;

import com.talvoro.zrjni.IntWrapper;
import com.talvoro.zrjni.Jni_Zervane;
import com.talvoro.zrjni.ZRJniRecord;
import com.talvoro.zrjni.ZRJniTime;
import java.time.Instant;
import java.util.Arrays;
import java.util.Collections;
import java.util.Objects;

/** Reads archived records: those of this run, and those that earlier runs left. */
final class History {
  /** The most records that are read of a tag at once. */
  static final int MOST_RECORDS = 1000;

  private static final int FORWARD = 0;
  private static final int BACKWARD = 1;
  private static final ZRJniTime BEGINNING = time(0, 0);
  private static final ZRJniTime END = time(-1, 999); // all bits: the last second there is

  private final Instant startOfRun;

  History(Instant startOfRun) {
    this.startOfRun = startOfRun;
  }

  /** The number of archived records of a tag. */
  int count(Catalogue.Tag tag) {
    IntWrapper count = new IntWrapper();
    int status = Jni_Zervane.queryRawRecordsCount(tag.id(), BEGINNING, END, count);
    Status.check("queryRawRecordsCount", status);
    return count.Value;
  }

  /** The oldest record of a tag, which must have one. */
  ZRJniRecord first(Catalogue.Tag tag) {
    return read(tag, BEGINNING, FORWARD, 1)[0];
  }

  /** The latest records from before this run, oldest first. */
  ZRJniRecord[] beforeThisRun(Catalogue.Tag tag) {
    Instant lastBefore = startOfRun.minusMillis(1);
    ZRJniTime time = time((int) lastBefore.getEpochSecond(), lastBefore.getNano() / 1_000_000);
    return latest(tag, time);
  }

  /** The latest records of this run, oldest first. */
  ZRJniRecord[] ofThisRun(Catalogue.Tag tag) {
    return Arrays.stream(latest(tag, END))
        .filter(record -> !Text.instant(record).isBefore(startOfRun))
        .toArray(ZRJniRecord[]::new);
  }

  static double[] numbers(TagType type, ZRJniRecord[] records) {
    return Arrays.stream(records)
        .mapToDouble(record -> ((Number) type.load(record)).doubleValue())
        .toArray();
  }

  private static ZRJniRecord[] latest(Catalogue.Tag tag, ZRJniTime time) {
    ZRJniRecord[] records = read(tag, time, BACKWARD, MOST_RECORDS);
    Collections.reverse(Arrays.asList(records));
    return records;
  }

  private static ZRJniRecord[] read(Catalogue.Tag tag, ZRJniTime from, int direction, int most) {
    ZRJniRecord[] records = new ZRJniRecord[most];
    byte type = tag.measurement().type().number();
    int status =
        Jni_Zervane.querySpecifyNumRawRecords(tag.id(), type, from, direction, most, records);
    Status.check("querySpecifyNumRawRecords", status);
    return Arrays.stream(records).filter(Objects::nonNull).toArray(ZRJniRecord[]::new);
  }

  private static ZRJniTime time(int seconds, int milliseconds) {
    ZRJniTime time = new ZRJniTime();
    time.nSec = seconds;
    time.nMsec = (short) milliseconds;
    return time;
  }
}
