#include "engine/alarms/alarm_records.h"

#include <spdlog/fmt/fmt.h>

#include <algorithm>
#include <functional>
#include <limits>
#include <type_traits>
#include <utility>
#include <vector>

#include "api/words/tag.h"
#include "api/words/tag_columns.h"
#include "engine/alarms/alarm_rows.h"
#include "engine/assert.h"
#include "engine/storage/cells.h"

namespace zervane {
namespace {

using Format = RowFormat<AlarmRecord>;

// More tags than these are not read one by one.
constexpr std::size_t kFewTags = 32;
// A page ends after so many rows, for whoever waits for it; it takes some tenths of a second.
constexpr std::size_t kMostRows = 100'000;
// So many rows of an index are looked at for a few tags, before these are read one by one after
// all.
constexpr std::size_t kTrialRows = 20'000;
constexpr std::size_t kMostBytes = std::size_t{1} << 20;

std::size_t BytesOf(const AlarmRecord& record) {
  std::size_t bytes = sizeof(record);
  ForEachField(record, [&](const char*, const auto& value) {
    if constexpr (std::is_same_v<std::decay_t<decltype(value)>, std::string>) bytes += value.size();
  });
  return bytes;
}

// Bits first to last of the mask; all of them when it filters nothing.
std::int64_t Wanted(std::int64_t mask, int first, int last) {
  const std::int64_t all = ((std::int64_t{1} << (last - first + 1)) - 1) << first;
  return (mask & all) == 0 ? all : mask & all;
}

std::int64_t WantedAcknowledged(const AlarmQuery& query) {
  return Wanted(query.acknowledged_mask, ZR3_AM_REC_ACK_STATE_MIN, ZR3_AM_REC_ACK_STATE_MAX);
}
std::int64_t WantedRestored(const AlarmQuery& query) {
  return Wanted(query.restored_mask, ZR3_AM_REC_RESTORE_STATE_MIN, ZR3_AM_REC_RESTORE_STATE_MAX);
}

// None for what is no enumerator.
constexpr std::int64_t Bit(std::int64_t enumerator) {
  return enumerator >= 0 && enumerator < 32 ? std::int64_t{1} << enumerator : 0;
}

std::int64_t EndOf(const AlarmQuery& query) {
  return query.end_ms == 0 ? std::numeric_limits<std::int64_t>::max() : query.end_ms;
}

// A page that is being filled.
class PageFiller {
 public:
  // Looks at no more than so many rows.
  PageFiller(const AlarmSearch& search, std::size_t most_rows)
      : search_(search), most_rows_(most_rows) {}

  // Takes the next row in order. Whether there may be more.
  bool Offer(AlarmRecord record) {
    const bool passes = Matches(search_.query, record);
    if (rows_ == most_rows_ || (passes && IsFull())) {
      page_.next = record.key();
      return false;
    }
    ++rows_;
    if (passes) Add(std::move(record));
    return true;
  }
  // The same for a row of a tag that is not asked for.
  bool PassOver(const AlarmKey& key) {
    if (rows_ == most_rows_) {
      page_.next = key;
      return false;
    }
    ++rows_;
    return true;
  }

  // Whether the page has room, but the rows have run out.
  bool HasRunOut() const { return page_.next.has_value() && !IsFull(); }
  // Then looks at so many more, from where it stopped, which it answers.
  AlarmKey GoOn(std::size_t more_rows) {
    most_rows_ += more_rows;
    return *std::exchange(page_.next, std::nullopt);
  }

  AlarmPage& page() { return page_; }

 private:
  bool IsFull() const { return page_.items.size() == search_.limit || bytes_ >= kMostBytes; }
  void Add(AlarmRecord record) {
    KeepSelected(search_.mask, record);
    bytes_ += BytesOf(record);
    page_.items.push_back(std::move(record));
  }

