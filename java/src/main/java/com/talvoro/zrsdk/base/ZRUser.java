package com.talvoro.zrsdk.base;

/** A user, mirroring {@code ZR3SecUser}. */
public class ZRUser {
  /** Name, up to 63 bytes in the system encoding. */
  public String userName;

  /** Password; lists never carry one. */
  public String userPwd;

  /** Description, up to 127 bytes in the system encoding. */
  public String userDesc;
}
