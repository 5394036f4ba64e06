package com.talvoro.zrjni.stack;

/** Bits of the masks that select tag properties. */
final class Columns {
  static final long ALL = -1;
  static final long NONE = 0;

  static final long NAME = 1L << 0;
  static final long ARCHIVING = 1L << 1;
  static final long CREATION_DATE = 1L << 7;
  static final long DESCRIPTOR = 1L << 12;
  static final long ENG_UNITS = 1L << 14;
  static final long EXC_MAX_TIME = 1L << 15;
  static final long EXC_DEV = 1L << 16;
  static final long TYPE = 1L << 18;
  static final long SPAN = 1L << 23;
  static final long CLASS = 1L << 25;
  static final long FIRST_UNKNOWN_COMMON = 1L << 36;

  static final long DEVICE_NAME = 1L << 4;
  static final long FIRST_UNKNOWN_POINT = 1L << 9;

  static final long TEST1 = 1L << 0;
  static final long TEST2 = 1L << 1;
  static final long ACTION1 = 1L << 4;
  static final long SOURCE_TAG = 1L << 8;
  static final long ALARM_GROUP = 1L << 9;
  static final long AUTO_ACK = 1L << 10;
  static final long TIME_DEAD_BAND = 1L << 11;
  static final long VALUE_DEAD_BAND = 1L << 12;
  static final long FIRST_UNKNOWN_ALARM = 1L << 13;

  private Columns() {}
}
