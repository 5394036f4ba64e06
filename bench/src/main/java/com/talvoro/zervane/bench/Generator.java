package com.talvoro.zervane.bench;

/**
 * Makes the records that are written: the same ones for the same seed and number of tags.
 *
 * <p>All tags are measured once in a period (a second), in turn. A time errs by up to {@value
 * #JITTER_MS} ms to either side. A value walks by up to {@value #STEP_HUNDREDTHS} hundredths at a
 * time and has two decimals. Quality is good, but for rare runs of bad.
 */
public final class Generator {
  /** Where the times begin: 2023-01-01 UTC. */
  public static final long START_MS = 1_672_531_200_000L;

  static final int JITTER_MS = 25;
  static final int STEP_HUNDREDTHS = 3;
  static final int GOOD = 192;
  static final int BAD = 0;

  /** Late records stand half a second beside the others, which they therefore never meet. */
  private static final int LATE_OFFSET_MS = 500;

  private static final int YEAR_SECONDS = 365 * 24 * 3600;

  /** Has no factor in common with the year, so a tag's late times go through all of it once. */
  private static final int LATE_STRIDE_SECONDS = 19_490_327;

  private static final int LATE_PERCENT = 20;

  /** One record in so many begins a run of bad quality. */
  private static final int BAD_RUN_ODDS = 8192;

  private static final int BAD_RUN_LENGTH = 12;

  private static final int SECOND_MS = 1000;

  private final int tagCount;
  private final int periodMs;
  private final int[] hundredths;
  private final byte[] badLeft;
  private final int[] lateCount;
  private long random;
  private int nextTag;
  private long round;

  /** Makes a generator that begins at {@link #START_MS} with the first tag. */
  public Generator(long seed, int tagCount) {
    this(seed, tagCount, SECOND_MS);
  }

  /** Makes one whose tags are measured less or more often than once a second. */
  Generator(long seed, int tagCount, int periodMs) {
    this.tagCount = tagCount;
    this.periodMs = periodMs;
    random = seed;
    hundredths = new int[tagCount];
    badLeft = new byte[tagCount];
    lateCount = new int[tagCount];
    for (int tag = 0; tag < tagCount; tag++) {
      hundredths[tag] = 2000 + below(next(), 6000);
    }
  }

  /** Fills a batch with the next records, in order. */
  public void fill(Batch batch) {
    for (int i = 0; i < batch.size; i++) {
      put(batch, i);
    }
  }

  /**
   * Fills a batch with the next records, of which every fifth, taken at random, is late: it is from
   * the year before {@link #START_MS}.
   */
  public void fillLate(Batch batch) {
    for (int i = 0; i < batch.size; i++) {
      put(batch, i);
      if (below(next(), 100) < LATE_PERCENT) {
        batch.timeMs[i] = lateTimeMs(batch.tag[i]);
      }
    }
  }

  private void put(Batch batch, int i) {
    long bits = next();
    int tag = nextTag;
    hundredths[tag] += below(bits, 2 * STEP_HUNDREDTHS + 1) - STEP_HUNDREDTHS;
    batch.tag[i] = tag;
    batch.timeMs[i] =
        START_MS + round * periodMs + below(bits >>> 16, 2 * JITTER_MS + 1) - JITTER_MS;
    batch.value[i] = hundredths[tag] / 100.0;
    batch.quality[i] = quality(tag, bits >>> 32);
    if (++nextTag == tagCount) {
      nextTag = 0;
      round++;
    }
  }

  private int quality(int tag, long bits) {
    if (badLeft[tag] == 0) {
      if (below(bits, BAD_RUN_ODDS) != 0) {
        return GOOD;
      }
      badLeft[tag] = BAD_RUN_LENGTH;
    }
    badLeft[tag]--;
    return BAD;
  }

  private long lateTimeMs(int tag) {
    long number = ++lateCount[tag];
    long secondsBefore = 1 + number * LATE_STRIDE_SECONDS % YEAR_SECONDS;
    return START_MS - secondsBefore * 1000 + LATE_OFFSET_MS;
  }

  /** A number from 0 to {@code bound - 1}, made of the low 16 bits; the bound is at most 65,536. */
  private static int below(long bits, int bound) {
    return (int) (((bits & 0xFFFF) * bound) >>> 16);
  }

  /** The next 64 random bits: SplitMix64. */
  private long next() {
    random += 0x9E3779B97F4A7C15L;
    long bits = random;
    bits = (bits ^ (bits >>> 30)) * 0xBF58476D1CE4E5B9L;
    bits = (bits ^ (bits >>> 27)) * 0x94D049BB133111EBL;
    return bits ^ (bits >>> 31);
  }
}