  const AlarmSearch& search_;
  std::size_t most_rows_;
  AlarmPage page_;
  std::size_t rows_ = 0;
  std::size_t bytes_ = 0;
};

// ---- few tags ----

// The records of one tag in the search's range, some at a time.
class TagCursor {
 public:
  TagCursor(Store& store, TagId tag, const AlarmSearch& search)
      : store_(&store), tag_(tag), at_once_(search.limit / search.tags.size() + 1) {
    // Of the key's instant the tags before the key's are behind.
    const std::int64_t key_ms = search.from.start_ms + (tag < search.from.tag ? 1 : 0);
    const std::int64_t from_ms = std::max(key_ms, search.query.start_ms);
    range_ = {.table = Format::kTable,
              .index = Format::kByTag,
              .from = StartsAt(from_ms),
              .to = StartsAt(EndOf(search.query))};
    is_over_ = from_ms > EndOf(search.query);
  }

  // Has the next record ready, if there is one.
  Status Advance() {
    if (++at_ < records_.size() || is_over_) return {};
    records_.clear();
    at_ = 0;
    const auto take = [&](AlarmRecord record) {
      records_.push_back(std::move(record));
      return true;
    };
    Status status = Table<AlarmRecord>(*store_).Visit(range_, at_once_, std::cref(take));
    is_over_ = records_.size() < at_once_;
    if (status.ok() && !records_.empty()) {
      range_.from = StartsAt(records_.back().start_ms);
      range_.is_behind = true;
    }
    return status;
  }

  bool has_record() const { return at_ < records_.size(); }
  // REQUIRES has_record(); Take leaves a record whose key alone counts.
  AlarmKey key() const { return records_[at_].key(); }
  AlarmRecord Take() { return std::move(records_[at_]); }

 private:
  Row StartsAt(std::int64_t start_ms) const { return {Cell(std::int64_t{tag_}), Cell(start_ms)}; }

