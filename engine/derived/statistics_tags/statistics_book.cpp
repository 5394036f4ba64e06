#include "engine/derived/statistics_tags/statistics_book.h"

#include <algorithm>
#include <ranges>
#include <utility>

#include "engine/assert.h"
#include "engine/storage/table.h"

namespace zervane {
namespace {

RowChange RemovalOfLate(TagId tag) {
  using Format = RowFormat<LateStretch>;
  return {.table = Format::kTable, .key = Format::KeysOf(tag), .row = {}};
}

// The windows into which times fell, of a tag whose windows up to an instant are computed.
class TouchedWindows {
 public:
  TouchedWindows(const StatisticsRule& rule, std::int64_t start_ms, std::int64_t from_ms,
                 std::int64_t until_ms)
      : windows_(rule.properties, start_ms),
        is_running_(rule.IsRunning()),
        from_ms_(from_ms),
        until_ms_(until_ms) {}

  struct Touched {
    std::int64_t number = 0;
    Window window;
  };

  // The computed window that has the earliest possible of the times, which ascend; whose first
  // element is then that time. Of running windows the latest alone counts.
  std::optional<Touched> First(std::span<const std::int64_t>* times) const {
    while (!times->empty() && times->front() < until_ms_) {
      const std::int64_t time_ms = times->front();
      const std::int64_t number =
          windows_.FirstEndingAfter(is_running_ ? until_ms_ - 1 : std::max(time_ms, from_ms_));
      const std::optional<Window> window = windows_.At(number);
      const std::int64_t end_ms = windows_.EndOf(number);
      if (end_ms <= from_ms_ || end_ms > until_ms_) break;
      if (window && window->Contains(time_ms)) return Touched{.number = number, .window = *window};
      // All times before the window's begin are in none.
      DropBefore(window ? window->begin_ms : end_ms, times);
    }
    return std::nullopt;
  }

  static void DropBefore(std::int64_t time_ms, std::span<const std::int64_t>* times) {
    const auto first = std::ranges::lower_bound(*times, time_ms);
    *times = times->subspan(static_cast<std::size_t>(first - times->begin()));
  }

