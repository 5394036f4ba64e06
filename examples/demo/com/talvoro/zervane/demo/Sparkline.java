package com.talvoro.zervane.demo;

import java.util.Arrays;

/** A curve in one line of text. */
final class Sparkline {
  private static final String BARS = "▁▂▃▄▅▆▇█";

  private Sparkline() {}

  /**
   * Draws values between two bounds; when there are more values than columns, a column is the mean
   * of its share of them.
   */
  static String draw(double[] values, int columns, double low, double high) {
    int width = Math.min(columns, values.length);
    StringBuilder line = new StringBuilder();
    for (int column = 0; column < width; column++) {
      int from = column * values.length / width;
      int to = (column + 1) * values.length / width;
      line.append(bar(Arrays.stream(values, from, to).average().orElseThrow(), low, high));
    }
    return line.toString();
  }

  private static char bar(double value, double low, double high) {
    double share = high > low ? (value - low) / (high - low) : 0;
    return BARS.charAt((int) Math.round(share * (BARS.length() - 1)));
  }
}
