package com.talvoro.zrjni.bridge;

import static org.junit.jupiter.api.Assertions.assertEquals;

import com.talvoro.zrjni.DoubleWrapper;
import com.talvoro.zrjni.Jni_Zervane;
import com.talvoro.zrjni.ZRJniTime;
import org.junit.jupiter.api.DisplayName;
import org.junit.jupiter.api.Nested;
import org.junit.jupiter.api.Test;
import org.junit.jupiter.params.ParameterizedTest;
import org.junit.jupiter.params.provider.CsvSource;
import org.junit.jupiter.params.provider.EnumSource;
import org.junit.jupiter.params.provider.ValueSource;

@DisplayName("Statistics over an interval")
class StatisticsTest extends BridgeTest {
  private static final int TAG = -7;
  private static final ZRJniTime START = Times.of(-100, -1);
  private static final ZRJniTime END = Times.of(2000, 999);
  private static final float SHARE = 87.5f;
  private static final int REGION_SIZE = 20;

  private static Struct request(int type, float share) {
    return Struct.cleared(Layouts.STATISTICS_REQUEST)
        .set("nStatsType", type)
        .set("nTimeRegionNum", 1)
        .set("fPercentGood", share);
  }

  /** A region whose flags are these. */
  private static Struct region(int left, int right) {
    return Times.region(START, END).set("bLeftClosed", left).set("bRightClosed", right);
  }

  private static ExpectedCall calculate(Struct request, Struct region) {
    return call("st3_tag_stats_calc")
        .with("nTagID", TAG & 0xffff_ffffL)
        .with("pParam", request)
        .with("pParam.pTimeRegions", region);
  }

  /** The methods that compute one fixed statistic. */
  enum Method {
    MEAN(5, SHARE) {
      @Override
      int query(DoubleWrapper value) {
        return Jni_Zervane.getTagMean(TAG, START, END, 1, 1, SHARE, value);
      }
    },
    MAX(0, SHARE) {
      @Override
      int query(DoubleWrapper value) {
        return Jni_Zervane.getTagMax(TAG, START, END, SHARE, value);
      }
    },
    MIN(1, SHARE) {
      @Override
      int query(DoubleWrapper value) {
        return Jni_Zervane.getTagMin(TAG, START, END, SHARE, value);
      }
    },
    SUM(2, SHARE) {
      @Override
      int query(DoubleWrapper value) {
        return Jni_Zervane.getTagSum(TAG, START, END, SHARE, value);
      }
    },
    PERCENT_GOOD(4, 0) {
      @Override
      int query(DoubleWrapper value) {
        return Jni_Zervane.getTagPercentGood(TAG, START, END, value);
      }
    };

    private final int type;
    private final float share;

    Method(int type, float share) {
      this.type = type;
      this.share = share;
    }

    abstract int query(DoubleWrapper value);

    ExpectedCall expected() {
      return calculate(request(type, share), region(1, 1));
    }
  }

  @ParameterizedTest
  @EnumSource
  void deliversTheValueOfRawSamplesInOneRegion(Method method) {
    for (double value : new double[] {12.5, -0.0, Double.NEGATIVE_INFINITY, Double.NaN}) {
      answer("st3_tag_stats_calc", out("pValue", value));
      DoubleWrapper holder = Holders.ofDouble();
      assertEquals(0, method.query(holder));
      assertEquals(value, holder.Value);
      assertCalls(method.expected());
      assertAllocated(REGION_SIZE);
      AllocationProbe.reset();
    }
  }

  @ParameterizedTest
  @EnumSource
  void thatFailsLeavesTheHolderAsItWas(Method method) {
    answer("st3_tag_stats_calc", FAILURE, out("pValue", 12.5));
    DoubleWrapper holder = Holders.ofDouble();
    assertEquals(FAILURE, method.query(holder));
    assertEquals(Holders.BEFORE, holder.Value);
    assertCalls(method.expected());
  }

  @ParameterizedTest
  @CsvSource({"0, 0", "0, 1", "1, 0", "-5, 77"})
  void ofTheMeanIgnoresQualityAndWeightMode(int qualityMode, int weightMode) {
    answer("st3_tag_stats_calc", out("pValue", 2.5));
    DoubleWrapper holder = Holders.ofDouble();
    assertEquals(
        0, Jni_Zervane.getTagMean(TAG, START, END, qualityMode, weightMode, SHARE, holder));
    assertEquals(2.5, holder.Value);
    assertCalls(Method.MEAN.expected());
  }

  @Nested
  @DisplayName("of any kind")
  class OfAnyKind {
    private static final String FILTER = "value > 5" + Fields.BEYOND_ASCII;

    private static int query(String filter, int useBadValue, DoubleWrapper holder) {
      return Jni_Zervane.getTagStats(
          TAG, 26, START, END, -2, -30, -40, 1.25, -2.5, filter, -3, useBadValue, holder);
    }

    private static Struct anyRequest(String filter) {
      return request(26, 0)
          .set("nSampleType", -2)
          .set("nPeriod", -30)
          .set("nOffset", -40)
          .set("dExtParam1", 1.25)
          .set("dExtParam2", -2.5)
          .set("szFilterExpr", filter)
          .set("nFilterFailMode", -3);
    }

    private static ExpectedCall expected(Struct request) {
      return calculate(request, region(1, 0));
    }

    @Test
    void sendsEveryArgumentAndKeepsTheFilterAllocated() {
      answer("st3_tag_stats_calc", out("pValue", 12.5));
      DoubleWrapper holder = Holders.ofDouble();
      assertEquals(0, query(FILTER, 0, holder));
      assertEquals(12.5, holder.Value);
      assertCalls(expected(anyRequest(FILTER)));
      assertAllocated(textBuffer(FILTER), REGION_SIZE);
      assertLeft(textBuffer(FILTER));
    }

    @Test
    void thatFailsLeavesTheHolderAndKeepsTheFilterAllocated() {
      answer("st3_tag_stats_calc", FAILURE, out("pValue", 12.5));
      DoubleWrapper holder = Holders.ofDouble();
      assertEquals(FAILURE, query(FILTER, 0, holder));
      assertEquals(Holders.BEFORE, holder.Value);
      assertCalls(expected(anyRequest(FILTER)));
      assertLeft(textBuffer(FILTER));
    }

    @ParameterizedTest(name = "{0} is sent as {1}")
    @CsvSource({"0, 0", "1, 1", "5, 1", "256, 1", "-1, 1"})
    void usesBadValuesForAnyNumberButZero(int given, int sent) {
      query("", given, Holders.ofDouble());
      assertCalls(expected(anyRequest("").set("bUseBadValue", sent)));
      assertLeft(1);
    }

    @Test
    void sendsANullFilterEmpty() {
      query(null, 0, Holders.ofDouble());
      assertCalls(expected(anyRequest("")));
      assertLeft(1);
    }

    @Test
    void sendsAFilterThatFillsItsArrayWithoutATerminator() {
      String filter = "x".repeat(256);
      query(filter, 0, Holders.ofDouble());
      assertCalls(expected(anyRequest("").set("szFilterExpr", filter.getBytes())));
      assertLeft(textBuffer(filter));
    }

    @ParameterizedTest
    @ValueSource(ints = {284, 288, 296})
    void letsALongerFilterRunIntoTheMembersThatWereSetBefore(int end) {
      String filter = "x".repeat(end - 24);
      query(filter, 0, Holders.ofDouble());
      Struct overrun = anyRequest("").setBytes(24, filter.getBytes()).set("nFilterFailMode", -3);
      assertCalls(expected(overrun));
      assertLeft(textBuffer(filter));
    }
  }
}
