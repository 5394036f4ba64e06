package com.talvoro.zervane.bench;

/** A sum of many numbers that keeps what each addition rounds off (Neumaier). */
final class ExactSum {
  private double sum;
  private double lost;

  void add(double value) {
    double next = sum + value;
    lost += Math.abs(sum) >= Math.abs(value) ? sum - next + value : value - next + sum;
    sum = next;
  }

  double value() {
    return sum + lost;
  }
}
