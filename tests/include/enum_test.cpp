#include <gtest/gtest.h>

#include "tests/support/case_name.h"
#include "zr3Enum.h"

namespace zervane {
namespace {

// The numbers that callers were compiled with: the ends of every enumeration and column family, and
// what stands right after a gap or an alias.
struct NumberCase {
  const char* name;
  int32 number;
  int32 expected;
};

class Number : public testing::TestWithParam<NumberCase> {};

TEST_P(Number, IsWhatCallersWereCompiledWith) { EXPECT_EQ(GetParam().number, GetParam().expected); }

#define ZR_NUMBER(name, expected) \
  NumberCase { #name, name, expected }

INSTANTIATE_TEST_SUITE_P(
    Enumerations, Number,
    testing::Values(
        ZR_NUMBER(ZR3_TAG_TYPE_BLOB, 7), ZR_NUMBER(ZR3_TAG_TYPE_DIGITAL, 5),
        ZR_NUMBER(ZR3_TAG_CLASS_CALC, 3), ZR_NUMBER(ZR3_TAG_CLASS_ALL, 6),
        ZR_NUMBER(ZR3_COMP_TYPE_SDT, 1), ZR_NUMBER(ZR3_DATA_ORDER_12345678, 7),
        ZR_NUMBER(ZR3_DATA_ORDER_87654321, 14), ZR_NUMBER(ZR3_RELATION_LIKE, 6),
        ZR_NUMBER(ZR3_STATS_TYPE_MAX, 0), ZR_NUMBER(ZR3_STATS_TYPE_DIFF, 11),
        ZR_NUMBER(ZR3_STATS_TYPE_TIME_DURATION, 25),
        ZR_NUMBER(ZR3_STATS_SAMPLE_TYPE_PREV_INTERP, 2),
        ZR_NUMBER(ZR3_STATS_SAMPLE_MODE_FOREVER, 4), ZR_NUMBER(ZR3_STATS_DROP_BAD_MODE_AREA, 1),
        ZR_NUMBER(ZR3_STATS_CONVERSION_TYPE_MINIFICATION, 1), ZR_NUMBER(ZR3_CALC_MODE_NOTIFY, 1),
        ZR_NUMBER(ZR3_REC_INTERP_QUERY_MODE_PREV, 1), ZR_NUMBER(ZR3_AM_ACK_TYPE_AUTO, 1),
        ZR_NUMBER(ZR3_AM_REC_PRIORITY_FIRST, 1), ZR_NUMBER(ZR3_AM_REC_PRIORITY_FORTH, 4),
        ZR_NUMBER(ZR3_AM_REC_TYPE_HIHI, 3), ZR_NUMBER(ZR3_AM_REC_TYPE_HIGH, 4),
        ZR_NUMBER(ZR3_AM_REC_TYPE_CHANGE, 5), ZR_NUMBER(ZR3_NET_BAD, 1)),
    CaseName());

INSTANTIATE_TEST_SUITE_P(Columns, Number,
                         testing::Values(ZR_NUMBER(ZR3_TAG_COL_COMM_PROP_DESCRIPTOR, 12),
                                         ZR_NUMBER(ZR3_TAG_COL_COMM_PROP_TAG_TYPE, 18),
                                         ZR_NUMBER(ZR3_TAG_COL_COMM_PROP_PARAM5, 31),
                                         ZR_NUMBER(ZR3_TAG_COL_COMM_PROP_EXT_STRING2, 35),
                                         ZR_NUMBER(ZR3_TAG_COL_PT_EXT_PROP_INSTRUMENT_ADDRESS, 100),
                                         ZR_NUMBER(ZR3_TAG_COL_PT_EXT_PROP_DATA_ORDER, 108),
                                         ZR_NUMBER(ZR3_TAG_COL_AM_EXT_PROP_TEST1, 200),
                                         ZR_NUMBER(ZR3_TAG_COL_AM_EXT_PROP_VALUE_DEADBAND, 212),
                                         ZR_NUMBER(ZR3_TAG_COL_SPC_EXT_PROP_MIN, 300),
                                         ZR_NUMBER(ZR3_TAG_COL_ST_EXT_PROP_SOURCE_TAG_NAME, 400),
                                         ZR_NUMBER(ZR3_TAG_COL_ST_EXT_PROP_USE_BAD_VALUE, 425),
                                         ZR_NUMBER(ZR3_TAG_COL_CA_EXT_PROP_CALC_MODE, 500),
                                         ZR_NUMBER(ZR3_TAG_COL_CA_EXT_PROP_SRC_TAG_NAME, 507)),
                         CaseName());

}  // namespace
}  // namespace zervane
