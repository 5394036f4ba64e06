/* Enumerations, column numbers, text capacities and status codes of the client API. Compiles as C11
 * and C++20.
 *
 * An enumeration travels in records and arguments as a 32-bit integer of the type named here, so
 * that a value outside the list is carried unchanged instead of being undefined. */
#ifndef ZERVANE_ZR3_ENUM_H
#define ZERVANE_ZR3_ENUM_H

#include "data_types.h"

/* ---- values and times ---- */

/* Type of a tag's values; it selects the slot of ZR3RecordValue that is meaningful. */
typedef int32 ZR3_TAG_TYPE;
enum {
  ZR3_TAG_TYPE_MIN = 0,
  ZR3_TAG_TYPE_INT8 = 0,
  ZR3_TAG_TYPE_INT16 = 1,
  ZR3_TAG_TYPE_INT32 = 2,
  ZR3_TAG_TYPE_FLOAT32 = 3,
  ZR3_TAG_TYPE_FLOAT64 = 4,
  ZR3_TAG_TYPE_DIGITAL = 5, /* state number of a digital set */
  ZR3_TAG_TYPE_STRING = 6,  /* up to 999 bytes and a terminator */
  ZR3_TAG_TYPE_BLOB = 7,    /* up to 1,000 bytes */
  ZR3_TAG_TYPE_MAX = 7
};

/* Quality: 16 bits in the OPC layout. Bits 7-6 tell good, uncertain or bad; the rest is carried
 * unchanged. */
enum {
  ZR3_QUALITY_BAD = 0,
  ZR3_QUALITY_UNCERTAIN = 64,
  ZR3_QUALITY_GOOD = 192,
  ZR3_QUALITY_MASK = 192 /* the two bits that decide */
};

/* How a value between two records is found. Passed as an unsigned 8-bit argument. */
typedef uint8 ZR3_REC_INTERP_QUERY_MODE;
enum {
  ZR3_REC_INTERP_QUERY_MODE_LINEAR = 0, /* linear between the neighbouring records */
  ZR3_REC_INTERP_QUERY_MODE_PREV = 1    /* the previous record's value */
};

/* ---- tags ---- */

typedef int32 ZR3_TAG_CLASS;
enum {
  ZR3_TAG_CLASS_BASIC = 0, /* point tag, fed from outside */
  ZR3_TAG_CLASS_ALARM = 1,
  ZR3_TAG_CLASS_STATS = 2,
  ZR3_TAG_CLASS_CALC = 3,
  ZR3_TAG_CLASS_SPC = 4, /* statistical process control */
  ZR3_TAG_CLASS_SYS = 5,
  ZR3_TAG_CLASS_ALL = 6 /* in searches: every class */
};

/* Compression of the archive. */
typedef int32 ZR3_COMP_TYPE;
enum {
  ZR3_COMP_TYPE_NO = 0,
  ZR3_COMP_TYPE_SDT = 1 /* swinging door */
};

typedef int32 ZR3_TAG_AVALIABLE;
enum { ZR3_TAG_AVALIABLE_NO = 0, ZR3_TAG_AVALIABLE_YES = 1 };

typedef int32 ZR3_TAG_OPC_STATE;
enum { ZR3_TAG_OPC_STATE_UNRELEASE = 0, ZR3_TAG_OPC_STATE_RELEASE = 1 };

/* Byte order of an instrument's raw value: the digits number its bytes as the instrument sends
 * them. */
typedef int32 ZR3_DATA_ORDER;
enum {
  ZR3_DATA_ORDER_NO = 0,
  ZR3_DATA_ORDER_12 = 1,
  ZR3_DATA_ORDER_21 = 2,
  ZR3_DATA_ORDER_1234 = 3,
  ZR3_DATA_ORDER_2143 = 4,
  ZR3_DATA_ORDER_3412 = 5,
  ZR3_DATA_ORDER_4321 = 6,
  ZR3_DATA_ORDER_12345678 = 7,
  ZR3_DATA_ORDER_21436587 = 8,
  ZR3_DATA_ORDER_34127856 = 9,
  ZR3_DATA_ORDER_43218765 = 10,
  ZR3_DATA_ORDER_56781234 = 11,
  ZR3_DATA_ORDER_65872143 = 12,
  ZR3_DATA_ORDER_78563412 = 13,
  ZR3_DATA_ORDER_87654321 = 14
};

