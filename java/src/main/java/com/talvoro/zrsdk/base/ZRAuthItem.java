package com.talvoro.zrsdk.base;

/** An authority item, mirroring {@code ZR3SecAuthItem} without its level. */
public class ZRAuthItem {
  /** Name, up to 63 bytes in the system encoding. */
  public String authItemName;

  /** Description, up to 127 bytes in the system encoding. */
  public String authItemDesc;
}
