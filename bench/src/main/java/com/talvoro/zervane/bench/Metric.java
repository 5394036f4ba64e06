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
  OPEN_MS("ms to the first answer");

  private final String unit;

  Metric(String unit) {
    this.unit = unit;
  }

  String unit() {
    return unit;
  }
}
