#include "engine/derived/statistics_tags/statistics_stage.h"

#include <spdlog/fmt/fmt.h>

#include <algorithm>
#include <limits>
#include <map>
#include <utility>

#include "engine/derived/statistics_tags/progress_rows.h"
#include "engine/storage/table.h"

namespace zervane {
namespace {

constexpr std::size_t kAll = std::numeric_limits<std::size_t>::max();

Status DamagedProgress(TagId tag, std::string_view what) {
  return {ZR3_ERR_STORAGE_DAMAGED,
          fmt::format("what the store holds of statistics tag {}: {}", tag, what)};
}

}  // namespace

Status StatisticsStage::Load(Turn& turn, std::vector<StatisticsRule> rules) {
  turn.AssertHeld();
  std::map<TagId, StatisticsProgress> all;
  using Format = RowFormat<StatisticsProgress>;
  Status status = Table<StatisticsProgress>(store_).Visit(
      {.table = Format::kTable, .from = Format::AllKeys(), .to = Format::AllKeys()}, kAll,
      [&](const StatisticsProgress& progress) {
        all.emplace(progress.tag, progress);
        return true;
      });
  if (!status.ok()) return status;
  if (all.size() > rules.size()) return DamagedProgress(all.rbegin()->first, "too many are there");
  for (StatisticsRule& rule : rules) {
    const auto progress = all.find(rule.tag);
    if (progress == all.end()) return DamagedProgress(rule.tag, "how far it is stands nowhere");
    const bool has_source = tags_.Find(rule.source).has_value();
    book_.Load(std::move(rule), has_source, progress->second);
  }
  Status fault;
  using LateFormat = RowFormat<LateStretch>;
  status = Table<LateStretch>(store_).Visit(
      {.table = LateFormat::kTable, .from = LateFormat::AllKeys(), .to = LateFormat::AllKeys()},
      kAll, [&](const LateStretch& late) {
        if (!book_.LoadLate(late)) fault = DamagedProgress(late.key.tag, "there is no such tag");
        return fault.ok();
      });
  next_due_ms_.store(book_.NextDue());
  return fault.ok() ? status : fault;
}

Status StatisticsStage::Process(Turn& turn, const StagedRecords& group, StoreBatch& batch) {
  if (std::ranges::any_of(group.rows, IsOfStatistics)) {
    if (Status status = PrepareFinish(turn); !status.ok()) return status;
  }
  for (const std::uint32_t at : group.read) {
    book_.PassRecord(group.tags[at], group.samples.times()[at]);
  }
  if (!group.read.empty()) book_.EndRecords(batch);
  return {};
}

Status StatisticsStage::PrepareFinish(Turn& turn) {
  turn.AssertHeld();
  if (!book_.IsClaimGood()) {
    return {ZR3_ERR_TAG_NOT_FOUND, "a statistics tag is not as it was"};
  }
  book_.PrepareFinish();
  return {};
}

Status StatisticsStage::PrepareTagChange(Turn& turn, TagId tag, StoreBatch& batch) {
  turn.AssertHeld();
  book_.PrepareRule(
      tag, [this](TagId source) { return tags_.Find(source).has_value(); }, batch);
  return {};
}

Status StatisticsStage::PrepareTagRemoval(Turn& turn, TagId tag, StoreBatch& batch) {
  turn.AssertHeld();
  book_.PrepareRemoval(tag, batch);
  return {};
}

void StatisticsStage::Keep(Turn& turn) noexcept {
  turn.AssertHeld();
  book_.Keep();
  const std::int64_t due_ms = book_.NextDue();
  const bool is_earlier = due_ms < next_due_ms_.exchange(due_ms);
  if (is_earlier && wake_) wake_();
}

void StatisticsStage::Discard(Turn& turn) noexcept {
  turn.AssertHeld();
  book_.Discard();
}

}  // namespace zervane
