// How layout_4.db was made: by this program, with the release that wrote layout 4. It is not built
// any more, since that release's store is gone; stored_files_test.cpp knows what the file holds.
//
//   make_layout_4 FILE
#include <cstdint>
#include <cstdlib>
#include <iostream>
#include <string>
#include <utility>
#include <vector>

#include "engine/storage/table.h"
#include "engine/storage/tables.h"
#include "tests/engine/storage/support.h"

namespace zervane::storage {
namespace {

MarkedSample Text(TagId tag, std::int64_t time_ms, std::string text) {
  MarkedSample record = Record(tag, time_ms, 0);
  record.sample.type = TagType::kString;
  record.sample.value = std::move(text);
  return record;
}

// Tags 1 and 2 of numbers and texts; tag 3 was there once. And something that is still to be done.
void PutRows(StoreDriver& driver) {
  for (TagId id = 1; id <= 3; ++id) {
    Tag tag = TagNamed(id, "\u6e29\u5ea6." + std::to_string(id));
    tag.type = id == 2 ? ZR3_TAG_TYPE_STRING : ZR3_TAG_TYPE_FLOAT64;
    driver.PutTag(tag);
  }
  driver.RemoveTag(3);
  StoreBatch batch;
  Table<Setting>::Put({.name = std::string(kLastIdSetting), .value = std::int64_t{3}}, batch);
  Table<Setting>::Put({.name = std::string(kCatalogueVersionSetting), .value = std::int64_t{4}},
                      batch);
  const Row key = {Cell(std::string("task")), Cell(std::int64_t{1}), Cell(std::int64_t{5'000})};
  Row row = key;
  row.emplace_back(std::string("detail"));
  batch.rows.push_back({.table = TableId::kProgress, .key = key, .row = row});
  driver.MustCommit(std::move(batch));
}

// Records at 1,000 to 60,000 ms, of which the last are still in the journal; tag 1 has one that is
// held back.
void AppendRecords(StoreDriver& driver) {
  for (int i = 1; i <= 60; ++i) {
    driver.Append({Record(1, 1000 * i, 0.5 * i), Text(2, 1000 * i, "\u6e29" + std::to_string(i))});
  }
  driver.Append({Record(1, 61'000, 61, kHeld | kCurrent)});
}

}  // namespace
}  // namespace zervane::storage

int main(int, char** arguments) {
  using namespace zervane::storage;
  const TempFolder open;
  const TempFolder copy;
  {
    const auto store = MustOpen(open.path(), kTinyOptions);
    StoreDriver driver(*store);
    PutRows(driver);
    AppendRecords(driver);
    CopyWhileOpen(open.path(), copy.path());  // as if it were killed now: with its journal
    std::cout << "last commit " << driver.last_commit() << "\n";
  }
  EditFile(copy.path(), "PRAGMA journal_mode = DELETE");
  std::filesystem::copy_file(copy.path() / "zervane.db", arguments[1]);
  for (const char* what : {"chunk", "summary", "journal", "held", "current", "tag", "progress"}) {
    std::cout << what << " "
              << NumberInFile(copy.path(), std::string("SELECT count(*) FROM ") + what) << "\n";
  }
}
