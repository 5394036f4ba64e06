#include "vask/search_arguments.h"

#include <span>

#include "api/words/tag_columns.h"

namespace zervane {
namespace {

// Columns are numbered without gaps.
bool IsOneOf(int32 column, std::span<const PropertyColumn> columns) {
  return column >= columns.front().column && column <= columns.back().column;
}

bool IsColumn(int32 column) {
  return IsOneOf(column, CommonColumns()) || IsOneOf(column, PointColumns()) ||
         IsOneOf(column, AlarmColumns()) || IsOneOf(column, StatisticsColumns()) ||
         IsOneOf(column, CalculationColumns());
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
