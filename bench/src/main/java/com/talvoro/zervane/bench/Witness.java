package com.talvoro.zervane.bench;

import java.util.TreeMap;

/**
 * Knows every record of one tag that was written, and looks whether the subject gives them all back
 * as they were.
 */
final class Witness {
  private record Entry(double value, int quality) {}

  private final int tag;
  private final TreeMap<Long, Entry> records = new TreeMap<>();

  Witness(int tag) {
    this.tag = tag;
  }

  /** Takes note of a batch that is going to be written. */
  void see(Batch batch) {
    for (int i = 0; i < batch.size; i++) {
      if (batch.tag[i] == tag) {
        records.put(batch.timeMs[i], new Entry(batch.value[i], batch.quality[i]));
      }
    }
  }

  /** Reads the tag and throws unless everything is there and nothing else. */
  void verify(Subject subject) throws Exception {
    if (records.isEmpty()) {
      return;
    }
    Checksum expected = new Checksum();
    records.forEach((timeMs, entry) -> expected.add(timeMs, entry.value, entry.quality));
    Checksum read = new Checksum();
    long count =
        subject.readRaw(tag, records.firstKey(), records.lastKey(), records.size() + 1, read);
    if (count != records.size() || read.sum() != expected.sum()) {
      throw new IllegalStateException(
          subject.name()
              + " gave back "
              + count
              + " of "
              + records.size()
              + " records of tag "
              + tag
              + (count == records.size() ? ", not as they were written" : ""));
    }
  }
}
