#pragma once

#include <gtest/gtest.h>

#include <cstdint>
#include <span>
#include <string>
#include <variant>
#include <vector>

#include "engine/storage/store.h"

// Rows that go with records, for tests: tasks of the table of progress, told apart by their times.
namespace zervane {

inline RowChange TaskRemoval(std::int64_t time_ms) {
  return {.table = TableId::kProgress,
          .key = {Cell(std::string("task")), Cell(std::int64_t{1}), Cell(time_ms)}};
}

inline RowChange TaskAt(std::int64_t time_ms) {
  RowChange change = TaskRemoval(time_ms);
  change.row = change.key;
  change.row->emplace_back();
  return change;
}

inline std::vector<std::int64_t> TimesOf(std::span<const RowChange> tasks) {
  std::vector<std::int64_t> times;
  for (const RowChange& task : tasks) times.push_back(std::get<std::int64_t>(task.key[2]));
  return times;
}

inline std::vector<std::int64_t> TasksIn(Store& store) {
  std::vector<std::int64_t> times;
  const auto note = [&](RowView row) {
    times.push_back(std::get<std::int64_t>(row[2]));
    return true;
  };
  EXPECT_TRUE(store.Rows({.table = TableId::kProgress}, SIZE_MAX, note).ok());
  return times;
}

}  // namespace zervane
