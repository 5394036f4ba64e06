#pragma once

#include <cstddef>
#include <cstdint>
#include <span>
#include <vector>

#include "engine/catalogue/tag_index.h"
#include "engine/current/current_values.h"
#include "engine/storage/store.h"
#include "engine/tag_array.h"
#include "engine/write/turn.h"

namespace zervane {

// Decides where the records of a group go: which enter the archive, which become current values,
// and which some stage is to look at.
//
// Of each tag the newest record (of equal ones the last) becomes current, unless the current value
// is newer. All enter the archive whose tags have one. Records of tags that are no more go nowhere.
class GroupMarks {
 public:
  GroupMarks(const TagIndex& tags, const CurrentValues& current_values)
      : tags_(tags), current_values_(current_values) {}

  // Fills in the marks of the records, which begin a group.
  void Mark(Turn& turn, RecordBatch& records);

  // All of these are positions in the group that was marked last, valid until the next one.
  std::span<const std::uint32_t> current() const { return current_; }    // become current
  std::span<const std::uint32_t> filtered() const { return filtered_; }  // of tags with filters
  std::span<const std::uint32_t> read() const { return read_; }          // of tags that others read
  // For each record whether it was its tag's newest when its turn came: in a group a tag may have
  // several, of which only the last is still current when the group is stored.
  std::span<const std::uint8_t> was_newest() const { return was_newest_; }

 private:
  static constexpr std::uint32_t kNone = 0xFFFFFFFF;

  // What is known of a tag within a group; of an earlier group it says nothing.
  struct TagState {
    std::uint64_t group = 0;
    std::int64_t newest_ms = kNoTime;
    std::uint32_t newest_at = kNone;  // of the group's records; none is newer than the current one
    std::uint8_t marks = 0;           // what all its records have
    bool is_filtered = false;
    bool is_read = false;
  };

  void BeginTag(TagId tag, TagState& state);

  const TagIndex& tags_;
  const CurrentValues& current_values_;
  TagArray<TagState> states_;
  std::uint64_t group_ = 0;
  std::vector<TagState*> met_;  // of the group's tags, in the order of their first records
  std::vector<std::uint32_t> current_;
  std::vector<std::uint32_t> filtered_;
  std::vector<std::uint32_t> read_;
  std::vector<std::uint8_t> was_newest_;
};

}  // namespace zervane