/* Comparison of a search condition. */
typedef int32 ZR3_RELATION;
enum {
  ZR3_RELATION_MIN = 0,
  ZR3_RELATION_EQUAL = 0,
  ZR3_RELATION_NON_EQUAL = 1,
  ZR3_RELATION_GREAT = 2,
  ZR3_RELATION_LESS = 3,
  ZR3_RELATION_GREAT_EQUAL = 4,
  ZR3_RELATION_LESS_EQUAL = 5,
  ZR3_RELATION_LIKE =
      6, /* '*' any run, '?' any one character, '\' takes the next as it is; case is ignored */
  ZR3_RELATION_MAX = 6
};

/* Columns: the properties that masks and search conditions speak of. Bit i of ZR3Mask.nCommMask is
 * common column i; bit i of ZR3Mask.nExtMask is column (family minimum + i). */
enum {
  ZR3_TAG_COL_COMM_PROP_MIN = 0,
  ZR3_TAG_COL_COMM_PROP_TAG_NAME = 0,
  ZR3_TAG_COL_COMM_PROP_ARCHIVING = 1,
  ZR3_TAG_COL_COMM_PROP_CHANGE_DATE = 2,
  ZR3_TAG_COL_COMM_PROP_CHANGER = 3,
  ZR3_TAG_COL_COMM_PROP_COMP_DEV = 4,
  ZR3_TAG_COL_COMM_PROP_COMP_MAX_TIME = 5,
  ZR3_TAG_COL_COMM_PROP_COMP_TYPE = 6,
  ZR3_TAG_COL_COMM_PROP_CREATION_DATE = 7,
  ZR3_TAG_COL_COMM_PROP_CREATOR = 8,
  ZR3_TAG_COL_COMM_PROP_REC_ACCESS = 9,
  ZR3_TAG_COL_COMM_PROP_REC_NORMAL_GROUP = 10,
  ZR3_TAG_COL_COMM_PROP_REC_OWNER_GROUP = 11,
  ZR3_TAG_COL_COMM_PROP_DESCRIPTOR = 12,
  ZR3_TAG_COL_COMM_PROP_DIGITAL_SET = 13,
  ZR3_TAG_COL_COMM_PROP_ENG_UNITS = 14,
  ZR3_TAG_COL_COMM_PROP_EXC_MAX_TIME = 15,
  ZR3_TAG_COL_COMM_PROP_EXC_DEV = 16,
  ZR3_TAG_COL_COMM_PROP_TAGID = 17,
  ZR3_TAG_COL_COMM_PROP_TAG_TYPE = 18,
  ZR3_TAG_COL_COMM_PROP_TAG_ACCESS = 19,
  ZR3_TAG_COL_COMM_PROP_TAG_NORMAL_GROUP = 20,
  ZR3_TAG_COL_COMM_PROP_TAG_OWNER_GROUP = 21,
  ZR3_TAG_COL_COMM_PROP_SCAN = 22,
  ZR3_TAG_COL_COMM_PROP_SPAN = 23,
  ZR3_TAG_COL_COMM_PROP_MIN_VALUE = 24,
  ZR3_TAG_COL_COMM_PROP_TAG_CLASS = 25,
  ZR3_TAG_COL_COMM_PROP_TAG_AVALIABLE = 26,
  ZR3_TAG_COL_COMM_PROP_PARAM1 = 27,
  ZR3_TAG_COL_COMM_PROP_PARAM2 = 28,
  ZR3_TAG_COL_COMM_PROP_PARAM3 = 29,
  ZR3_TAG_COL_COMM_PROP_PARAM4 = 30,
  ZR3_TAG_COL_COMM_PROP_PARAM5 = 31,
  ZR3_TAG_COL_COMM_PROP_OPCREALSE = 32,
  ZR3_TAG_COL_COMM_PROP_IMV_STRING = 33,
  ZR3_TAG_COL_COMM_PROP_EXT_STRING1 = 34,
  ZR3_TAG_COL_COMM_PROP_EXT_STRING2 = 35,
  ZR3_TAG_COL_COMM_PROP_MAX = 35,

