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
  COUNT_MS("ms to count *.PV"),
  MEAN_MS("ms for the mean"),
  LEAST_MS("ms for the least value"),
  GREATEST_MS("ms for the greatest value"),
  SUM_MS("ms for the sum"),
  LAST_MS("ms for the last value"),
  AREA_MS("ms for the area"),
  TIME_MEAN_MS("ms for the mean weighted by time"),
  GOOD_SHARE_MS("ms for the share of good"),
  SHORT_FORM_MS("ms for the slowest short form"),
  FILTERED_RATE("records/s, mean with a filter"),
  FILTERED_CORE_RATE("records/s and core, mean with a filter"),
  TIME_ABOVE_RATE("records/s, time above a value"),
  TIME_ABOVE_CORE_RATE("records/s and core, time above a value"),
  COUNT_BETWEEN_RATE("records/s, count in a range"),
  COUNT_BETWEEN_CORE_RATE("records/s and core, count in a range"),
  WINDOW_MEANS_MS("ms for all means, a call each"),
  WINDOW_TIME_MEANS_MS("ms for all means weighted by time, a call each"),
  GROUP_MEANS_MS("ms for all means in one call"),
  GROUP_TIME_MEANS_MS("ms for all means weighted by time in one call"),
  INTERPOLATION_MS("ms for all values");

  private final String unit;

  Metric(String unit) {
    this.unit = unit;
  }

  String unit() {
    return unit;
  }
}
