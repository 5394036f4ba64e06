#pragma once

#include <cstddef>
#include <cstdint>
#include <functional>
#include <optional>
#include <unordered_map>
#include <vector>

#include "api/words/status.h"
#include "engine/catalogue/filter_settings.h"
#include "engine/catalogue/tag_index.h"
#include "engine/current/current_values.h"
#include "engine/filters/record_filter.h"
#include "engine/storage/store.h"
#include "engine/write/stage.h"

namespace zervane {

// Exception reporting and compression of all tags that have some: of their records it says which
// enter the archive, and it adds those that the filters let go.
//
// What a filter holds is in the store too, as the tag's current value or as held, so nothing is
// lost with the object. A filter is made when the first record of its tag comes: it archives what
// the store holds back, and starts anew from the current value.
//
// Before a change of a tag's properties all that its filters hold is archived, in the same batch:
// the tag may have none afterwards. So it is when the record from which they judge, or one that
// they hold, is replaced: the next record starts them anew from the current value.
class FilterStage final : public Stage {
 public:
  // The settings of a tag; none when there is no such tag.
  using SettingsLookup = std::function<std::optional<FilterSettings>(TagId)>;

  FilterStage(Store& store, const TagIndex& tags, const CurrentValues& current_values,
              SettingsLookup settings_of);

  // A record keeps kArchive when it enters the archive, else loses it; the last one that
  // compression holds gets kHeld.
  Status Process(Turn& turn, const StagedRecords& group, StoreBatch& batch) override;
  Status PrepareTagChange(Turn& turn, TagId tag, StoreBatch& batch) override;
  Status PrepareTagRemoval(Turn& turn, TagId tag, StoreBatch& batch) override;
  // An older record than the newest archived one means nothing to the filters. Any other is
  // archived behind all that they hold.
  Status PrepareRecord(Turn& turn, TagId tag, std::int64_t time_ms, std::uint8_t* marks,
                       StoreBatch& batch) override;
  void Keep(Turn& turn) noexcept override;
  void Discard(Turn& turn) noexcept override;

 private:
  // The filters of a tag as of the last batch that was stored.
  struct Entry {
    std::optional<RecordFilter> filter;
    // Which batch touched it last, and where its copy stands among that batch's.
    std::uint64_t batch = 0;
    std::size_t trial_at = 0;
  };
  // The filters of a tag as they are to become.
  struct Trial {
    TagId tag = 0;
    Entry* entry = nullptr;
    RecordFilter filter;
    std::optional<std::uint32_t> held_at = {};  // the record of the group that is marked as held
    bool ends = false;                          // the tag's filters are to be forgotten
  };

  bool HasFilters(TagId tag) const;
  // Whether a record of that time and these marks, one of those that the database has, is what the
  // tag's filters hold or judge from.
  bool MattersToFilters(TagId tag, std::int64_t time_ms, std::uint8_t marks) const;
  // Archives all that the tag's filters hold, and forgets them.
  Status EndFilters(TagId tag, StoreBatch& batch);
  Status Filter(const StagedRecords& group, std::uint32_t at, StoreBatch& batch);
  static void MarkHeld(const StagedRecords& group, std::uint32_t at, Filtered filtered,
                       Trial& trial);

  // The tag's filters on a copy, where it stands among the trials.
  Result<std::size_t> Try(TagId tag, StoreBatch& batch);
  // A new filter of the tag; what is to be archived first goes into the batch.
  Result<RecordFilter> Recover(TagId tag, StoreBatch& batch);
  Status RecoverHeld(TagId tag, StoreBatch& batch);
  Result<bool> IsArchived(TagId tag, const Sample& sample);
  // Archives what filters have let go.
  void ArchiveReleased(TagId tag, StoreBatch& batch);

  Store& store_;
  const TagIndex& tags_;
  const CurrentValues& current_values_;
  const SettingsLookup settings_of_;
  std::unordered_map<TagId, Entry> entries_;

  // Of the batch that is on its way.
  std::uint64_t batch_number_ = 1;
  std::vector<Trial> trials_;
  std::vector<TagId> removed_;
  std::vector<Sample> released_;
};

}  // namespace zervane
