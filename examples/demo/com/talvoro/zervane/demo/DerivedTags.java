package com.talvoro.zervane.demo;

import com.talvoro.zrjni.Jni_Zervane;
import com.talvoro.zrjni.LongWrapper;
import com.talvoro.zrjni.ZRJniCalcTag;
import com.talvoro.zrjni.ZRJniRecord;
import com.talvoro.zrjni.ZRJniStatsTag;
import java.time.Instant;
import java.util.Locale;

/**
 * Tags that the database computes by itself from what is recorded: how many processors are busy, at
 * every value, and the mean processor time of every five seconds, when they are over.
 */
final class DerivedTags {
  private static final String BUSY_PROCESSORS = "HOST.CPU.BUSY.PROCESSORS";
  private static final String BUSY_MEAN = "HOST.CPU.BUSY.MEAN";
  private static final int MEAN_SECONDS = 5;
  private static final int ARITHMETIC_MEAN = 5;
  private static final byte WHEN_AN_OPERAND_CHANGES = 1;

  // Bits of the masks of their own properties.
  private static final long CALC_MODE = 1L << 0;
  private static final long CALC_EXPRESSION = 1L << 2;
  private static final long STATS_SOURCE = 1L << 0;
  private static final long STATS_TYPE = 1L << 1;
  private static final long STATS_START = 1L << 2;
  private static final long STATS_INTERVAL = 1L << 4;

  private final int busyProcessors;
  private final int busyMean;
  private double mostProcessors = -1;
  private int means;

  private DerivedTags(int busyProcessors, int busyMean) {
    this.busyProcessors = busyProcessors;
    this.busyMean = busyMean;
  }

  /** Creates the tags where they are missing, and begins to follow their values. */
  static DerivedTags open(Instant start) {
    if (Jni_Zervane.queryTagID(BUSY_PROCESSORS) < 0) {
      createCalculation();
    }
    if (Jni_Zervane.queryStatsTagID(BUSY_MEAN) < 0) {
      createStatistic(start);
    }
    int[] ids = {Jni_Zervane.queryTagID(BUSY_PROCESSORS), Jni_Zervane.queryStatsTagID(BUSY_MEAN)};
    Status.check("registerSnCallback", Jni_Zervane.registerSnCallback(ids.length, ids));
    return new DerivedTags(ids[0], ids[1]);
  }

  private static void createCalculation() {
    ZRJniCalcTag tag = new ZRJniCalcTag();
    tag.m_tagName = BUSY_PROCESSORS;
    tag.m_descriptor = "processors that were busy";
    tag.m_calcMode = WHEN_AN_OPERAND_CHANGES;
    tag.m_calcExpr = "'HOST.CPU.BUSY' / 100 * 'HOST.CPU.COUNT'";
    long mask = TagColumn.mask(TagColumn.NAME, TagColumn.DESCRIPTOR);
    Status.check("addCalcTag", Jni_Zervane.addCalcTag(tag, mask, CALC_MODE | CALC_EXPRESSION));
  }

  private static void createStatistic(Instant start) {
    ZRJniStatsTag tag = new ZRJniStatsTag();
    tag.m_tagName = BUSY_MEAN;
    tag.m_descriptor = "mean processor time of five seconds";
    tag.m_sourceTagName = "HOST.CPU.BUSY";
    tag.m_statsType = ARITHMETIC_MEAN;
    tag.m_sampleStartDate = (int) start.getEpochSecond();
    tag.m_sampleInterval = MEAN_SECONDS;
    long mask = TagColumn.mask(TagColumn.NAME, TagColumn.DESCRIPTOR);
    long own = STATS_SOURCE | STATS_TYPE | STATS_START | STATS_INTERVAL;
    Status.check("addStatsTag", Jni_Zervane.addStatsTag(tag, mask, own));
  }

  /** Tells every mean that has come since the last time, and keeps count of the processors. */
  void follow() {
    LongWrapper batch = new LongWrapper();
    Status.check("getRegisterTagSnHandle", Jni_Zervane.getRegisterTagSnHandle(batch));
    int count = Jni_Zervane.getRegisterTagSnNum(batch.Value);
    int[] ids = new int[count];
    ZRJniRecord[] records = new ZRJniRecord[count];
    Jni_Zervane.getRegisterTagSn(batch.Value, ids, records);
    Jni_Zervane.freeRegisterTagSnHandle(batch.Value);
    for (int i = 0; i < count; i++) {
      if (ids[i] == busyProcessors) {
        mostProcessors = Math.max(mostProcessors, records[i].fFloat64);
      } else if (ids[i] == busyMean && records[i].nQuality >= Status.GOOD) {
        tellMean(records[i]);
      }
    }
  }

  private void tellMean(ZRJniRecord record) {
    Instant end = Text.instant(record);
    if (end.isAfter(Instant.now().minusSeconds(2L * MEAN_SECONDS))) { // of this run
      means++;
      System.out.printf(
          Locale.ROOT,
          "       computed: a mean of %,.2f %% in the five seconds up to %s%n",
          record.fFloat64,
          Text.time(end));
    }
  }

  /** Says in words what the database has computed during this run. */
  void printSummary() {
    System.out.printf("%nComputed by the database%n");
    System.out.printf(
        Locale.ROOT, "  %s: up to %,.2f processors were busy%n", BUSY_PROCESSORS, mostProcessors);
    System.out.printf("  %s: %d mean(s) of five seconds%n", BUSY_MEAN, means);
  }
}