 private:
  const Windows windows_;
  const bool is_running_;
  const std::int64_t from_ms_;
  const std::int64_t until_ms_;
};

}  // namespace

std::optional<std::int64_t> StatisticsBook::Entry::start_ms() const {
  if (progress.reset_ms != kNoTime) return progress.reset_ms;
  if (const auto start_ms = rule->start_ms()) return start_ms;
  if (progress.first_record_ms == kNoTime) return std::nullopt;
  return progress.first_record_ms;
}

StatisticsBook::Entry* StatisticsBook::Find(TagId tag) const {
  const auto found = entries_.find(tag);
  return found == entries_.end() ? nullptr : found->second.get();
}

StatisticsBook::Source* StatisticsBook::FindSource(TagId source) const {
  const std::unique_ptr<Source>* const found = sources_.Find(source);
  if (found == nullptr || *found == nullptr || (*found)->entries.empty()) return nullptr;
  return found->get();
}

StatisticsBook::Source& StatisticsBook::MakeSource(TagId source) {
  std::unique_ptr<Source>& made = sources_.At(source);
  if (made == nullptr) made = std::make_unique<Source>();
  const std::size_t wanted = made->entries.size() + changed_.size() + 1;
  if (wanted > made->entries.capacity()) made->entries.reserve(2 * wanted);
  return *made;
}

bool StatisticsBook::IsSource(TagId tag) const { return FindSource(tag) != nullptr; }

// ---- opening ----

void StatisticsBook::Load(StatisticsRule rule, bool has_source,
                          const StatisticsProgress& progress) {
  auto entry = std::make_unique<Entry>();
  const TagId tag = rule.tag;
  MakeSource(rule.source);
  entry->rule = std::make_shared<const StatisticsRule>(std::move(rule));
  entry->progress = progress;
  entry->has_source = has_source;
  entry->is_opened = true;
  entry->known_ms = clock_();
  entries_[tag] = nullptr;
  new_places_.insert({.tag = tag});
  Adopt(entry);
}

bool StatisticsBook::LoadLate(const LateStretch& late) {
  Entry* const entry = Find(late.key.tag);
  if (entry == nullptr) return false;
  entry->late.emplace(late.key.time_ms, late);
  late_tags_.insert(late.key.tag);
  return true;
}

// ---- a batch: tags ----

const StatisticsBook::Proposal* StatisticsBook::FindProposal(TagId tag) const {
  const auto last_first = std::views::reverse(proposals_);
  const auto found = std::ranges::find(last_first, tag,
                                       [](const Proposal& proposal) { return proposal.rule.tag; });
  return found == last_first.end() ? nullptr : &*found;
}

// What was computed stays, whatever the properties are from now on.
StatisticsProgress StatisticsBook::ProgressAfter(const Entry& entry,
                                                 const Proposal& proposal) const {
  const StatisticsProperties& before = entry.rule->properties;
  const StatisticsProperties& after = proposal.rule.properties;
  StatisticsProgress progress = entry.progress;
  progress.from_ms = progress.until_ms;
  progress.gap = {};
  const bool has_same_start = before.sample_start_date == after.sample_start_date &&
                              entry.rule->source == proposal.rule.source;
  if (!has_same_start) progress.first_record_ms = kNoTime;
  const bool is_forever = after.sample_mode == ZR3_STATS_SAMPLE_MODE_FOREVER;
  if (!is_forever || before.sample_start_date != after.sample_start_date) {
    progress.reset_ms = kNoTime;
  }
  if (is_forever && proposal.starts_anew) {
    progress.reset_ms = std::max<std::int64_t>(0, clock_());
    progress.until_ms = progress.reset_ms;
    progress.from_ms = progress.reset_ms;
  }
  return progress;
}

// Everything that needs memory, so that adopting it cannot fail.
void StatisticsBook::PrepareRule(TagId tag, const std::function<bool(TagId source)>& exists,
                                 StoreBatch& batch) {
  const Proposal* const proposal = FindProposal(tag);
  if (proposal == nullptr) return;
  const Entry* const before = Find(tag);
  const bool starts_anew = proposal->starts_anew &&
                           proposal->rule.properties.sample_mode == ZR3_STATS_SAMPLE_MODE_FOREVER;
  if (before != nullptr && *before->rule == proposal->rule && !starts_anew) return;
  auto changed = std::make_unique<Entry>();
  changed->rule = std::make_shared<const StatisticsRule>(proposal->rule);
  changed->has_source = exists(proposal->rule.source);
  changed->known_ms = clock_();
  changed->progress = before != nullptr ? ProgressAfter(*before, *proposal)
                                        : StatisticsProgress{.tag = tag, .seen_ms = clock_()};
  changed->claimed_ms = changed->progress.until_ms;
  MakeSource(proposal->rule.source);
  if (before == nullptr) {
    entries_[tag] = nullptr;
    new_places_.insert({.tag = tag});
  } else if (!before->late.empty()) {
    batch.rows.push_back(RemovalOfLate(tag));
  }
  Table<StatisticsProgress>::Put(changed->progress, batch);
  changed_.push_back(std::move(changed));
}

void StatisticsBook::PrepareRemoval(TagId tag, StoreBatch& batch) {
  const bool is_here = Find(tag) != nullptr;
  if (!is_here && !IsSource(tag)) return;
  removed_.push_back(tag);
  if (!is_here) return;
  Table<StatisticsProgress>::Remove(tag, batch);
  batch.rows.push_back(RemovalOfLate(tag));
}

// ---- a batch: records ----

void StatisticsBook::PassRecord(TagId source_id, std::int64_t time_ms) {
  Source* const source = FindSource(source_id);
  if (source == nullptr) return;
  if (source->batch != batch_) {
    source->batch = batch_;
    source->late_times.clear();
    touched_.push_back(source);
  }
  if (time_ms < source->claimed_ms) source->late_times.push_back(time_ms);
}

void StatisticsBook::EndRecords(StoreBatch& batch) {
  for (Source* const source : touched_) {
    std::ranges::sort(source->late_times);
    for (Entry* const entry : source->entries) {
      if (!entry->start_ms()) hopeful_.push_back(entry);
      if (!source->late_times.empty()) AddStretches(*entry, source->late_times, batch);
    }
  }
}

// Each window is looked up once, however many of the times, which ascend, fall into it. Windows
// that follow each other are one stretch; there is one for all that come when there are many.
void StatisticsBook::AddStretches(Entry& entry, const std::vector<std::int64_t>& times,
                                  StoreBatch& batch) {
  const std::optional<std::int64_t> start_ms = entry.start_ms();
  if (!start_ms) return;
  const TouchedWindows touched(*entry.rule, *start_ms, entry.progress.from_ms, entry.claimed_ms);
  LateNodes nodes = {.entry = &entry, .late = {}};
  std::optional<Window> stretch;
  std::int64_t last_number = 0;
  std::span<const std::int64_t> rest = times;
  while (const auto next = touched.First(&rest)) {
    const auto& [number, window] = *next;
    const bool goes_on =
        stretch && (number <= last_number + 1 || nodes.late.size() + 1 >= kMostStretches);
    if (stretch && !goes_on) AddStretch(entry, *stretch, nodes, batch);
    stretch = goes_on ? Window{.begin_ms = stretch->begin_ms, .end_ms = window.end_ms} : window;
    last_number = number;
    TouchedWindows::DropBefore(window.end_ms, &rest);
  }
  if (stretch) AddStretch(entry, *stretch, nodes, batch);
  if (nodes.late.empty()) return;
  new_late_.push_back(std::move(nodes));
  new_late_tags_.insert(entry.rule->tag);
}

bool StatisticsBook::IsCovered(const Entry& entry, const LateNodes& nodes, const Window& stretch) {
  // Those that begin last before it, or where it begins; what is being computed does not count.
  const auto covers = [&](const std::map<std::int64_t, LateStretch>& late) {
    auto at = late.upper_bound(stretch.begin_ms);
    if (at != late.begin()) --at;
    for (; at != late.end() && at->second.first_ms <= stretch.begin_ms; ++at) {
      const bool is_waiting = at->first != entry.late_claimed_ms;
      if (is_waiting && at->second.last_ms >= stretch.end_ms - 1) return true;
    }
    return false;
  };
  return covers(entry.late) || covers(nodes.late);
}

void StatisticsBook::AddStretch(Entry& entry, const Window& stretch, LateNodes& nodes,
                                StoreBatch& batch) const {
  if (IsCovered(entry, nodes, stretch)) return;
  std::int64_t time_ms = stretch.begin_ms;
  while (entry.late.contains(time_ms) || nodes.late.contains(time_ms)) ++time_ms;
  const LateStretch late = {.key = {.tag = entry.rule->tag, .time_ms = time_ms},
                            .first_ms = stretch.begin_ms,
                            .last_ms = stretch.end_ms - 1};
  nodes.late.emplace(time_ms, late);
  Table<LateStretch>::Put(late, batch);
}

// ---- a batch: its end ----

void StatisticsBook::Keep() noexcept {
  if (is_finishing_) Finish();
  for (LateNodes& nodes : new_late_) nodes.entry->late.merge(nodes.late);
  late_tags_.merge(new_late_tags_);
  for (Entry* const entry : hopeful_) {
    entry->may_find_start = true;
    PutInLine(*entry);
  }
  for (std::unique_ptr<Entry>& changed : changed_) Adopt(changed);
  for (const TagId tag : removed_) Remove(tag);
  EndBatch();
}

void StatisticsBook::Discard() noexcept {
  for (const std::unique_ptr<Entry>& changed : changed_) {
    const auto place = entries_.find(changed->rule->tag);
    if (place != entries_.end() && place->second == nullptr) entries_.erase(place);
  }
  EndBatch();
}

void StatisticsBook::EndBatch() noexcept {
  ++batch_;
  proposals_.clear();
  changed_.clear();
  new_places_.clear();
  new_late_tags_.clear();
  new_late_.clear();
  for (Source* const source : touched_) source->late_times = {};
  touched_.clear();
  hopeful_.clear();
  removed_.clear();
  is_finishing_ = false;
}

void StatisticsBook::Adopt(std::unique_ptr<Entry>& changed) noexcept {
  std::unique_ptr<Entry>& entry = entries_.find(changed->rule->tag)->second;
  if (entry != nullptr) {
    Detach(*entry);
    changed->place = entry->place;
    late_tags_.erase(entry->rule->tag);
  } else {
    changed->place = {.tag = changed->rule->tag};
    line_.insert(new_places_.extract(changed->place));
  }
  entry = std::move(changed);
  Attach(*entry);
  PutInLine(*entry);
}

void StatisticsBook::Attach(Entry& entry) noexcept {
  Source& source = **sources_.Find(entry.rule->source);
  ZERVANE_ASSERT(source.entries.size() < source.entries.capacity());
  source.entries.push_back(&entry);
  entry.claimed_ms = std::max(entry.claimed_ms, entry.progress.until_ms);
  source.claimed_ms = std::max(source.claimed_ms, entry.claimed_ms);
}

void StatisticsBook::Detach(Entry& entry) noexcept {
  Source& source = **sources_.Find(entry.rule->source);
  std::erase(source.entries, &entry);
}

void StatisticsBook::Remove(TagId tag) noexcept {
  if (Source* const source = FindSource(tag); source != nullptr) {
    for (Entry* const entry : source->entries) {
      entry->has_source = false;
      PutInLine(*entry);
    }
  }
  const auto found = entries_.find(tag);
  if (found == entries_.end()) return;
  Detach(*found->second);
  line_.erase(found->second->place);
  late_tags_.erase(tag);
  entries_.erase(found);
}

}  // namespace zervane