  /* point tags */
  ZR3_TAG_COL_PT_EXT_PROP_MIN = 100,
  ZR3_TAG_COL_PT_EXT_PROP_INSTRUMENT_ADDRESS = 100,
  ZR3_TAG_COL_PT_EXT_PROP_INSTRUMENT_ADDRESS_TYPE = 101,
  ZR3_TAG_COL_PT_EXT_PROP_COLLECTOR_NAME = 102,
  ZR3_TAG_COL_PT_EXT_PROP_COLLECTOR_ID = 103,
  ZR3_TAG_COL_PT_EXT_PROP_DEVICE_NAME = 104,
  ZR3_TAG_COL_PT_EXT_PROP_DEVICE_ID = 105,
  ZR3_TAG_COL_PT_EXT_PROP_SCAN_GROUP_NAME = 106,
  ZR3_TAG_COL_PT_EXT_PROP_SCAN_GROUP_ID = 107,
  ZR3_TAG_COL_PT_EXT_PROP_DATA_ORDER = 108,
  ZR3_TAG_COL_PT_EXT_PROP_MAX = 108,

  /* alarm tags */
  ZR3_TAG_COL_AM_EXT_PROP_MIN = 200,
  ZR3_TAG_COL_AM_EXT_PROP_TEST1 = 200,
  ZR3_TAG_COL_AM_EXT_PROP_TEST2 = 201,
  ZR3_TAG_COL_AM_EXT_PROP_TEST3 = 202,
  ZR3_TAG_COL_AM_EXT_PROP_TEST4 = 203,
  ZR3_TAG_COL_AM_EXT_PROP_ACTION1 = 204,
  ZR3_TAG_COL_AM_EXT_PROP_ACTION2 = 205,
  ZR3_TAG_COL_AM_EXT_PROP_ACTION3 = 206,
  ZR3_TAG_COL_AM_EXT_PROP_ACTION4 = 207,
  ZR3_TAG_COL_AM_EXT_PROP_SOURCE_TAG = 208,
  ZR3_TAG_COL_AM_EXT_PROP_ALARM_GROUP_ID = 209,
  ZR3_TAG_COL_AM_EXT_PROP_AUTOACK = 210,
  ZR3_TAG_COL_AM_EXT_PROP_TIME_DEADBAND = 211,
  ZR3_TAG_COL_AM_EXT_PROP_VALUE_DEADBAND = 212,
  ZR3_TAG_COL_AM_EXT_PROP_MAX = 212,

  /* statistical process control tags */
  ZR3_TAG_COL_SPC_EXT_PROP_MIN = 300,