  Store* store_;
  TagId tag_;
  std::size_t at_once_;
  RowRange range_;
  std::vector<AlarmRecord> records_;
  std::size_t at_ = std::numeric_limits<std::size_t>::max();  // before the first
  bool is_over_ = false;
};

Status MergeTags(Store& store, const AlarmSearch& search, PageFiller& filler) {
  std::vector<TagCursor> cursors;
  cursors.reserve(search.tags.size());
  for (const TagId tag : search.tags) {
    TagCursor cursor(store, tag, search);
    if (Status status = cursor.Advance(); !status.ok()) return status;
    if (cursor.has_record()) cursors.push_back(std::move(cursor));
  }
  while (!cursors.empty()) {
    const auto first = std::ranges::min_element(cursors, {}, &TagCursor::key);
    if (!filler.Offer(first->Take())) break;
    if (Status status = first->Advance(); !status.ok()) return status;
    if (!first->has_record()) cursors.erase(first);
  }
  return {};
}

// ---- many tags ----

// The rows of the search's range, in the index that leaves out the most: what stands, and what is
// not acknowledged, is little of what there is.
RowRange RangeOf(const AlarmSearch& search) {
  RowRange range{.table = Format::kTable, .index = Format::kByStart};
  const auto side = [&](std::size_t index, std::int64_t enumerator) {
    range.index = index;
    range.from = {Cell(enumerator)};
    range.to = {Cell(enumerator)};
  };
  const std::int64_t restored = WantedRestored(search.query);
  const std::int64_t acknowledged = WantedAcknowledged(search.query);
  if (restored == Bit(ZR3_AM_REC_RESTORE_STATE_NO)) {
    side(Format::kByRestored, ZR3_AM_REC_RESTORE_STATE_NO);
  } else if (acknowledged == Bit(ZR3_AM_REC_ACK_STATE_NO)) {
    side(Format::kByAcknowledged, ZR3_AM_REC_ACK_STATE_NO);
  } else if (acknowledged == Bit(ZR3_AM_REC_ACK_STATE_YES)) {
    side(Format::kByAcknowledged, ZR3_AM_REC_ACK_STATE_YES);
  } else if (restored == Bit(ZR3_AM_REC_RESTORE_STATE_YES)) {
    side(Format::kByRestored, ZR3_AM_REC_RESTORE_STATE_YES);
  }
  const AlarmKey from = std::max(search.from, AlarmKey{.start_ms = search.query.start_ms});
  range.from.emplace_back(from.start_ms);
  range.from.emplace_back(std::int64_t{from.tag});
  range.to.emplace_back(EndOf(search.query));
  return range;
}

Status ScanIndex(Store& store, const AlarmSearch& search, PageFiller& filler) {
  bool is_damaged = false;
  const auto take = [&](RowView row) {
    AlarmKey key;
    const bool has_key = FromCell(row[0], &key.tag) && FromCell(row[1], &key.start_ms);
    // Nearly all may be of other tags: nothing more is made of those.
    if (has_key && !std::ranges::binary_search(search.tags, key.tag)) return filler.PassOver(key);
    std::optional<AlarmRecord> record = Format::FromRow(row);
    is_damaged = !record;
    return record && filler.Offer(*std::move(record));
  };
  Status status = store.Rows(RangeOf(search), std::numeric_limits<std::size_t>::max(), take);
  return status.ok() && is_damaged ? DamagedRow(Format::kTable) : status;
}

// Whether only what stands, or is not acknowledged, is asked for: usually little of what a tag has.
bool WantsOpenAlone(const AlarmQuery& query) {
  return WantedRestored(query) == Bit(ZR3_AM_REC_RESTORE_STATE_NO) ||
         WantedAcknowledged(query) == Bit(ZR3_AM_REC_ACK_STATE_NO);
}

}  // namespace

Status CheckAlarmMask(std::int64_t mask) {
  if (IsMaskOf(mask, kAlarmProperties)) return {};
  return {ZR3_ERR_INVALID_MASK, fmt::format("mask {:#x}", mask)};
}

void KeepSelected(std::int64_t mask, AlarmRecord& record) {
  const AlarmKey key = record.key();
  std::size_t bit = 0;
  ForEachField(record, [&](const char*, auto& value) {
    if (!SelectsBit(mask, bit++)) value = {};
  });
  record.tag = key.tag;
  record.start_ms = key.start_ms;
}

bool Matches(const AlarmQuery& query, const AlarmRecord& record) {
  return (WantedAcknowledged(query) & Bit(record.is_acknowledged ? 1 : 0)) != 0 &&
         (WantedRestored(query) & Bit(record.is_restored ? 1 : 0)) != 0 &&
         (Wanted(query.type_mask, ZR3_AM_REC_TYPE_MIN, ZR3_AM_REC_TYPE_MAX) & Bit(record.type)) !=
             0 &&
         (Wanted(query.priority_mask, ZR3_AM_REC_PRIORITY_MIN, ZR3_AM_REC_PRIORITY_MAX) &
          Bit(record.priority)) != 0;
}

Result<AlarmPage> FindAlarms(Store& store, const AlarmSearch& search) {
  ZERVANE_ASSERT(search.limit >= 1);
  ZERVANE_ASSERT(std::ranges::is_sorted(search.tags));
  if (search.tags.empty() || search.from.start_ms > EndOf(search.query)) return AlarmPage();
  const bool is_few = search.tags.size() <= kFewTags;
  const bool tries_index = is_few && search.tags.size() > 1 && WantsOpenAlone(search.query);
  PageFiller filler(search, tries_index ? kTrialRows : kMostRows);
  Status status =
      is_few && !tries_index ? MergeTags(store, search, filler) : ScanIndex(store, search, filler);
  if (status.ok() && tries_index && filler.HasRunOut()) {
    AlarmSearch rest = search;
    rest.from = filler.GoOn(kMostRows);
    status = MergeTags(store, rest, filler);
  }
  if (!status.ok()) return status;
  return std::move(filler.page());
}

Result<std::optional<AlarmRecord>> LatestAlarm(Store& store, TagId tag) {
  const Row of_tag = {Cell(std::int64_t{tag})};
  Result<Page<AlarmRecord, AlarmKey>> page =
      Table<AlarmRecord>(store).ReadPage({.table = Format::kTable,
                                          .index = Format::kByTag,
                                          .from = of_tag,
                                          .to = of_tag,
                                          .is_backward = true},
                                         1);
  if (!page.ok()) return page.status();
  if (page->items.empty()) return std::optional<AlarmRecord>();
  return std::optional(std::move(page->items.front()));
}

}  // namespace zervane
