package com.talvoro.zrjni;

/**
 * The properties of a statistics tag, mirroring {@code ZR3StatsTagProp}.
 *
 * <p>Reading a statistics tag leaves {@link #m_tagClass} as it was.
 */
public class ZRJniStatsTag extends CommonTagProperties {
  /** Name of the source tag, up to 255 bytes in the system encoding. */
  public String m_sourceTagName;

  /** Statistic, 0 to 25, as for {@link Jni_Zervane#getTagStats}. */
  public byte m_statsType;

  /** Start of sampling, in seconds since 1970 UTC. */
  public int m_sampleStartDate;

  /** Window: 0 interval, 1 every day, 2 every month, 3 moving, 4 forever. */
  public byte m_sampleMode;

  /** Length of a window, in seconds. */
  public int m_sampleInterval;

  /** Offset of the window's begin, in seconds. */
  public int m_sampleBeginOffset;

  /** Offset of the window's end, in seconds. */
  public int m_sampleEndOffset;

  /** Day of the month at which a monthly window begins. */
  public byte m_sampleMonthBeginDay;

  /** Day of the month at which a monthly window ends. */
  public byte m_sampleMonthEndDay;

  /** Whether a result is stamped at the window's begin instead of its end. */
  public boolean m_beginTimeStamp;

  /** Offset added to the result's time, in seconds. */
  public int m_timeStampOffset;

  /** Period at which windows are looked at, in seconds. */
  public int m_scanPeriod;

  /** Least share of good values for a good result, in percent. */
  public float m_pctGood;

  /** Filter expression, up to 255 bytes in the system encoding; empty for none. */
  public String m_filterExpr;

  /** What a bad value removes: 0 the record alone, 1 the area up to the next one. */
  public byte m_dropBadMode;

  /** First parameter of the statistic. */
  public double m_countParam1;

  /** Second parameter of the statistic. */
  public double m_countParam2;

  /** Samples: 0 raw records, 1 linear interpolation, 2 previous value. */
  public byte m_sampleType;

  /** Offset of interpolated samples, in seconds. */
  public int m_interpOffset;

  /** Period of interpolated samples, in seconds. */
  public int m_interpPeriod;

  /** Conversion of the result: 0 multiplied, 1 divided by the factor. */
  public byte m_conversionType;

  /** Conversion factor. */
  public double m_conversion;

  /** A sample whose filter fails: 0 filtered out, 1 kept. */
  public byte m_filterFailMode;

  /** Calculation period, in seconds. */
  public int m_calcPeriod;

  /** Whether the statistic starts afresh. */
  public boolean m_reset;

  /** Whether bad values count. */
  public boolean m_useBadValue;
}
