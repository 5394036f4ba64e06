package com.talvoro.zervane.bench.peers;

import static org.junit.jupiter.api.Assertions.assertEquals;
import static org.junit.jupiter.api.Assertions.assertTrue;

import com.talvoro.zervane.bench.Batch;
import com.talvoro.zervane.bench.HistoryCalls;
import com.talvoro.zervane.bench.HistoryCalls.TagHour;
import com.talvoro.zervane.bench.Question;
import com.talvoro.zervane.bench.Statistic;
import com.talvoro.zervane.bench.Subject;
import java.nio.file.Path;
import java.util.HashMap;
import java.util.Map;
import java.util.stream.Stream;
import org.junit.jupiter.api.DisplayName;
import org.junit.jupiter.api.io.TempDir;
import org.junit.jupiter.params.ParameterizedTest;
import org.junit.jupiter.params.provider.MethodSource;

/** The numbers are calculated by hand. */
@DisplayName("The history of a peer in this process")
class HistoryPeersTest {
  private static final long HOUR_MS = 3_600_000;
  private static final long START_MS = 1_672_531_200_000L + HOUR_MS;
  private static final int GOOD = 192;
  private static final double TOLERANCE = 1e-9;

  @TempDir private Path folder;

  static Stream<String> peers() {
    return Peers.ofHistory().stream().filter(Peers.inProcess()::containsKey);
  }

  /** A test that asks. */
  private interface Asking {
    void ask(HistoryCalls history) throws Exception;
  }

  private void fill(String name, int tagCount, double[][] records) throws Exception {
    Batch batch = new Batch(records.length);
    for (int i = 0; i < records.length; i++) {
      batch.tag[i] = (int) records[i][0];
      batch.timeMs[i] = START_MS + (long) records[i][1];
      batch.value[i] = records[i][2];
      batch.quality[i] = (int) records[i][3];
    }
    try (Subject peer = Peers.all().get(name).get()) {
      peer.open(folder, tagCount);
      try (HistoryCalls history = peer.history(tagCount)) {
        history.add(batch);
        history.finish();
      }
    }
  }

  private void askAgain(String name, int tagCount, Asking asking) throws Exception {
    try (Subject peer = Peers.all().get(name).get()) {
      peer.open(folder, tagCount);
      try (HistoryCalls history = peer.history(tagCount)) {
        asking.ask(history);
      }
    }
  }

  /** Good 1, 3, 5, then bad, then good 7; a second apart, but for the last that is two away. */
  private static final double[][] ONE_TAG = {
    {0, 0, 1, GOOD}, {0, 1000, 3, GOOD}, {0, 2000, 5, GOOD}, {0, 3000, 100, 0}, {0, 5000, 7, GOOD}
  };

  private static final Map<Statistic, Double> EXPECTED =
      Map.ofEntries(
          Map.entry(Statistic.MEAN, 3.0),
          Map.entry(Statistic.LEAST, 1.0),
          Map.entry(Statistic.GREATEST, 5.0),
          Map.entry(Statistic.SUM, 9.0),
          Map.entry(Statistic.LAST, 5.0),
          Map.entry(Statistic.AREA, 11.0),
          Map.entry(Statistic.TIME_MEAN, 11 / 3.0),
          Map.entry(Statistic.GOOD_SHARE, 60.0),
          Map.entry(Statistic.TIME_ABOVE, 2.0),
          Map.entry(Statistic.COUNT_BETWEEN, 2.0),
          Map.entry(Statistic.FILTERED_MEAN, 3.0));

  @ParameterizedTest
  @MethodSource("peers")
  void answersEveryQuestionMoreThanOnce(String name) throws Exception {
    fill(name, 1, ONE_TAG);
    askAgain(
        name,
        1,
        history -> {
          for (int run = 0; run < 2; run++) {
            for (Statistic what : Statistic.values()) {
              Question question = new Question(what, 0, START_MS, START_MS + 5000, 2, 5);
              double answer = history.ask(question);
              assertEquals(EXPECTED.get(what), answer, TOLERANCE, what.toString());
            }
          }
        });
  }

  @ParameterizedTest
  @MethodSource("peers")
  void interpolatesOnTheLinesBetweenGoodRecords(String name) throws Exception {
    fill(name, 1, ONE_TAG);
    askAgain(
        name,
        1,
        history -> {
          long[] instants = {START_MS + 3500, START_MS + 1000, START_MS + 250, START_MS + 1000};
          for (int run = 0; run < 2; run++) {
            history.setInstants(0, instants);
            double[] values = history.interpolate();
            assertEquals(6, values[0], TOLERANCE);
            assertEquals(3, values[1], TOLERANCE);
            assertEquals(1.5, values[2], TOLERANCE);
            assertEquals(3, values[3], TOLERANCE);
          }
        });
  }

  /** Of two tags; the second one's line goes from 10 to 20 over the beginning of the next hour. */
  private static final double[][] TWO_TAGS = {
    {0, 0, 1, GOOD},
    {1, 0, 10, GOOD},
    {0, HOUR_MS - 2000, 1, GOOD},
    {1, HOUR_MS - 5000, 10, GOOD},
    {0, HOUR_MS + 2000, 1, GOOD},
    {1, HOUR_MS + 5000, 20, GOOD},
    {0, 2 * HOUR_MS, 9, 0},
    {1, 2 * HOUR_MS, 20, GOOD},
  };

  @ParameterizedTest
  @MethodSource("peers")
  void cutsTheLinesAtTheEndsOfAWindow(String name) throws Exception {
    fill(name, 2, TWO_TAGS);
    askAgain(
        name,
        2,
        history -> {
          long from = START_MS + HOUR_MS - 4000;
          long to = START_MS + HOUR_MS;
          // The line of the second tag is at 11 four seconds before the hour, and at 15 with it.
          assertEquals(
              13,
              history.askWindow(new Question(Statistic.TIME_MEAN, 1, from, to, 0, 0)),
              TOLERANCE);
          assertEquals(
              1,
              history.askWindow(new Question(Statistic.TIME_MEAN, 0, from, to, 0, 0)),
              TOLERANCE);
          assertEquals(
              10,
              history.askWindow(new Question(Statistic.MEAN, 1, START_MS, to, 0, 0)),
              TOLERANCE);
        });
  }

  @ParameterizedTest
  @MethodSource("peers")
  void calculatesTheMeansOfAllTagsAndHoursTogether(String name) throws Exception {
    fill(name, 2, TWO_TAGS);
    Map<TagHour, Double> means = new HashMap<>();
    Map<TagHour, Double> timeMeans = new HashMap<>();
    askAgain(
        name,
        2,
        history -> {
          long to = START_MS + 2 * HOUR_MS;
          assertTrue(history.meansByHour(Statistic.MEAN, START_MS, to, means::put));
          assertTrue(history.meansByHour(Statistic.TIME_MEAN, START_MS, to, timeMeans::put));
        });
    TagHour first = new TagHour(1, START_MS);
    TagHour second = new TagHour(1, START_MS + HOUR_MS);
    assertEquals(4, means.size());
    assertEquals(10, means.get(first), TOLERANCE);
    assertEquals(20, means.get(second), TOLERANCE);
    assertEquals(4, timeMeans.size());
    // Five seconds of each hour are on the line: at 12.5 on average before it, at 17.5 behind.
    assertEquals((10 * 3595 + 12.5 * 5) / 3600, timeMeans.get(first), TOLERANCE);
    assertEquals((17.5 * 5 + 20 * 3595) / 3600, timeMeans.get(second), TOLERANCE);
  }
}
