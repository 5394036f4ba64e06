package com.talvoro.zrjni;

/** The common properties of a tag of any class, mirroring {@code ZR3CommTagProp}. */
public class ZRJniCommTagProp extends CommonTagProperties {
  /** Free parameter 1, an unsigned 8-bit number. */
  public byte m_param1;

  /** Free parameter 2, an unsigned 8-bit number. */
  public byte m_param2;

  /** Free parameter 3, an unsigned 8-bit number. */
  public byte m_param3;

  /** Free parameter 4, an unsigned 8-bit number. */
  public byte m_param4;

  /** Free parameter 5, an unsigned 8-bit number. */
  public byte m_param5;
}
