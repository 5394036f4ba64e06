package com.talvoro.zrjni.stack;

import static org.junit.jupiter.api.Assertions.assertEquals;
import static org.junit.jupiter.api.Assertions.assertTrue;

import com.talvoro.zrjni.Jni_Zervane;
import com.talvoro.zrjni.ZRJniCalcTag;
import com.talvoro.zrjni.ZRJniStatsTag;
import java.util.List;

/** Tags that the database computes itself. */
final class DeedsOfDerivedTags {
  private DeedsOfDerivedTags() {}

  private static ZRJniCalcTag calculation(String expression) {
    ZRJniCalcTag tag = new ZRJniCalcTag();
    tag.m_tagName = "TWICE";
    tag.m_calcMode = 1; // when an operand changes
    tag.m_calcPeriod = 60;
    tag.m_calcExpr = expression;
    return tag;
  }

  private static ZRJniCalcTag addCalculation() {
    ZRJniCalcTag tag = calculation("2 * 'SOURCE'");
    assertEquals(Codes.OK, Jni_Zervane.addCalcTag(tag, Columns.NONE, Columns.ALL));
    tag.m_tagID = Jni_Zervane.queryTagID("TWICE");
    assertTrue(tag.m_tagID > 0);
    return tag;
  }

  private static ZRJniStatsTag mean(String source) {
    ZRJniStatsTag tag = new ZRJniStatsTag();
    tag.m_tagName = "MEAN";
    tag.m_sourceTagName = source;
    tag.m_statsType = 5; // the arithmetic mean
    tag.m_sampleInterval = 5;
    tag.m_sampleMonthBeginDay = 1;
    tag.m_sampleMonthEndDay = 31;
    tag.m_calcPeriod = 60;
    return tag;
  }

  private static ZRJniStatsTag addMean() {
    ZRJniStatsTag tag = mean(WholeStack.SOURCE);
    assertEquals(Codes.OK, Jni_Zervane.addStatsTag(tag, Columns.NONE, Columns.ALL));
    tag.m_tagID = Jni_Zervane.queryStatsTagID("MEAN");
    assertTrue(tag.m_tagID > 0);
    return tag;
  }

  static List<Deed> all() {
    return List.of(
        Deed.of(
            "addCalcTag",
            stack -> addCalculation(),
            stack ->
                assertEquals(
                    Codes.INVALID_EXPRESSION,
                    Jni_Zervane.addCalcTag(calculation("2 *"), Columns.NONE, Columns.ALL))),
        Deed.of(
            "modifyCalcTag",
            stack -> {
              ZRJniCalcTag tag = addCalculation();
              tag.m_calcExpr = "3 * 'SOURCE'";
              assertEquals(Codes.OK, Jni_Zervane.modifyCalcTag(tag, Columns.NONE, Columns.ALL));
              ZRJniCalcTag stored = new ZRJniCalcTag();
              assertEquals(Codes.OK, Jni_Zervane.queryCalcTag(tag.m_tagID, stored));
              assertEquals("3 * 'SOURCE'", stored.m_calcExpr);
            },
            stack -> {
              ZRJniCalcTag tag = addCalculation();
              tag.m_calcExpr = "1 + 'TWICE'";
              assertEquals(
                  Codes.CALCULATION_LOOP,
                  Jni_Zervane.modifyCalcTag(tag, Columns.NONE, Columns.ALL));
              Tags.delete(tag.m_tagID);
            }),
        Deed.of(
            "queryCalcTag",
            stack -> {
              ZRJniCalcTag stored = new ZRJniCalcTag();
              assertEquals(
                  Codes.OK, Jni_Zervane.queryCalcTag(addCalculation().m_tagID, stored));
              assertEquals("2 * 'SOURCE'", stored.m_calcExpr);
            },
            stack ->
                assertEquals(
                    Codes.INVALID_TAG_CLASS,
                    Jni_Zervane.queryCalcTag(stack.source, new ZRJniCalcTag()))),
        Deed.of(
            "addStatsTag",
            stack -> addMean(),
            stack ->
                assertEquals(
                    Codes.NAME_NOT_FOUND,
                    Jni_Zervane.addStatsTag(mean("NOBODY"), Columns.NONE, Columns.ALL))),
        Deed.of(
            "modifyStatsTag",
            stack -> {
              ZRJniStatsTag tag = addMean();
              tag.m_sampleInterval = 7;
              assertEquals(
                  Codes.OK, Jni_Zervane.modifyStatsTag(tag, Columns.NONE, Columns.ALL));
              ZRJniStatsTag stored = new ZRJniStatsTag();
              assertEquals(Codes.OK, Jni_Zervane.queryStatsTag(tag.m_tagID, stored));
              assertEquals(7, stored.m_sampleInterval);
            },
            stack -> {
              ZRJniStatsTag tag = addMean();
              tag.m_sampleInterval = 0;
              assertEquals(
                  Codes.INVALID_PROPERTY,
                  Jni_Zervane.modifyStatsTag(tag, Columns.NONE, Columns.ALL));
              Tags.delete(tag.m_tagID);
            }),
        Deed.of(
            "queryStatsTag",
            stack -> {
              ZRJniStatsTag stored = new ZRJniStatsTag();
              assertEquals(Codes.OK, Jni_Zervane.queryStatsTag(addMean().m_tagID, stored));
              assertEquals(WholeStack.SOURCE, stored.m_sourceTagName);
            },
            stack ->
                assertEquals(
                    Codes.TAG_NOT_FOUND,
                    Jni_Zervane.queryStatsTag(Tags.UNKNOWN, new ZRJniStatsTag()))),
        Deed.of(
            "queryStatsTagID",
            stack -> addMean(),
            stack -> assertEquals(-1, Jni_Zervane.queryStatsTagID("NOBODY"))));
  }
}
