package com.talvoro.zervane.bench;

import static org.junit.jupiter.api.Assertions.assertEquals;
import static org.junit.jupiter.api.Assertions.assertThrows;

import org.junit.jupiter.api.DisplayName;
import org.junit.jupiter.api.Test;
import org.junit.jupiter.params.ParameterizedTest;
import org.junit.jupiter.params.provider.CsvSource;

@DisplayName("Statistics")
class StatisticsTest {
  @Test
  void takeTheMiddleForTheMedian() {
    assertEquals(3, Statistics.median(9, 3, 1));
    assertEquals(2.5, Statistics.median(4, 1, 2, 3));
  }

  @Test
  void relateTheSpreadToTheMedian() {
    assertEquals(0.5, Statistics.spread(8, 10, 13));
  }

  @ParameterizedTest(name = "{0} of 1 to 200 is {1}")
  @CsvSource({"0, 1", "0.005, 1", "0.5, 100", "0.99, 198", "1, 200"})
  void findTheSampleThatAShareIsNotAbove(double share, long expected) {
    long[] samples = new long[200];
    for (int i = 0; i < samples.length; i++) {
      samples[i] = samples.length - i;
    }
    assertEquals(expected, Statistics.percentile(samples, share));
  }

  @Test
  void tellNothingOfNoSamples() {
    assertThrows(IllegalArgumentException.class, () -> Statistics.median());
    assertThrows(IllegalArgumentException.class, () -> Statistics.percentile(new long[0], 0.5));
  }

  @ParameterizedTest(name = "{0} is printed as {1}")
  @CsvSource(
      delimiter = ';',
      value = {"0; 0", "2.4963; 2.50", "45.213; 45.2", "999.6; 1,000", "17352464; 17,400,000"})
  void arePrintedWithThreeDigitsThatCount(double value, String expected) {
    assertEquals(expected, Format.number(value));
  }
}
