#pragma once

#include <cstddef>
#include <cstdint>
#include <vector>

#include "api/fields.h"
#include "api/operation_number.h"
#include "api/words/nothing.h"
#include "api/words/samples.h"
#include "api/words/statistics.h"
#include "api/words/value.h"

// Operations on the archive.
namespace zervane {

// How many archived records a range has; an empty one none. ZR3_ERR_TAG_NOT_FOUND.
struct CountRecords {
  static constexpr OperationNumber kNumber = OperationNumber::kCountRecords;
  using Reply = std::int64_t;

  TagId id = 0;
  TimeRange range;

  static auto Fields(auto& self) {
    return FieldList(Field{"id", self.id}, Field{"range", self.range});
  }
};

// Up to `limit` archived records of the range: the oldest ones ascending, or (backward) the newest
// ones descending. ZR3_ERR_TAG_NOT_FOUND.
struct ReadRecords {
  static constexpr OperationNumber kNumber = OperationNumber::kReadRecords;
  using Reply = SampleColumns;

  TagId id = 0;
  TimeRange range;
  Direction direction = Direction::kForward;
  std::uint64_t limit = 0;

  static auto Fields(auto& self) {
    return FieldList(Field{"id", self.id}, Field{"range", self.range},
                     Field{"direction", self.direction}, Field{"limit", self.limit});
  }
};

// Replaces quality and value of the record that the tag has at exactly the sample's time, in the
// archive, among what is held back or as its current value. ZR3_ERR_TAG_NOT_FOUND,
// ZR3_ERR_INVALID_TAG_CLASS, ZR3_ERR_INVALID_TIME, ZR3_ERR_NO_RECORD, ZR3_ERR_TYPE_MISMATCH,
// ZR3_ERR_VALUE_TOO_LONG, ZR3_ERR_INVALID_TEXT.
struct CorrectRecord {
  static constexpr OperationNumber kNumber = OperationNumber::kCorrectRecord;
  using Reply = Nothing;

  TagId id = 0;
  Sample sample;

  static auto Fields(auto& self) {
    return FieldList(Field{"id", self.id}, Field{"sample", self.sample});
  }
};

// So many instants a request may have: the reply takes some hundreds of MiB then.
constexpr std::size_t kMaxInstants = 10'000'000;

// Samples at instants, and what became of each: ZR3_OK, ZR3_ERR_NO_RECORD, ZR3_ERR_INVALID_TIME and
// others of one tag. Where it is not ZR3_OK the sample is any, of the instant's time.
struct Interpolated {
  SampleColumns samples;
  std::vector<std::int32_t> codes;

  static auto Fields(auto& self) {
    return FieldList(Field{"samples", self.samples}, Field{"codes", self.codes});
  }
  friend bool operator==(const Interpolated&, const Interpolated&) = default;
};

// The values of a tag at instants, which come in any order, some of them more than once.
// ZR3_ERR_TAG_NOT_FOUND, ZR3_ERR_INVALID_ARGUMENT for a mode that is none, ZR3_ERR_INVALID_COUNT
// for too many instants.
struct InterpolateTag {
  static constexpr OperationNumber kNumber = OperationNumber::kInterpolateTag;
  using Reply = Interpolated;

  TagId id = 0;
  InterpolationMode mode = InterpolationMode::kLinear;
  std::vector<std::int64_t> times_ms;

  static auto Fields(auto& self) {
    return FieldList(Field{"id", self.id}, Field{"mode", self.mode},
                     Field{"times_ms", self.times_ms});
  }
};

// The same of many tags, of tag i at instant i. A tag that is unknown, or cannot be read, is that
// instant's code. ZR3_ERR_INVALID_COUNT when there is not one tag for each instant, or too many.
struct InterpolateTags {
  static constexpr OperationNumber kNumber = OperationNumber::kInterpolateTags;
  using Reply = Interpolated;

  InterpolationMode mode = InterpolationMode::kLinear;
  std::vector<TagId> ids;
  std::vector<std::int64_t> times_ms;

  static auto Fields(auto& self) {
    return FieldList(Field{"mode", self.mode}, Field{"ids", self.ids},
                     Field{"times_ms", self.times_ms});
  }
};

// One statistic of a tag's values over regions of time. ZR3_ERR_TAG_NOT_FOUND,
// ZR3_ERR_INVALID_REGION, ZR3_ERR_INVALID_TIME, ZR3_ERR_INVALID_ARGUMENT, ZR3_ERR_TYPE_MISMATCH,
// ZR3_ERR_INVALID_EXPRESSION, ZR3_ERR_NO_RECORD, ZR3_ERR_TOO_FEW_GOOD.
struct CalculateStatistic {
  static constexpr OperationNumber kNumber = OperationNumber::kCalculateStatistic;
  using Reply = double;

  TagId id = 0;
  StatisticRequest request;

  static auto Fields(auto& self) {
    return FieldList(Field{"id", self.id}, Field{"request", self.request});
  }
};

}  // namespace zervane
