#pragma once

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <memory>
#include <span>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "api/database.h"
#include "api/operation_table.h"

namespace zervane {

// Asks a database its operations by name, as tests like to write them. Owns the database, unless it
// was made of a reference.
class DatabaseClient {
 public:
  DatabaseClient() = default;
  DatabaseClient(std::unique_ptr<Database> database)  // NOLINT(google-explicit-constructor)
      : owned_(std::move(database)), database_(owned_.get()) {}
  explicit DatabaseClient(Database& database, Caller caller = {})
      : database_(&database), caller_(std::move(caller)) {}

  Database& database() const { return *database_; }
  DatabaseClient* operator->() { return this; }
  DatabaseClient& operator*() { return *this; }
  void reset() {
    owned_.reset();
    database_ = nullptr;
  }

  Result<TagId> AddTag(const Tag& tag, PropertyMask mask) { return Do(zervane::AddTag{tag, mask}); }
  Status ModifyTag(TagId id, std::int32_t tag_class, const Tag& tag, PropertyMask mask) {
    return Do(zervane::ModifyTag{id, tag_class, tag, mask}).status();
  }
  Status DeleteTag(TagId id) { return Do(zervane::DeleteTag{id}).status(); }
  Result<Tag> GetTag(TagId id) { return Do(zervane::GetTag{id}); }
  ZR3_STATUS GetTagType(TagId id, TagType* type) {
    const Result<TagType> answer = Do(zervane::GetTagType{id});
    if (answer.ok()) *type = *answer;
    return answer.code();
  }
  Result<TagId> FindTag(std::string_view name) { return Do(FindTagId{std::string(name)}); }
  Result<std::int64_t> CatalogueVersion() { return Do(GetCatalogueVersion{}); }

  Status Write(const std::vector<TagSample>& records, WriteOrder order, WriteAnswer answer,
               std::span<std::int32_t> codes) {
    WriteSamples write{.batch = {}, .order = order, .answer = answer};
    for (const TagSample& record : records) write.batch.Add(record.tag, record.sample);
    std::fill(codes.begin(), codes.end(), ZR3_OK);
    const Result<WriteSamples::Reply> reply = Do(write);
    if (!reply.ok()) {
      std::fill(codes.begin(), codes.end(), reply.code());
      return reply.status();
    }
    std::copy(reply->codes.begin(), reply->codes.end(), codes.begin());
    return {reply->status, {}};
  }

  Result<Sample> ReadCurrent(TagId id) { return Do(zervane::ReadCurrent{id}); }
  Result<std::int64_t> CountRecords(TagId id, TimeRange range) {
    return Do(zervane::CountRecords{id, range});
  }
  Result<std::vector<Sample>> ReadRecords(TagId id, TimeRange range, Direction direction,
                                          std::size_t limit) {
    const Result<SampleColumns> columns = Do(zervane::ReadRecords{id, range, direction, limit});
    if (!columns.ok()) return columns.status();
    std::vector<Sample> samples;
    for (std::size_t at = 0; at < columns->size(); ++at) samples.push_back(columns->At(at));
    return samples;
  }
  Status CorrectRecord(TagId id, const Sample& sample) {
    return Do(zervane::CorrectRecord{id, sample}).status();
  }
  Result<std::int64_t> ServerTimeMs() { return Do(ReadClock{}); }
  Status Close() { return database_->Close(); }

  template <typename Op>
  Result<typename Op::Reply> Do(const Op& operation) {
    return database_->Do(caller_, operation);
  }

 private:
  std::unique_ptr<Database> owned_;
  Database* database_ = nullptr;
  Caller caller_;
};

}  // namespace zervane
