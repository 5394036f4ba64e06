package com.talvoro.zervane.bench;

import static org.junit.jupiter.api.Assertions.assertArrayEquals;
import static org.junit.jupiter.api.Assertions.assertEquals;
import static org.junit.jupiter.api.Assertions.assertTrue;

import java.util.HashMap;
import java.util.HashSet;
import java.util.Map;
import java.util.Set;
import org.junit.jupiter.api.DisplayName;
import org.junit.jupiter.api.Test;

@DisplayName("The generator")
class GeneratorTest {
  private static final int TAGS = 70;
  private static final Batch RECORDS = filled(new Generator(1, TAGS), 200_000);

  private static Batch filled(Generator generator, int size) {
    Batch batch = new Batch(size);
    generator.fill(batch);
    return batch;
  }

  @Test
  void givesValuesWithTwoDecimals() {
    for (double value : RECORDS.value) {
      assertEquals(Math.round(value * 100) / 100.0, value);
    }
  }

  @Test
  void walksByAFewHundredths() {
    Map<Integer, Double> last = new HashMap<>();
    Set<Long> steps = new HashSet<>();
    for (int i = 0; i < RECORDS.size; i++) {
      Double before = last.put(RECORDS.tag[i], RECORDS.value[i]);
      if (before != null) {
        steps.add(Math.round((RECORDS.value[i] - before) * 100));
      }
    }
    assertEquals(Set.of(-3L, -2L, -1L, 0L, 1L, 2L, 3L), steps);
  }

  @Test
  void givesEveryTagATimeOnceASecondWithJitterToBothSides() {
    Set<Long> jitters = new HashSet<>();
    for (int i = 0; i < RECORDS.size; i++) {
      assertEquals(i % TAGS, RECORDS.tag[i]);
      jitters.add(RECORDS.timeMs[i] - Generator.START_MS - i / TAGS * 1000L);
    }
    assertEquals(51, jitters.size());
    assertTrue(jitters.stream().allMatch(jitter -> Math.abs(jitter) <= 25), jitters::toString);
  }

  @Test
  void givesRareRunsOfBadQuality() {
    int bad = 0;
    for (int quality : RECORDS.quality) {
      assertTrue(quality == Generator.GOOD || quality == Generator.BAD);
      bad += quality == Generator.BAD ? 1 : 0;
    }
    assertTrue(bad > 0 && bad < RECORDS.size / 100, bad + " of " + RECORDS.size);
  }

  @Test
  void goesOnFromBatchToBatchAsInOneLargeBatch() {
    Generator generator = new Generator(1, TAGS);
    Batch first = filled(generator, 1_000);
    Batch second = filled(generator, 1_000);
    assertArrayEquals(java.util.Arrays.copyOf(RECORDS.timeMs, 1_000), first.timeMs);
    assertArrayEquals(java.util.Arrays.copyOfRange(RECORDS.timeMs, 1_000, 2_000), second.timeMs);
    assertArrayEquals(java.util.Arrays.copyOfRange(RECORDS.value, 1_000, 2_000), second.value);
  }

  @Test
  void makesAFifthLateByUpToAYearAndNoTimeTwice() {
    Batch batch = new Batch(200_000);
    new Generator(1, TAGS).fillLate(batch);
    Set<String> seen = new HashSet<>();
    int late = 0;
    long oldest = Long.MAX_VALUE;
    for (int i = 0; i < batch.size; i++) {
      assertTrue(seen.add(batch.tag[i] + "@" + batch.timeMs[i]));
      late += batch.timeMs[i] < Generator.START_MS - 100 ? 1 : 0;
      oldest = Math.min(oldest, batch.timeMs[i]);
    }
    assertEquals(0.20, (double) late / batch.size, 0.01);
    double yearMs = 365 * 86_400_000.0;
    assertEquals(1, (Generator.START_MS - oldest) / yearMs, 0.01);
  }
}
