#include "tests/engine/database/archive_model.h"

#include <spdlog/fmt/fmt.h>

#include <algorithm>
#include <cmath>
#include <iterator>
#include <utility>

#include "tests/engine/storage/support.h"

namespace zervane {
namespace {

std::string Describe(const Value& value) {
  switch (value.kind()) {
    case Value::Kind::kInteger:
      return fmt::format("{}", value.integer());
    case Value::Kind::kFloat32:
      return fmt::format("{}", value.float32());
    case Value::Kind::kFloat64:
      return fmt::format("{}", value.float64());
    case Value::Kind::kText:
      break;
  }
  return fmt::format("a text of {} bytes", value.text_size());
}

std::string DescribeAt(const std::vector<Sample>& list, std::size_t i) {
  if (i >= list.size()) return "none";
  return fmt::format("{} ms, quality {}, {}", list[i].time_ms, list[i].quality,
                     Describe(list[i].value));
}

}  // namespace

std::vector<std::int32_t> ArchiveModel::Accept(const std::vector<TagSample>& batch,
                                               WriteOrder order) {
  std::vector<std::int32_t> codes;
  std::vector<TagSample> accepted;
  for (const TagSample& record : batch) {
    const auto tag = tags_.find(record.tag);
    if (tag == tags_.end()) {
      codes.push_back(ZR3_ERR_TAG_NOT_FOUND);
      continue;
    }
    std::int64_t& newest_ms = tag->second.newest_ms;
    if (order == WriteOrder::kInOrder && record.sample.time_ms < newest_ms) {
      codes.push_back(ZR3_ERR_OUT_OF_ORDER);
      continue;
    }
    codes.push_back(ZR3_OK);
    newest_ms = std::max(newest_ms, record.sample.time_ms);
    accepted.push_back(record);
  }
  unstored_.push_back(std::move(accepted));
  return codes;
}

std::int32_t ArchiveModel::Correct(TagId id, const Sample& sample) {
  const auto tag = tags_.find(id);
  if (tag == tags_.end()) return ZR3_ERR_TAG_NOT_FOUND;
  if (sample.type != tag->second.type) return ZR3_ERR_TYPE_MISMATCH;
  if (!HasRecordAt(id, sample.time_ms)) return ZR3_ERR_NO_RECORD;
  unstored_.push_back({{id, sample}});
  return ZR3_OK;
}

// Of a tag without an archive there is the newest record alone.
bool ArchiveModel::HasRecordAt(TagId id, std::int64_t time_ms) const {
  const Tag& tag = tags_.at(id);
  if (!tag.archiving) return time_ms == tag.newest_ms;
  if (tag.archive.contains(time_ms)) return true;
  return std::ranges::any_of(unstored_, [&](const std::vector<TagSample>& batch) {
    return std::ranges::any_of(batch, [&](const TagSample& record) {
      return record.tag == id && record.sample.time_ms == time_ms;
    });
  });
}

void ArchiveModel::StoreNext() {
  for (TagSample& record : unstored_.front()) {
    Tag& tag = tags_.at(record.tag);
    const std::int64_t time_ms = record.sample.time_ms;
    if (!tag.current || time_ms >= tag.current->time_ms) tag.current = record.sample;
    if (tag.archiving) tag.archive.insert_or_assign(time_ms, std::move(record.sample));
  }
  unstored_.erase(unstored_.begin());
}

void ArchiveModel::StoreAll() {
  while (!unstored_.empty()) StoreNext();
}

void ArchiveModel::LoseUnstored() {
  unstored_.clear();
  for (auto& [id, tag] : tags_) tag.newest_ms = tag.current ? tag.current->time_ms : kNoTime;
}

std::vector<Sample> ArchiveModel::Read(TagId id, TimeRange range, Direction direction,
                                       std::size_t limit) const {
  std::vector<Sample> records;
  if (range.from_ms > range.to_ms) return records;
  const auto& archive = tags_.at(id).archive;
  auto begin = archive.lower_bound(range.from_ms);
  auto end = archive.upper_bound(range.to_ms);
  while (begin != end && records.size() < limit) {
    records.push_back(direction == Direction::kForward ? (begin++)->second : (--end)->second);
  }
  return records;
}

std::int64_t ArchiveModel::Count(TagId id, TimeRange range) const {
  if (range.from_ms > range.to_ms) return 0;
  const auto& archive = tags_.at(id).archive;
  return std::distance(archive.lower_bound(range.from_ms), archive.upper_bound(range.to_ms));
}

std::vector<Sample> ArchiveModel::Points(TagId id) const {
  std::vector<Sample> points;
  for (const auto& [time_ms, record] : tags_.at(id).archive) points.push_back(record);
  return points;
}

std::string FirstDifference(const std::vector<Sample>& expected,
                            const std::vector<Sample>& actual) {
  const auto [e, a] = std::mismatch(expected.begin(), expected.end(), actual.begin(), actual.end(),
                                    storage::Identical);
  if (e == expected.end() && a == actual.end()) return {};
  const auto i = static_cast<std::size_t>(e - expected.begin());
  return fmt::format("record {}: expected {}, got {} (of {} and {} records)", i,
                     DescribeAt(expected, i), DescribeAt(actual, i), expected.size(),
                     actual.size());
}

namespace {

double ValueOnLine(const Sample& a, const Sample& b, std::int64_t time_ms) {
  const double part =
      static_cast<double>(time_ms - a.time_ms) / static_cast<double>(b.time_ms - a.time_ms);
  return a.value.float64() * (1 - part) + b.value.float64() * part;
}

// The kept records of a tag with filters beside all that were accepted: what lies behind the last
// kept one is still held.
std::string DifferenceOfKept(const ArchiveModel::Tag& tag, const std::vector<Sample>& kept) {
  auto next = kept.begin();
  for (const auto& [time_ms, record] : tag.archive) {
    if (next == kept.end()) return {};
    if (next->time_ms == time_ms) {
      if (!storage::Identical(*next++, record)) return fmt::format("another at {} ms", time_ms);
      continue;
    }
    if (next == kept.begin()) return "the first is missing";
    const double rebuilt = ValueOnLine(*std::prev(next), *next, time_ms);
    const double error = std::abs(record.value.float64() - rebuilt);
    if (error > tag.tolerance) return fmt::format("off by {} at {} ms", error, time_ms);
  }
  if (next == kept.end()) return {};
  return fmt::format("a record at {} ms that was not written, or is there twice", next->time_ms);
}

std::string DifferenceOfArchive(const ArchiveModel::Tag& tag, const std::vector<Sample>& actual) {
  if (tag.tolerance > 0) return DifferenceOfKept(tag, actual);
  std::vector<Sample> expected;
  for (const auto& [time_ms, record] : tag.archive) expected.push_back(record);
  return FirstDifference(expected, actual);
}

}  // namespace

std::string DifferenceOfCurrent(const ArchiveModel& model, DatabaseClient& database, TagId id) {
  const std::optional<Sample>& expected = model.tags().at(id).current;
  const Result<Sample> actual = database.ReadCurrent(id);
  if (!actual.ok() && actual.code() != ZR3_ERR_NO_RECORD) return actual.status().message();
  const auto list = [](bool exists, const auto& sample) {
    return exists ? std::vector<Sample>{*sample} : std::vector<Sample>();
  };
  return FirstDifference(list(expected.has_value(), expected), list(actual.ok(), actual));
}

std::string DifferenceOfAll(const ArchiveModel& model, DatabaseClient& database) {
  for (const auto& [id, tag] : model.tags()) {
    const auto archive = database.ReadRecords(id, {}, Direction::kForward, SIZE_MAX);
    if (!archive.ok()) return fmt::format("tag {}: {}", id, archive.status().message());
    std::string difference = DifferenceOfArchive(tag, *archive);
    if (!difference.empty()) return fmt::format("tag {}, {}", id, difference);
    difference = DifferenceOfCurrent(model, database, id);
    if (!difference.empty()) return fmt::format("tag {}, current value, {}", id, difference);
  }
  return {};
}

std::string DifferenceAfterCrash(ArchiveModel& model, DatabaseClient& database) {
  std::string differences;
  for (int more = 0;; ++more) {
    const std::string difference = DifferenceOfAll(model, database);
    if (difference.empty()) return {};
    differences += fmt::format("with {} of the batches that could be lost: {}\n", more, difference);
    if (model.unstored() == 0) return differences;
    model.StoreNext();
  }
}

}  // namespace zervane
