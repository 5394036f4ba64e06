#pragma once

#include <gtest/gtest.h>

#include <filesystem>
#include <memory>
#include <span>
#include <vector>

#include "engine/storage/store.h"
#include "tests/engine/storage/store_driver.h"
#include "tests/engine/storage/temp_folder.h"

// Every store that there is, for the suites that all of them must pass.
namespace zervane::storage {

struct StoreKind {
  const char* name;
  bool keeps;  // what is stored is there when the folder is opened again
  std::unique_ptr<Store> (*open)(const std::filesystem::path& folder);
};

std::span<const StoreKind> AllStores();

// A store with tags 1 and 2.
class AnyStore : public testing::TestWithParam<StoreKind> {
 protected:
  AnyStore();

  void Append(const std::vector<MarkedSample>& records) { driver_->Append(records); }

  // Records of tag 1 at 10, 20 ... 10 * count, each of its time as value, a few at a time.
  void AppendTens(int count);

  std::vector<std::int64_t> Times(TimeRange range, Direction direction, std::size_t limit);

  std::int64_t CountOf(TimeRange range, TagId tag = 1) { return CountRange(*store_, tag, range); }

  // Closes the store and opens it again, where it keeps what it has.
  void Reopen();

  TempFolder folder_;
  std::unique_ptr<Store> store_;
  std::unique_ptr<StoreDriver> driver_;
};

}  // namespace zervane::storage
