#pragma once

#include <cstddef>
#include <cstdint>
#include <optional>
#include <span>
#include <unordered_map>
#include <vector>

#include "api/words/status.h"
#include "engine/catalogue/catalogue.h"
#include "engine/current/current_values.h"
#include "engine/filters/record_filter.h"
#include "engine/storage/store.h"

namespace zervane {

// The filters of all tags that have some, between the write queue and the store.
//
// What a filter holds is in the store too, as the tag's current value or as held, so nothing is
// lost with the object. A filter is made when the first record of its tag comes: it archives what
// the store holds back, and starts anew from the current value.
//
// Threads: one at a time, the one that commits or changes the catalogue.
class RecordFilters {
 public:
  RecordFilters(Store& store, const Catalogue& catalogue, const CurrentValues& current_values)
      : store_(store), catalogue_(catalogue), current_values_(current_values) {}

  // Appends a group of accepted records to the store, with what the filters release before them. Of
  // a record whose tag has filters `archive` is theirs to say; all others go as they are. The
  // filters follow once the store has the group: a refused group leaves no trace. The status of the
  // store.
  Status Append(std::span<const AcceptedSample> records);

  // Archives all that the tag's filters hold, and forgets these; to go before a change of its
  // properties, which may take its filters away. The status of the store.
  Status Release(TagId tag);

  // Forgets the filters of a tag that is deleted.
  void Forget(TagId tag) noexcept { entries_.erase(tag); }

 private:
  struct Entry {
    std::optional<RecordFilter> filter;  // as of the last group that was stored
    // Which group touched it last, and where its copy stands in that group.
    std::uint64_t group = 0;
    std::size_t staged_at = 0;
  };
  struct Staged {
    Entry* entry = nullptr;
    RecordFilter filter;
    std::optional<std::size_t> held_at;  // the last of the group's records that is held
  };
  // A group on its way: what the store is to get, and the filters as they are to become.
  struct Group {
    std::vector<AcceptedSample> records;
    std::vector<Staged> staged;
    std::vector<Sample> released;  // scratch
  };

  bool HasFilters(TagId tag) const;
  Status Take(const AcceptedSample& record, Group& group);
  // The tag's filters on a copy in the group, where they stand in `staged`.
  Result<std::size_t> Stage(TagId tag, Group& group);
  // A new filter of the tag. What is to be archived first is appended to `archived`.
  Result<RecordFilter> Recover(TagId tag, std::vector<Sample>& archived);
  Status RecoverHeld(TagId tag, std::vector<Sample>& archived);

  Store& store_;
  const Catalogue& catalogue_;
  const CurrentValues& current_values_;
  std::unordered_map<TagId, Entry> entries_;
  std::uint64_t last_group_ = 0;
};

}  // namespace zervane
