#pragma once

#include <cstddef>
#include <cstdint>
#include <map>
#include <optional>
#include <string>
#include <vector>

#include "tests/support/database_client.h"

namespace zervane {

// What a database must tell: for each tag a plain map from time to record. It knows the tags, what
// is stored, and what was accepted after that and may still be lost with the process.
class ArchiveModel {
 public:
  struct Tag {
    TagType type = TagType::kFloat64;
    bool archiving = true;
    std::map<std::int64_t, Sample> archive;
    std::optional<Sample> current;
    std::int64_t newest_ms = kNoTime;  // accepted, stored or not
    // Above 0 the tag has filters, and the database may keep a part of the archive alone: so much
    // that no other value differs from the line between its kept neighbours by more than this.
    double tolerance = 0;
  };

  // In order of identifier.
  std::map<TagId, Tag>& tags() { return tags_; }
  const std::map<TagId, Tag>& tags() const { return tags_; }

  // Takes a batch in: the code of each record, as the database must answer them.
  std::vector<std::int32_t> Accept(const std::vector<TagSample>& batch, WriteOrder order);

  // Takes a correction in, after all that was accepted before: its code. Where it is ZR3_OK it is
  // the last of the accepted batches.
  std::int32_t Correct(TagId id, const Sample& sample);

  // The accepted batches that may still be lost.
  std::size_t unstored() const { return unstored_.size(); }
  // The oldest one is stored; all are.
  void StoreNext();
  void StoreAll();
  // The process has ended, and they are lost.
  void LoseUnstored();

  std::vector<Sample> Read(TagId id, TimeRange range, Direction direction, std::size_t limit) const;
  std::int64_t Count(TagId id, TimeRange range) const;
  // All records that answers about the past are made of: REQUIRES a tag without filters.
  std::vector<Sample> Points(TagId id) const;

 private:
  // Whether a record of that time is stored or accepted.
  bool HasRecordAt(TagId id, std::int64_t time_ms) const;

  std::map<TagId, Tag> tags_;
  std::vector<std::vector<TagSample>> unstored_;  // of each batch what was accepted
};

// What differs first, and where; empty when nothing does. Values are compared to the last bit.
std::string FirstDifference(const std::vector<Sample>& expected, const std::vector<Sample>& actual);
std::string DifferenceOfCurrent(const ArchiveModel& model, DatabaseClient& database, TagId id);
std::string DifferenceOfAll(const ArchiveModel& model, DatabaseClient& database);

// Like the last one after the end of the process: of the batches that could be lost the database
// has the oldest ones, however many, and the model stores as many.
std::string DifferenceAfterCrash(ArchiveModel& model, DatabaseClient& database);

}  // namespace zervane
