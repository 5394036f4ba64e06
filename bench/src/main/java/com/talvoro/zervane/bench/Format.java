package com.talvoro.zervane.bench;

import java.util.Locale;
import java.util.Map;
import java.util.TreeMap;
import java.util.stream.Collectors;

/** Figures as people read them: three digits that count, thousands set apart. */
final class Format {
  private Format() {}

  static String number(double value) {
    if (value == 0) {
      return "0";
    }
    int digits = 3 - (int) Math.floor(Math.log10(Math.abs(value))) - 1;
    double unit = Math.pow(10, -digits);
    double rounded = Math.round(value / unit) * unit;
    return String.format(Locale.ROOT, "%,." + Math.max(0, digits) + "f", rounded);
  }

  static String percent(double share) {
    return String.format(Locale.ROOT, "%.0f %%", 100 * share);
  }

  static String figures(Map<Metric, Double> figures) {
    return new TreeMap<>(figures)
        .entrySet().stream()
            .map(entry -> number(entry.getValue()) + " " + entry.getKey().unit())
            .collect(Collectors.joining(", "));
  }
}
