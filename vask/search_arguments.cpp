#include "vask/search_arguments.h"

#include <algorithm>
#include <iterator>

namespace zervane {
namespace {

struct ColumnFamily {
  int32 min;
  int32 max;
};

constexpr ColumnFamily kColumnFamilies[] = {
    {ZR3_TAG_COL_COMM_PROP_MIN, ZR3_TAG_COL_COMM_PROP_MAX},
    {ZR3_TAG_COL_PT_EXT_PROP_MIN, ZR3_TAG_COL_PT_EXT_PROP_MAX},
    {ZR3_TAG_COL_AM_EXT_PROP_MIN, ZR3_TAG_COL_AM_EXT_PROP_MAX},
    {ZR3_TAG_COL_ST_EXT_PROP_MIN, ZR3_TAG_COL_ST_EXT_PROP_MAX},
    {ZR3_TAG_COL_CA_EXT_PROP_MIN, ZR3_TAG_COL_CA_EXT_PROP_MAX},
};

bool IsColumn(int32 column) {
  return std::any_of(
      std::begin(kColumnFamilies), std::end(kColumnFamilies),
      [=](const ColumnFamily& family) { return column >= family.min && column <= family.max; });
}

}  // namespace

Arguments& CheckFilter(Arguments& arguments, const ZR3FilterItemSet* filter) {
  if (!arguments.ok()) return arguments;
  arguments.Batch(filter->nSize, filter->pItem);
  for (int32 i = 0; arguments.ok() && i < filter->nSize; ++i) {
    arguments.Text(&filter->pItem[i], &ZR3FilterItem::szValue)
        .Require(IsColumn(filter->pItem[i].nItemID), ZR3_ERR_INVALID_ARGUMENT)
        .InRange(filter->pItem[i].nRelation, ZR3_RELATION_MIN, ZR3_RELATION_MAX);
  }
  return arguments;
}

Arguments& CheckClassMask(Arguments& arguments, int64 class_mask) {
  constexpr int64 kClasses = (int64{1} << (ZR3_TAG_CLASS_ALL + 1)) - 1;
  const bool is_mask = class_mask == -1 || (class_mask > 0 && class_mask <= kClasses);
  return arguments.Require(is_mask, ZR3_ERR_INVALID_MASK);
}

}  // namespace zervane
