package com.talvoro.zervane.bench;

/** What a figure counts. */
enum Metric {
  VALUES_PER_SECOND("values/s"),
  P50_MICROS("µs p50"),
  P99_MICROS("µs p99"),
  BYTES_PER_RECORD("bytes/record"),
  EMPTY_STORE_MB("MB in an empty store"),
  RESIDENT_MB("MB resident"),
  PEAK_RESIDENT_MB("MB resident at most"),
  OPEN_MS("ms to the first answer"),
  BYTES_PER_TAG("bytes of memory/tag"),
  EARLY_ADD_MICROS("µs a tag behind the first 1,000"),
  LATE_ADD_MICROS("µs a tag at the end"),
  DISK_MOST_MB("MB on disk at most"),
  DISK_MB("MB on disk when closed"),
  FIRST_ITEM_MS("ms to the first item of the slowest search"),
  PAGE_MS("ms for a page of 1,000"),
  COUNT_MS("ms to count *.PV");

  private final String unit;

  Metric(String unit) {
    this.unit = unit;
  }

  String unit() {
    return unit;
  }
}
