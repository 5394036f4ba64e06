package com.talvoro.zrsdk.base;

/** A group of users, mirroring {@code ZR3SecGroup}. */
public class ZRGroup {
  /** Name, up to 63 bytes in the system encoding. */
  public String groupName;

  /** Description, up to 127 bytes in the system encoding. */
  public String groupDesc;
}