  /* statistics tags */
  ZR3_TAG_COL_ST_EXT_PROP_MIN = 400,
  ZR3_TAG_COL_ST_EXT_PROP_SOURCE_TAG_NAME = 400,
  ZR3_TAG_COL_ST_EXT_PROP_STATS_TYPE = 401,
  ZR3_TAG_COL_ST_EXT_PROP_SAMPLE_START_DATE = 402,
  ZR3_TAG_COL_ST_EXT_PROP_SAMPLE_MODE = 403,
  ZR3_TAG_COL_ST_EXT_PROP_SAMPLE_INTERVAL = 404,
  ZR3_TAG_COL_ST_EXT_PROP_SAMPLE_BEGIN_OFFSET = 405,
  ZR3_TAG_COL_ST_EXT_PROP_SAMPLE_END_OFFSET = 406,
  ZR3_TAG_COL_ST_EXT_PROP_SAMPLE_MONTH_BEGIN_DAY = 407,
  ZR3_TAG_COL_ST_EXT_PROP_SAMPLE_MONTH_END_DAY = 408,
  ZR3_TAG_COL_ST_EXT_PROP_BEGIN_TIMESTAMP = 409,
  ZR3_TAG_COL_ST_EXT_PROP_TIMESTAMP_OFFSET = 410,
  ZR3_TAG_COL_ST_EXT_PROP_SCAN_PERIOD = 411,
  ZR3_TAG_COL_ST_EXT_PROP_PCT_GOOD = 412,
  ZR3_TAG_COL_ST_EXT_PROP_FILTER_EXPR = 413,
  ZR3_TAG_COL_ST_EXT_PROP_DROP_BAD_MODE = 414,
  ZR3_TAG_COL_ST_EXT_PROP_COUNT_PARAM1 = 415,
  ZR3_TAG_COL_ST_EXT_PROP_COUNT_PARAM2 = 416,
  ZR3_TAG_COL_ST_EXT_PROP_SAMPLE_TYPE = 417,
  ZR3_TAG_COL_ST_EXT_PROP_INTERP_OFFSET = 418,
  ZR3_TAG_COL_ST_EXT_PROP_INTERP_PERIOD = 419,
  ZR3_TAG_COL_ST_EXT_PROP_CONVER_TYPE = 420,
  ZR3_TAG_COL_ST_EXT_PROP_CONVERSION = 421,
  ZR3_TAG_COL_ST_EXT_PROP_FILTER_FAIL_MODE = 422,
  ZR3_TAG_COL_ST_EXT_PROP_CALC_PERIOD = 423,
  ZR3_TAG_COL_ST_EXT_PROP_RESET = 424,
  ZR3_TAG_COL_ST_EXT_PROP_USE_BAD_VALUE = 425,
  ZR3_TAG_COL_ST_EXT_PROP_MAX = 425,

  /* calculation tags */
  ZR3_TAG_COL_CA_EXT_PROP_MIN = 500,
  ZR3_TAG_COL_CA_EXT_PROP_CALC_MODE = 500,
  ZR3_TAG_COL_CA_EXT_PROP_CALC_PERIOD = 501,
  ZR3_TAG_COL_CA_EXT_PROP_CALC_EXPR = 502,
  ZR3_TAG_COL_CA_EXT_PROP_CALC_HISTORY = 503,
  ZR3_TAG_COL_CA_EXT_PROP_CALC_START_DATE = 504,
  ZR3_TAG_COL_CA_EXT_PROP_CALC_END_DATE = 505,
  ZR3_TAG_COL_CA_EXT_PROP_HAVE_END_TIME = 506,
  ZR3_TAG_COL_CA_EXT_PROP_SRC_TAG_NAME = 507,
  ZR3_TAG_COL_CA_EXT_PROP_MAX = 507
};

/* ---- statistics ---- */

