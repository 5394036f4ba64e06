package com.talvoro.zervane.demo;

import com.talvoro.zrjni.ZRJniRecord;
import java.time.Instant;
import java.time.ZoneId;
import java.time.format.DateTimeFormatter;
import java.util.Locale;

/** How values and times are written. */
final class Text {
  private static final DateTimeFormatter TIME =
      DateTimeFormatter.ofPattern("yyyy-MM-dd HH:mm:ss").withZone(ZoneId.systemDefault());

  private static final DateTimeFormatter PRECISE_TIME =
      DateTimeFormatter.ofPattern("yyyy-MM-dd HH:mm:ss.SSS").withZone(ZoneId.systemDefault());

  private Text() {}

  static String value(TagType type, Object value) {
    return switch (type) {
      case FLOAT32, FLOAT64 -> String.format(Locale.ROOT, "%,.2f", ((Number) value).doubleValue());
      case STRING -> value.toString();
      default -> String.format(Locale.ROOT, "%,d", ((Number) value).longValue());
    };
  }

  static String withUnit(Measurement measurement, ZRJniRecord record) {
    TagType type = measurement.type();
    return (value(type, type.load(record)) + " " + measurement.unit()).strip();
  }

  static String time(Instant time) {
    return TIME.format(time);
  }

  /** With milliseconds. */
  static String preciseTime(Instant time) {
    return PRECISE_TIME.format(time);
  }

  static Instant instant(ZRJniRecord record) {
    return Instant.ofEpochSecond(Integer.toUnsignedLong(record.nSec), record.nMsec * 1_000_000L);
  }
}
