#pragma once

#include <cstdint>
#include <string>
#include <vector>

#include "api/fields.h"
#include "api/words/value.h"

namespace zervane {

// One condition of a search. `value` is text also where the column holds numbers.
struct Condition {
  std::int32_t column = ZR3_TAG_COL_COMM_PROP_TAG_NAME;  // ZR3_TAG_COL_...
  std::int32_t relation = ZR3_RELATION_EQUAL;            // ZR3_RELATION_...
  std::string value;

  static auto Fields(auto& self) {
    return FieldList(Field{"column", self.column}, Field{"relation", self.relation},
                     Field{"value", self.value});
  }
  friend bool operator==(const Condition&, const Condition&) = default;
};

// Which tags a search is for: those of the classes that meet every condition. Bit i of the class
// mask is class i, bit ZR3_TAG_CLASS_ALL stands for all classes, and so does -1.
struct TagQuery {
  std::int64_t class_mask = -1;
  std::vector<Condition> conditions;

  static auto Fields(auto& self) {
    return FieldList(Field{"class_mask", self.class_mask}, Field{"conditions", self.conditions});
  }
  friend bool operator==(const TagQuery&, const TagQuery&) = default;
};

}  // namespace zervane