typedef int32 ZR3_STATS_TYPE;
enum {
  ZR3_STATS_TYPE_LIMIT_MIN = 0,
  ZR3_STATS_TYPE_MAX =
      0, /* maximum; the bounds of this enumeration are _LIMIT_MIN and _LIMIT_MAX */
  ZR3_STATS_TYPE_MIN = 1,
  ZR3_STATS_TYPE_SUM = 2,
  ZR3_STATS_TYPE_LAST = 3,
  ZR3_STATS_TYPE_PCT_GOOD = 4,
  ZR3_STATS_TYPE_ARITH_MEAN = 5,
  ZR3_STATS_TYPE_TIME_WEIGHTED_MEAN = 6,
  ZR3_STATS_TYPE_INTEGRAL = 7,
  ZR3_STATS_TYPE_COUNT_CHG_VALUE = 8,
  ZR3_STATS_TYPE_COUNT_CHG_FROM_LESS_TO_GREAT = 9,
  ZR3_STATS_TYPE_COUNT_CHG_FROM_GREAT_TO_LESS = 10,
  ZR3_STATS_TYPE_DIFF = 11,
  ZR3_STATS_TYPE_COUNT_IN_RANGE = 12,
  ZR3_STATS_TYPE_COUNT_NOT_IN_RANGE = 13,
  ZR3_STATS_TYPE_RANGE = 14,
  ZR3_STATS_TYPE_STANDARD_DEVIATION = 15,
  ZR3_STATS_TYPE_TIME_GT = 16,
  ZR3_STATS_TYPE_TIME_GE = 17,
  ZR3_STATS_TYPE_TIME_EQ = 18,
  ZR3_STATS_TYPE_TIME_NE = 19,
  ZR3_STATS_TYPE_TIME_LT = 20,
  ZR3_STATS_TYPE_TIME_LE = 21,
  ZR3_STATS_TYPE_TIME_IN_RANGE = 22,
  ZR3_STATS_TYPE_TIME_NOT_IN_RANGE = 23,
  ZR3_STATS_TYPE_COUNT = 24,
  ZR3_STATS_TYPE_TIME_DURATION = 25,
  ZR3_STATS_TYPE_LIMIT_MAX = 25
};

/* How the samples of a statistic are taken. */
typedef int32 ZR3_STATS_SAMPLE_TYPE;
enum {
  ZR3_STATS_SAMPLE_TYPE_RAW = 0,
  ZR3_STATS_SAMPLE_TYPE_LINER_INTERP = 1,
  ZR3_STATS_SAMPLE_TYPE_PREV_INTERP = 2
};

/* What becomes of a sample whose filter cannot be evaluated: filtered out, or kept. */
typedef int32 ZR3_STATS_FILTER_FAIL_MODE;
enum { ZR3_STATS_FILTER_FAIL_MODE_FIL = 0, ZR3_STATS_FILTER_FAIL_MODE_NO_FIL = 1 };

/* The window of a statistics tag. */
typedef int32 ZR3_STATS_SAMPLE_MODE;
enum {
  ZR3_STATS_SAMPLE_MODE_INTERVAL = 0,
  ZR3_STATS_SAMPLE_MODE_EVERY_DAY = 1,
  ZR3_STATS_SAMPLE_MODE_EVERY_MONTH = 2,
  ZR3_STATS_SAMPLE_MODE_TIME_MOVING = 3,
  ZR3_STATS_SAMPLE_MODE_FOREVER = 4
};

/* Whether a statistics tag's result is multiplied or divided by its conversion factor. */
typedef int32 ZR3_STATS_CONVERSION_TYPE;
enum { ZR3_STATS_CONVERSION_TYPE_AMPLIFICATION = 0, ZR3_STATS_CONVERSION_TYPE_MINIFICATION = 1 };

/* What a bad value removes from a statistic: the record alone, or the area up to the next one. */
typedef int32 ZR3_STATS_DROP_BAD_MODE;
enum { ZR3_STATS_DROP_BAD_MODE_REC = 0, ZR3_STATS_DROP_BAD_MODE_AREA = 1 };

/* ---- calculation tags ---- */

typedef int32 ZR3_CALC_MODE;
enum {
  ZR3_CALC_MODE_POLL = 0,  /* every period */
  ZR3_CALC_MODE_NOTIFY = 1 /* when an input changes */
};

/* ---- alarms ---- */

typedef int32 ZR3_AM_ACK_TYPE;
enum {
  ZR3_AM_ACK_TYPE_MIN = 0,
  ZR3_AM_ACK_TYPE_MANUAL = 0,
  ZR3_AM_ACK_TYPE_AUTO = 1,
  ZR3_AM_ACK_TYPE_MAX = 1
};

typedef int32 ZR3_AM_REC_ACK_STATE;
enum {
  ZR3_AM_REC_ACK_STATE_MIN = 0,
  ZR3_AM_REC_ACK_STATE_NO = 0,
  ZR3_AM_REC_ACK_STATE_YES = 1,
  ZR3_AM_REC_ACK_STATE_MAX = 1
};

