package com.talvoro.zervane.bench;

/** Compares answers with what they have to be. */
final class Expected {
  private static final double TOLERANCE = 1e-9;

  private Expected() {}

  /** Throws unless an answer is right, but for rounding. */
  static void check(String what, double expected, double answer) {
    if (!(Math.abs(answer - expected) <= TOLERANCE * Math.abs(expected))) {
      throw new IllegalStateException(what + " is " + answer + ", not " + expected);
    }
  }
}
