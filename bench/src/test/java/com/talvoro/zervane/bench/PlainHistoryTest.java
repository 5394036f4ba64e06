package com.talvoro.zervane.bench;

import static org.junit.jupiter.api.Assertions.assertArrayEquals;
import static org.junit.jupiter.api.Assertions.assertDoesNotThrow;
import static org.junit.jupiter.api.Assertions.assertEquals;
import static org.junit.jupiter.api.Assertions.assertThrows;

import org.junit.jupiter.api.DisplayName;
import org.junit.jupiter.api.Test;
import org.junit.jupiter.params.ParameterizedTest;
import org.junit.jupiter.params.provider.CsvSource;
import org.junit.jupiter.params.provider.ValueSource;

@DisplayName("What answers are compared with")
class PlainHistoryTest {
  private static final int GOOD = Generator.GOOD;
  private static final int BAD = Generator.BAD;

  /** Good 1, 3, 5, then bad, then good 7; a second apart, but for the last that is two away. */
  private static void addRecords(PlainStatistics plain) {
    plain.add(0, 1, GOOD);
    plain.add(1000, 3, GOOD);
    plain.add(2000, 5, GOOD);
    plain.add(3000, 100, BAD);
    plain.add(5000, 7, GOOD);
  }

  @ParameterizedTest(name = "{0} is {1}")
  @CsvSource({
    "MEAN, 3",
    "FILTERED_MEAN, 3",
    "LEAST, 1",
    "GREATEST, 5",
    "SUM, 9",
    "LAST, 5",
    "AREA, 11", // 2 and 4 on the lines, 5 held before the bad one
    "TIME_MEAN, 3.6666666666666665",
    "GOOD_SHARE, 60",
    "TIME_ABOVE, 2",
    "COUNT_BETWEEN, 2"
  })
  void isLeftClosedAndGoesByTheLine(Statistic what, double expected) {
    PlainStatistics plain = new PlainStatistics(0, 5000, 2, 5);
    addRecords(plain);
    assertEquals(expected, plain.value(what), 1e-12);
  }

  @ParameterizedTest(name = "{0} is {1}")
  @CsvSource({
    "AREA, 1.56", // half a second from 2 to 3, a tenth from 3 to 3.2
    "TIME_MEAN, 2.6",
    "GOOD_SHARE, 100",
    "MEAN, 3",
    "TIME_ABOVE, 0.1"
  })
  void cutsTheLinesAtTheEnds(Statistic what, double expected) {
    PlainStatistics plain = new PlainStatistics(500, 1100, 2, 5);
    addRecords(plain);
    assertEquals(expected, plain.value(what), 1e-12);
  }

  @Test
  void knowsOfNothingWhereThereIsNothingGood() {
    PlainStatistics plain = new PlainStatistics(3000, 5000, 2, 5);
    addRecords(plain);
    for (Statistic what : Statistic.values()) {
      double value = plain.value(what);
      switch (what) {
        case GOOD_SHARE, TIME_ABOVE, COUNT_BETWEEN -> assertEquals(0, value);
        default -> assertEquals(Double.NaN, value, what.toString());
      }
    }
  }

  @Test
  void keepsWhatAdditionsRoundOff() {
    ExactSum sum = new ExactSum();
    for (double value : new double[] {1, 1e100, 1, -1e100}) {
      sum.add(value);
    }
    assertEquals(2, sum.value());
  }

  @Test
  void interpolatesBetweenGoodRecordsInTheOrderOfTheInstants() {
    PlainInterpolation plain = new PlainInterpolation(new long[] {2500, 1000, 250, 1000, 9000, -1});
    plain.add(0, 1, GOOD);
    plain.add(1000, 3, GOOD);
    plain.add(2000, 100, BAD);
    plain.add(3000, 7, GOOD);
    plain.add(4000, 8, GOOD);
    assertArrayEquals(
        new double[] {6, 3, 1.5, 3, Double.NaN, Double.NaN}, plain.values(), 1e-12);
  }

  @Test
  void tellsEveryHourOfItsOwnRecordsAndThoseBeside() throws Exception {
    HistorySet set = HistorySet.ofTags(2);
    WindowOracle oracle = WindowOracle.of(set);
    for (int hour : new int[] {0, 11, HistorySet.HOURS - 1}) {
      long fromMs = set.dayMs() + hour * HistorySet.HOUR_MS;
      PlainStatistics plain = new PlainStatistics(fromMs, fromMs + HistorySet.HOUR_MS, 0, 0);
      set.forEach(
          batch -> {
            for (int i = 0; i < batch.size; i++) {
              if (batch.tag[i] == 1) {
                plain.add(batch.timeMs[i], batch.value[i], batch.quality[i]);
              }
            }
          });
      for (Statistic what : new Statistic[] {Statistic.MEAN, Statistic.TIME_MEAN}) {
        assertEquals(plain.value(what), oracle.expected(what, 1, hour));
      }
    }
  }

  @ParameterizedTest(name = "{0} records")
  @ValueSource(longs = {9_999, 10_000, 25_001})
  void isMadeOfAllRecordsOfAHistory(long records) throws Exception {
    long[] count = {0};
    HistorySet.ofOneTag(records).forEach(batch -> count[0] += batch.size);
    assertEquals(records, count[0]);
  }

  @Test
  void toleratesRoundingAndNothingElse() {
    assertDoesNotThrow(() -> Expected.check("it", 1e6, 1e6 + 1e-4));
    assertThrows(IllegalStateException.class, () -> Expected.check("it", 1e6, 1e6 + 2e-3));
    assertThrows(IllegalStateException.class, () -> Expected.check("it", 1, Double.NaN));
    assertThrows(IllegalStateException.class, () -> Expected.check("it", Double.NaN, 1));
  }
}