typedef int32 ZR3_AM_REC_RESTORE_STATE;
enum {
  ZR3_AM_REC_RESTORE_STATE_MIN = 0,
  ZR3_AM_REC_RESTORE_STATE_NO = 0,
  ZR3_AM_REC_RESTORE_STATE_YES = 1,
  ZR3_AM_REC_RESTORE_STATE_MAX = 1
};

typedef int32 ZR3_AM_REC_PRIORITY;
enum {
  ZR3_AM_REC_PRIORITY_MIN = 1,
  ZR3_AM_REC_PRIORITY_FIRST = 1,
  ZR3_AM_REC_PRIORITY_SECOND = 2,
  ZR3_AM_REC_PRIORITY_THIRD = 3,
  ZR3_AM_REC_PRIORITY_FORTH = 4,
  ZR3_AM_REC_PRIORITY_MAX = 4
};

typedef int32 ZR3_AM_REC_TYPE;
enum {
  ZR3_AM_REC_TYPE_MIN = 1,
  ZR3_AM_REC_TYPE_LOLO = 1,
  ZR3_AM_REC_TYPE_LOW = 2,
  ZR3_AM_REC_TYPE_HIHI = 3,
  ZR3_AM_REC_TYPE_HIGH = 4,
  ZR3_AM_REC_TYPE_CHANGE = 5,
  ZR3_AM_REC_TYPE_MAX = 5
};

/* ---- connection ---- */

enum { ZR3_NET_GOOD = 0, ZR3_NET_BAD = 1 };

/* ---- text capacities of records, terminator included ---- */

enum {
  ZR3_LEN_ADDRESS = 512,
  ZR3_LEN_TAG_NAME = 256,
  ZR3_LEN_NAME = 64, /* users, groups, units, digital sets */
  ZR3_LEN_DESCRIPTOR = 2048,
  ZR3_LEN_EXT_STRING = 1024,
  ZR3_LEN_INSTRUMENT_ADDRESS = 512,
  ZR3_LEN_COLLECTION_NAME = 128, /* collectors, devices, scan groups */
  ZR3_LEN_FILTER_VALUE = 256,
  ZR3_LEN_EXPRESSION = 256, /* alarm tests and actions, filters */
  ZR3_LEN_CALC_EXPR = 512,
  ZR3_LEN_ALARM_COMMENT = 256,        /* a comment as it is sent */
  ZR3_LEN_ALARM_RECORD_COMMENT = 512, /* a comment in an alarm record */
  ZR3_LEN_ALARM_SRC_VALUE = 2000,
  ZR3_LEN_PASSWORD = 128,
  ZR3_LEN_DESC = 128, /* users, user groups, authority items */
  ZR3_LEN_RELAY_TEXT = 64,
  ZR3_LEN_VALUE = 1000 /* a STRING with its terminator, or a BLOB */
};

/* ---- status codes ---- */

/* Every status the client API answers: name, number, meaning. The only place where they stand; the
 * enumeration, the text function and the tables of the documentation are made from it. -1 is never
 * among them: it belongs to the bridge. */
