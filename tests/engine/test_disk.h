#pragma once

#include <cstdint>
#include <map>
#include <memory>
#include <optional>
#include <vector>

#include "api/words/tag.h"
#include "api/words/value.h"
#include "engine/storage/store.h"
#include "tests/engine/storage/faulty_store.h"
#include "tests/engine/storage/store_driver.h"

namespace zervane {

using storage::kPatience;

// What outlives an embedded database of a test: a store in memory behind one that fails and waits
// as it is told, and the ways to look into it and to damage it.
class TestDisk : public storage::Faults {
 public:
  // Takes what is stored over, as if it were opened again.
  std::unique_ptr<Store> Open(std::shared_ptr<TestDisk> self);

  // The next `times` commits are refused; kForever: all of them.
  void FailCommits(int times) { Fail(Call::kCommit, ZR3_ERR_STORAGE_FAILED, times); }
  void FailCommitsOfTag(TagId tag) { FailCommitsOf(tag, ZR3_ERR_STORAGE_FAILED); }
  // Commits that change tags are refused, or not any more.
  void FailCatalogue(bool fails);

  // What is stored.
  std::vector<Tag> tags() { return storage::Tags(*store_); }
  std::map<std::int64_t, Sample> archive(TagId tag);
  std::optional<Sample> current(TagId tag);
  std::optional<Sample> held(TagId tag);

  // As damage would leave it. No database has it open.
  void LoseCurrent(TagId tag) { Replace(tag, kArchive | kHeld); }
  void LoseArchive(TagId tag) { Replace(tag, kCurrent | kHeld); }
  void Put(const Tag& tag);
  void Put(const storage::MarkedSample& record);

 private:
  // Leaves of a tag's records those of such marks.
  void Replace(TagId tag, unsigned kept);

  const std::shared_ptr<Store> store_ = OpenMemoryStore();
};

}  // namespace zervane
