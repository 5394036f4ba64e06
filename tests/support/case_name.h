#pragma once

#include <gtest/gtest.h>

#include <string>

namespace zervane {

// Names the cases of a table-driven test after the table's `name` member.
struct CaseName {
  template <typename Case>
  std::string operator()(const testing::TestParamInfo<Case>& row) const {
    return row.param.name;
  }
};

}  // namespace zervane
