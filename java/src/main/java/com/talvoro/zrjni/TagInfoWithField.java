package com.talvoro.zrjni;

/** A pair of tag and field for relay subscriptions, mirroring {@code ZRRegInfo}. */
public class TagInfoWithField {
  /** Tag identifier. */
  public int m_nTagID;

  /** Field identifier. */
  public int m_nFieldID;
}
