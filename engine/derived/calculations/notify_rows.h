#pragma once

#include <cstdint>
#include <optional>
#include <span>
#include <string_view>
#include <vector>

#include "api/words/status.h"
#include "api/words/value.h"
#include "engine/storage/store.h"
#include "engine/storage/table.h"
#include "engine/tag_array.h"
#include "engine/write/turn.h"

namespace zervane {

// A tag has a new current value, and NOTIFY tags for which that is a reason are not computed yet.
// It stands as a row of `progress`, which was stored with the value and goes with what is computed:
// so none is forgotten, whenever the database ends.
struct NotifyReason {
  TagId tag = 0;  // the one that has the value

  friend bool operator==(const NotifyReason&, const NotifyReason&) = default;
};

template <>
struct RowFormat<NotifyReason> {
  static constexpr TableId kTable = TableId::kProgress;
  static constexpr std::string_view kTask = "calculation_notify";

  using Key = TagId;
  static Key KeyOf(const NotifyReason& reason) { return reason.tag; }
  static Row KeyCells(Key tag);
  // What all keys begin with.
  static Row AllKeys();
  static Row RowOf(const NotifyReason& reason);
  static std::optional<NotifyReason> FromRow(RowView row);
};

// Which of these rows stand, and since which commit each has to: of a tag one row waits, however
// often its value changes before it is followed, so that writers who are faster than what is
// computed put none.
//
// Threads: with the turn alone.
class NotifyRows {
 public:
  // Those that the store holds wait since commit 1. ZR3_ERR_STORAGE_DAMAGED when one is none.
  Status Load(Turn& turn, Store& store);
  std::span<const TagId> standing() const { return standing_; }

  // The batch of this number, which counts up from 2, gives the tag a new value; or the tag goes.
  void PrepareValue(TagId tag, std::uint64_t number, StoreBatch& batch);
  void PrepareRemoval(TagId tag, StoreBatch& batch);
  // What was to be computed up to the batch `through` is stored with this batch, which has the
  // change of AllDone: rows that are to stay are put anew. Behind all values of the batch.
  void PrepareDone(std::uint64_t through, StoreBatch& batch);
  // Removes all rows.
  static RowChange AllDone();
  static bool IsAllDone(const RowChange& change);

  // The batch is stored, or it is not.
  void Keep() noexcept;
  void Discard() noexcept;

 private:
  // Of a tag.
  struct Reason {
    std::uint64_t since = 0;     // the newest batch that gave it a value; 0: no row stands
    std::uint64_t prepared = 0;  // the batch on its way that gives it one; 0: it does not
  };

  TagArray<Reason> reasons_;
  std::vector<TagId> standing_;  // tags with a row

  // Of the batch that is on its way.
  std::vector<TagId> valued_;
  std::vector<TagId> removed_;
  bool is_all_done_ = false;  // but for those that are left
  std::vector<TagId> done_;
  std::vector<TagId> left_;
};

}  // namespace zervane
