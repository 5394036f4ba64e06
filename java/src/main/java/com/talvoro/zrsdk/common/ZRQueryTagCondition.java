package com.talvoro.zrsdk.common;

/** One condition of a tag search, mirroring {@code ZR3FilterItem}. */
public class ZRQueryTagCondition {
  /** Column that is compared, read as an unsigned 8-bit number. */
  public byte tagPropID;

  /** Relation: 0 equal, 1 not equal, 2 greater, 3 less, 4 at least, 5 at most, 6 like. */
  public byte queryRelation;

  /** Value that is compared against, as text of up to 255 bytes in the system encoding. */
  public String queryValue;
}