#define ZR3_STATUS_LIST(X)                                                                         \
  X(ZR3_OK, 0, "success")                                                                          \
  /* 110xxx: client and session */                                                                 \
  X(ZR3_ERR_NOT_CONNECTED, 110100, "not connected to a database")                                  \
  X(ZR3_ERR_ALREADY_CONNECTED, 110101, "already connected to another database")                    \
  X(ZR3_ERR_CONNECT_FAILED, 110102, "neither the primary nor the standby server can be reached")   \
  X(ZR3_ERR_INVALID_ADDRESS, 110103, "the address cannot be understood, or did not convert")       \
  X(ZR3_ERR_NULL_ARGUMENT, 110110, "a pointer that must be given is null")                         \
  X(ZR3_ERR_INVALID_COUNT, 110111, "the count is negative or beyond its bound")                    \
  X(ZR3_ERR_INVALID_TEXT, 110112, "a text did not convert, or does not end in its array")          \
  X(ZR3_ERR_INVALID_ARGUMENT, 110113, "an argument is outside its range")                          \
  X(ZR3_ERR_NOT_SUPPORTED, 110114, "this library does not offer the operation")                    \
  X(ZR3_ERR_UNKNOWN_COMMAND, 110115, "the command is not known")                                   \
  X(ZR3_ERR_OUT_OF_MEMORY, 110120, "out of memory")                                                \
  X(ZR3_ERR_INTERNAL, 110121, "internal fault; the log has its cause")                             \
  X(ZR3_ERR_DATABASE_IN_USE, 110130, "another process has the database open")                      \
  X(ZR3_ERR_DATABASE_VERSION, 110131, "the database file has a layout of a later version")         \
  X(ZR3_ERR_NOT_A_DATABASE, 110132, "the file is not a database of this system")                   \
  X(ZR3_ERR_STORAGE_READ_ONLY, 110133, "the database folder or file cannot be written")            \
  X(ZR3_ERR_STORAGE_FULL, 110134, "no space left for the database")                                \
  X(ZR3_ERR_STORAGE_FAILED, 110135, "the database file cannot be read or written")                 \
  X(ZR3_ERR_STORAGE_DAMAGED, 110136, "a part of the database file is damaged")                     \
  X(ZR3_ERR_INVALID_HANDLE, 110191, "the handle is zero, stale or of another kind")                \
  X(ZR3_ERR_END_OF_ITERATION, 110192, "the iterator has no further item")                          \
  /* 117xxx: tags and catalogue */                                                                 \
  X(ZR3_ERR_TAG_NOT_FOUND, 117801, "no tag has this identifier")                                   \
  X(ZR3_ERR_NAME_NOT_FOUND, 117802, "no tag has this name")                                        \
  X(ZR3_ERR_SOME_NAMES_FAILED, 117803, "some names are unknown; the per-name codes tell which")    \
  X(ZR3_ERR_TAG_EXISTS, 117804, "a tag of this name exists")                                       \
  X(ZR3_ERR_INVALID_TAG_NAME, 117805, "a tag name has 1 to 255 bytes and no control characters")   \
  X(ZR3_ERR_INVALID_TAG_TYPE, 117806, "not a tag type")                                            \
  X(ZR3_ERR_INVALID_TAG_CLASS, 117807, "not a tag class, or not the class that is meant")          \
  X(ZR3_ERR_INVALID_PROPERTY, 117808, "a property's value is outside its range")                   \
  X(ZR3_ERR_INVALID_MASK, 117809, "the mask has a bit for which there is no property")             \
  X(ZR3_ERR_TAG_HAS_RECORDS, 117810, "type and class are fixed once the tag holds records")        \
  X(ZR3_ERR_TAG_IDS_EXHAUSTED, 117811, "no tag identifier is left")                                \
  X(ZR3_ERR_GROUP_NOT_FOUND, 117820, "no alarm group has this identifier or name")                 \
  X(ZR3_ERR_GROUP_EXISTS, 117821, "a group of this name exists under the same parent")             \
  X(ZR3_ERR_GROUP_NOT_EMPTY, 117822, "the group has groups or alarm tags under it")                \
  X(ZR3_ERR_INVALID_GROUP_NAME, 117823, "a group name is as a tag name is")                        \
  /* 119xxx: records, statistics and alarms */                                                     \
  X(ZR3_ERR_INVALID_TIME, 119601, "milliseconds are outside 0 to 999")                             \
  X(ZR3_ERR_INVALID_REGION, 119602, "regions are none, reversed, empty or overlapping")            \
  X(ZR3_ERR_NO_RECORD, 119603, "the tag has no record there")                                      \
  X(ZR3_ERR_TYPE_MISMATCH, 119604, "the record's type is not the tag's")                           \
  X(ZR3_ERR_OUT_OF_ORDER, 119605, "the record is older than the current value")                    \
  X(ZR3_ERR_VALUE_TOO_LONG, 119606, "a STRING has up to 999 bytes, a BLOB up to 1,000")            \
  X(ZR3_ERR_BUFFER_TOO_SMALL, 119607, "the value does not fit the caller's buffer")                \
  X(ZR3_ERR_INVALID_EXPRESSION, 119608, "the expression does not parse; the log says where")       \
  X(ZR3_ERR_TOO_FEW_GOOD, 119609, "the share of good data is below the one asked for")             \
  X(ZR3_ERR_SOME_RECORDS_FAILED, 119610, "some records failed, the others were carried out")       \
  X(ZR3_ERR_SOME_INSTANTS_FAILED, 119611, "some instants failed; the per-instant codes tell why")  \
  X(ZR3_ERR_INVALID_ALARM_TEST, 119620, "an alarm test or action does not parse; the log has it")  \
  X(ZR3_ERR_NO_ALARM, 119621, "the tag has no alarm record of this time, or none at all")          \
  X(ZR3_ERR_ALREADY_ACKNOWLEDGED, 119622, "the alarm was acknowledged before")                     \
  X(ZR3_ERR_SOME_ALARMS_FAILED, 119624, "some alarms failed; the per-alarm codes tell why")        \
  /* 121xxx: security */                                                                           \
  X(ZR3_ERR_NO_RIGHT, 121601, "the user has no right to do this")                                  \
  X(ZR3_ERR_LOGIN_FAILED, 121602, "no such user, or another password")                             \
  X(ZR3_ERR_USER_NOT_FOUND, 121603, "no user has this name")                                       \
  X(ZR3_ERR_USER_EXISTS, 121604, "a user of this name exists")                                     \
  X(ZR3_ERR_USER_GROUP_NOT_FOUND, 121605, "no user group has this name")                           \
  X(ZR3_ERR_USER_GROUP_EXISTS, 121606, "a user group of this name exists")                         \
  X(ZR3_ERR_INVALID_USER_NAME, 121607, "1 to 63 bytes without control characters name a user")     \
  X(ZR3_ERR_INVALID_PASSWORD, 121608, "a password has 1 to 127 bytes")                             \
  X(ZR3_ERR_MEMBER_EXISTS, 121609, "the user is in the group already")                             \
  X(ZR3_ERR_NOT_A_MEMBER, 121610, "the user is not in the group")                                  \
  X(ZR3_ERR_BUILT_IN, 121611, "what the database comes with cannot be deleted")                    \
  X(ZR3_ERR_LAST_ADMINISTRATOR, 121612, "the last administrator cannot be removed")                \
  X(ZR3_ERR_AUTH_ITEM_NOT_FOUND, 121613, "no authority item has this name")                        \
  /* 123xxx: relay */                                                                              \
  X(ZR3_ERR_INVALID_RELAY, 123601, "a port or number among the relay's settings is none")          \
  /* 125xxx: derived tags */                                                                       \
  X(ZR3_ERR_CALCULATION_LOOP, 125601, "sources and operands form a loop; the log names it")

typedef int32 ZR3_STATUS;
enum {
#define ZR3_STATUS_ENUMERATOR(name, number, text) name = number,
  ZR3_STATUS_LIST(ZR3_STATUS_ENUMERATOR)
#undef ZR3_STATUS_ENUMERATOR
};

/* The one-line meaning of a status, in English; "unknown status" for a number that is not in the
 * list. The text is a constant. Threads: any. */
static inline const char* zr3_status_text(ZR3_STATUS status) {
  switch (status) {
#define ZR3_STATUS_CASE(name, number, text) \
  case number:                              \
    return text;
    ZR3_STATUS_LIST(ZR3_STATUS_CASE)
#undef ZR3_STATUS_CASE
    default:
      return "unknown status";
  }
}

#endif
