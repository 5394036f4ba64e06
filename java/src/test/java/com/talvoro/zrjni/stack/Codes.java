package com.talvoro.zrjni.stack;

/** The status codes that the tests expect, named as in the client API. */
final class Codes {
  static final int OK = 0;
  static final int NOT_CONNECTED = 110100;
  static final int ALREADY_CONNECTED = 110101;
  static final int CONNECT_FAILED = 110102;
  static final int INVALID_ADDRESS = 110103;
  static final int INVALID_COUNT = 110111;
  static final int INVALID_TEXT = 110112;
  static final int INVALID_ARGUMENT = 110113;
  static final int OUT_OF_MEMORY = 110120;
  static final int DATABASE_IN_USE = 110130;
  static final int STORAGE_FAILED = 110135;
  static final int INVALID_HANDLE = 110191;
  static final int END_OF_ITERATION = 110192;
  static final int TAG_NOT_FOUND = 117801;
  static final int NAME_NOT_FOUND = 117802;
  static final int SOME_NAMES_FAILED = 117803;
  static final int TAG_EXISTS = 117804;
  static final int INVALID_TAG_NAME = 117805;
  static final int INVALID_TAG_TYPE = 117806;
  static final int INVALID_TAG_CLASS = 117807;
  static final int INVALID_PROPERTY = 117808;
  static final int INVALID_MASK = 117809;
  static final int TAG_HAS_RECORDS = 117810;
  static final int GROUP_NOT_FOUND = 117820;
  static final int GROUP_EXISTS = 117821;
  static final int GROUP_NOT_EMPTY = 117822;
  static final int INVALID_GROUP_NAME = 117823;
  static final int INVALID_TIME = 119601;
  static final int INVALID_REGION = 119602;
  static final int NO_RECORD = 119603;
  static final int TYPE_MISMATCH = 119604;
  static final int OUT_OF_ORDER = 119605;
  static final int VALUE_TOO_LONG = 119606;
  static final int BUFFER_TOO_SMALL = 119607;
  static final int INVALID_EXPRESSION = 119608;
  static final int TOO_FEW_GOOD = 119609;
  static final int SOME_RECORDS_FAILED = 119610;
  static final int SOME_INSTANTS_FAILED = 119611;
  static final int INVALID_ALARM_TEST = 119620;
  static final int NO_ALARM = 119621;
  static final int ALREADY_ACKNOWLEDGED = 119622;
  static final int SOME_ALARMS_FAILED = 119624;
  static final int NO_RIGHT = 121601;
  static final int LOGIN_FAILED = 121602;
  static final int USER_NOT_FOUND = 121603;
  static final int USER_EXISTS = 121604;
  static final int USER_GROUP_NOT_FOUND = 121605;
  static final int USER_GROUP_EXISTS = 121606;
  static final int INVALID_USER_NAME = 121607;
  static final int INVALID_PASSWORD = 121608;
  static final int MEMBER_EXISTS = 121609;
  static final int NOT_A_MEMBER = 121610;
  static final int BUILT_IN = 121611;
  static final int LAST_ADMINISTRATOR = 121612;
  static final int AUTH_ITEM_NOT_FOUND = 121613;
  static final int INVALID_RELAY = 123601;
  static final int CALCULATION_LOOP = 125601;

  private Codes() {}
}
