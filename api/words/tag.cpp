#include "api/words/tag.h"

#include <cstddef>
#include <iterator>

namespace zervane {
namespace {

constexpr std::size_t kMaxName = ZR3_LEN_NAME - 1;
constexpr std::size_t kMaxExtString = ZR3_LEN_EXT_STRING - 1;
constexpr std::size_t kMaxCollectionName = ZR3_LEN_COLLECTION_NAME - 1;

constexpr PropertyColumn Text(std::int32_t column, const char* name, std::string Tag::*member,
                              std::size_t max_bytes) {
  return {.column = column, .name = name, .member = member, .max_bytes = max_bytes};
}

template <typename T>
constexpr PropertyColumn Number(std::int32_t column, const char* name, T Tag::*member) {
  return {.column = column, .name = name, .member = member};
}

// A deviation or a time: 0 turns its test off, less has no meaning.
template <typename T>
constexpr PropertyColumn Tolerance(std::int32_t column, const char* name, T Tag::*member) {
  return {.column = column, .name = name, .member = member, .non_negative = true};
}

constexpr PropertyColumn Enumeration(std::int32_t column, const char* name,
                                     std::int32_t Tag::*member, std::int32_t max) {
  return {.column = column, .name = name, .member = member, .min = 0, .max = max};
}

const PropertyColumn kCommon[] = {
    Text(ZR3_TAG_COL_COMM_PROP_TAG_NAME, "name", &Tag::name, ZR3_LEN_TAG_NAME - 1),
    Number(ZR3_TAG_COL_COMM_PROP_ARCHIVING, "archiving", &Tag::archiving),
    Number(ZR3_TAG_COL_COMM_PROP_CHANGE_DATE, "change_date", &Tag::change_date),
    Text(ZR3_TAG_COL_COMM_PROP_CHANGER, "changer", &Tag::changer, kMaxName),
    Tolerance(ZR3_TAG_COL_COMM_PROP_COMP_DEV, "comp_dev", &Tag::comp_dev),
    Tolerance(ZR3_TAG_COL_COMM_PROP_COMP_MAX_TIME, "comp_max_time", &Tag::comp_max_time),
    Enumeration(ZR3_TAG_COL_COMM_PROP_COMP_TYPE, "comp_type", &Tag::comp_type, ZR3_COMP_TYPE_SDT),
    Number(ZR3_TAG_COL_COMM_PROP_CREATION_DATE, "creation_date", &Tag::creation_date),
    Text(ZR3_TAG_COL_COMM_PROP_CREATOR, "creator", &Tag::creator, kMaxName),
    Number(ZR3_TAG_COL_COMM_PROP_REC_ACCESS, "rec_access", &Tag::rec_access),
    Text(ZR3_TAG_COL_COMM_PROP_REC_NORMAL_GROUP, "rec_normal_group", &Tag::rec_normal_group,
         kMaxName),
    Text(ZR3_TAG_COL_COMM_PROP_REC_OWNER_GROUP, "rec_owner_group", &Tag::rec_owner_group, kMaxName),
    Text(ZR3_TAG_COL_COMM_PROP_DESCRIPTOR, "descriptor", &Tag::descriptor, ZR3_LEN_DESCRIPTOR - 1),
    Text(ZR3_TAG_COL_COMM_PROP_DIGITAL_SET, "digital_set", &Tag::digital_set, kMaxName),
    Text(ZR3_TAG_COL_COMM_PROP_ENG_UNITS, "eng_units", &Tag::eng_units, kMaxName),
    Tolerance(ZR3_TAG_COL_COMM_PROP_EXC_MAX_TIME, "exc_max_time", &Tag::exc_max_time),
    Tolerance(ZR3_TAG_COL_COMM_PROP_EXC_DEV, "exc_dev", &Tag::exc_dev),
    Number(ZR3_TAG_COL_COMM_PROP_TAGID, "id", &Tag::id),
    Enumeration(ZR3_TAG_COL_COMM_PROP_TAG_TYPE, "type", &Tag::type, ZR3_TAG_TYPE_MAX),
    Number(ZR3_TAG_COL_COMM_PROP_TAG_ACCESS, "tag_access", &Tag::tag_access),
    Text(ZR3_TAG_COL_COMM_PROP_TAG_NORMAL_GROUP, "tag_normal_group", &Tag::tag_normal_group,
         kMaxName),
    Text(ZR3_TAG_COL_COMM_PROP_TAG_OWNER_GROUP, "tag_owner_group", &Tag::tag_owner_group, kMaxName),
    Number(ZR3_TAG_COL_COMM_PROP_SCAN, "scan", &Tag::scan),
    Number(ZR3_TAG_COL_COMM_PROP_SPAN, "span", &Tag::span),
    Number(ZR3_TAG_COL_COMM_PROP_MIN_VALUE, "min_value", &Tag::min_value),
    Enumeration(ZR3_TAG_COL_COMM_PROP_TAG_CLASS, "tag_class", &Tag::tag_class, ZR3_TAG_CLASS_SYS),
    Enumeration(ZR3_TAG_COL_COMM_PROP_TAG_AVALIABLE, "available", &Tag::available,
                ZR3_TAG_AVALIABLE_YES),
    Number(ZR3_TAG_COL_COMM_PROP_PARAM1, "param1", &Tag::param1),
    Number(ZR3_TAG_COL_COMM_PROP_PARAM2, "param2", &Tag::param2),
    Number(ZR3_TAG_COL_COMM_PROP_PARAM3, "param3", &Tag::param3),
    Number(ZR3_TAG_COL_COMM_PROP_PARAM4, "param4", &Tag::param4),
    Number(ZR3_TAG_COL_COMM_PROP_PARAM5, "param5", &Tag::param5),
    Enumeration(ZR3_TAG_COL_COMM_PROP_OPCREALSE, "opc_state", &Tag::opc_state,
                ZR3_TAG_OPC_STATE_RELEASE),
    Text(ZR3_TAG_COL_COMM_PROP_IMV_STRING, "imv_string", &Tag::imv_string, kMaxExtString),
    Text(ZR3_TAG_COL_COMM_PROP_EXT_STRING1, "ext_string1", &Tag::ext_string1, kMaxExtString),
    Text(ZR3_TAG_COL_COMM_PROP_EXT_STRING2, "ext_string2", &Tag::ext_string2, kMaxExtString),
};
static_assert(std::size(kCommon) == ZR3_TAG_COL_COMM_PROP_MAX + 1);

const PropertyColumn kPoint[] = {
    Text(ZR3_TAG_COL_PT_EXT_PROP_INSTRUMENT_ADDRESS, "instrument_address", &Tag::instrument_address,
         ZR3_LEN_INSTRUMENT_ADDRESS - 1),
    Number(ZR3_TAG_COL_PT_EXT_PROP_INSTRUMENT_ADDRESS_TYPE, "instrument_address_type",
           &Tag::instrument_address_type),
    Text(ZR3_TAG_COL_PT_EXT_PROP_COLLECTOR_NAME, "collector_name", &Tag::collector_name,
         kMaxCollectionName),
    Number(ZR3_TAG_COL_PT_EXT_PROP_COLLECTOR_ID, "collector_id", &Tag::collector_id),
    Text(ZR3_TAG_COL_PT_EXT_PROP_DEVICE_NAME, "device_name", &Tag::device_name, kMaxCollectionName),
    Number(ZR3_TAG_COL_PT_EXT_PROP_DEVICE_ID, "device_id", &Tag::device_id),
    Text(ZR3_TAG_COL_PT_EXT_PROP_SCAN_GROUP_NAME, "scan_group_name", &Tag::scan_group_name,
         kMaxCollectionName),
    Number(ZR3_TAG_COL_PT_EXT_PROP_SCAN_GROUP_ID, "scan_group_id", &Tag::scan_group_id),
    Enumeration(ZR3_TAG_COL_PT_EXT_PROP_DATA_ORDER, "data_order", &Tag::data_order,
                ZR3_DATA_ORDER_87654321),
};
static_assert(std::size(kPoint) == ZR3_TAG_COL_PT_EXT_PROP_MAX - ZR3_TAG_COL_PT_EXT_PROP_MIN + 1);

}  // namespace

std::span<const PropertyColumn> CommonColumns() { return kCommon; }
std::span<const PropertyColumn> PointColumns() { return kPoint; }

}  // namespace zervane
