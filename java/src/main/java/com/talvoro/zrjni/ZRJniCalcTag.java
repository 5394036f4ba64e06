package com.talvoro.zrjni;

/**
 * The properties of a calculation tag, mirroring {@code ZR3CalcTagProp}.
 *
 * <p>Reading a calculation tag leaves {@link #m_tagClass} as it was.
 */
public class ZRJniCalcTag extends CommonTagProperties {
  /** Calculation mode: 0 every period, 1 when an input changes. */
  public byte m_calcMode;

  /** Period, in seconds. */
  public int m_calcPeriod;

  /** Expression, up to 511 bytes in the system encoding. */
  public String m_calcExpr;

  /** Whether past time is computed as well. */
  public boolean m_calcHistory;

  /** Start of the past time to compute, in seconds since 1970 UTC. */
  public int m_calcStartDate;

  /** End of the past time to compute, in seconds since 1970 UTC. */
  public int m_calcEndDate;

  /** Whether the end date counts. */
  public boolean m_haveEndTime;

  /** Name of the source tag, up to 255 bytes in the system encoding. */
  public String m_sourceTagName;
}
