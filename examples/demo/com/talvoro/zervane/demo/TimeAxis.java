package com.talvoro.zervane.demo;

import com.talvoro.zrjni.Jni_Zervane;
import com.talvoro.zrjni.ZRJniRecord;
import java.time.Duration;
import java.time.Instant;
import java.util.List;
import java.util.stream.IntStream;

/** Instants at one distance, at which the values of any tags are computed between their records. */
final class TimeAxis {
  private static final int LINEAR = 0;

  private final List<Instant> instants;

  /** So many instants from the first to the last, both among them. */
  TimeAxis(Instant first, Instant last, int count) {
    Duration step = Duration.between(first, last).dividedBy(count - 1);
    this.instants =
        IntStream.range(0, count).mapToObj(i -> first.plus(step.multipliedBy(i))).toList();
  }

  List<Instant> instants() {
    return instants;
  }

  /** A record of each tag for every instant: those of the first instant, then of the next. */
  ZRJniRecord[] read(List<Catalogue.Tag> tags) {
    int count = instants.size() * tags.size();
    int[] ids = new int[count];
    ZRJniRecord[] records = new ZRJniRecord[count];
    for (int i = 0; i < count; i++) {
      Instant instant = instants.get(i / tags.size());
      ids[i] = tags.get(i % tags.size()).id();
      records[i] = new ZRJniRecord();
      records[i].nSec = (int) instant.getEpochSecond();
      records[i].nMsec = (short) (instant.getNano() / 1_000_000);
    }
    int status =
        Jni_Zervane.queryTagsInterpRecordsByMode(LINEAR, ids, count, records, new int[count]);
    Status.check("queryTagsInterpRecordsByMode", status);
    return records;
  }
}
