#pragma once

#include <cstddef>
#include <cstdint>
#include <filesystem>
#include <memory>
#include <optional>
#include <span>
#include <vector>

#include "api/words/status.h"
#include "api/words/tag.h"
#include "api/words/value.h"

namespace zervane {

// What a store keeps of the catalogue.
struct CatalogueImage {
  std::vector<Tag> tags;  // in order of identifier
  TagId last_id = 0;                // the highest identifier ever given
  std::int64_t version = 0;
};

// A record that was accepted, and where it goes.
struct AcceptedSample {
  TagId tag = 0;
  bool archive = true;  // it enters the archive
  bool current = true;  // it becomes the tag's current value
  bool held = false;    // it is held back from the archive, in place of what was held back before
  Sample sample;
};
static_assert(sizeof(AcceptedSample) == 40);  // large batches of them go from thread to thread

// Where a database keeps its data. It speaks of the domain: a columnar file, memory or a cluster of
// row stores can stand behind it.
//
// Within a tag the archive is a map from time to record: a record of equal time replaces. Every
// change is durable and whole once it is answered, or has not happened. Reads may come from any
// number of threads at any time; changes come from one thread at a time. Nothing throws.
class Store {
 public:
  virtual ~Store() = default;

  // ---- catalogue ----

  virtual Result<CatalogueImage> LoadCatalogue() = 0;

  // Adds or replaces the tag of properties.id; last_id becomes at least that.
  virtual Status PutTag(const Tag& properties, std::int64_t version) = 0;

  // Removes the tag with its current value and its archive; one that is not there is no failure.
  virtual Status RemoveTag(TagId id, std::int64_t version) = 0;

  // ---- values ----

  // The current value of every tag that has one.
  virtual Result<std::vector<TagSample>> LoadCurrent() = 0;

  // Stores one or more batches' records, all or none, in order. Records of tags that are not there,
  // or not any more, are left out. ZR3_ERR_INVALID_ARGUMENT when the time or the value of one
  // cannot be stored.
  virtual Status Append(std::span<const AcceptedSample> records) = 0;

  // The same where the caller needs the records no more: a store that keeps records in memory takes
  // them as they are, and may leave other memory in their place. On a failure they are untouched.
  virtual Status AppendTaking(std::vector<AcceptedSample>& records) { return Append(records); }

  // Up to `limit` archived records of the range, ascending from its start or descending from its
  // end. Memory is needed only for what is returned. ZR3_ERR_STORAGE_DAMAGED when records that are
  // wanted cannot be read any more.
  virtual Result<std::vector<Sample>> Read(TagId id, TimeRange range, Direction direction,
                                           std::size_t limit) = 0;

  virtual Result<std::int64_t> Count(TagId id, TimeRange range) = 0;

  // The last record that was appended as held back, unless one of its time or newer has entered the
  // archive since.
  virtual Result<std::optional<Sample>> ReadHeld(TagId id) = 0;
};

// A store in memory, gone with its object.
std::unique_ptr<Store> OpenMemoryStore();

// The store in `folder` (made when missing): one SQLite file, zervane.db, and the lock of the
// process that has it open. ZR3_ERR_DATABASE_IN_USE, ZR3_ERR_DATABASE_VERSION,
// ZR3_ERR_NOT_A_DATABASE, ZR3_ERR_STORAGE_READ_ONLY, ZR3_ERR_STORAGE_FULL, ZR3_ERR_STORAGE_FAILED,
// ZR3_ERR_STORAGE_DAMAGED.
Result<std::unique_ptr<Store>> OpenSqliteStore(const std::filesystem::path& folder);

}  // namespace zervane
