#pragma once

#include <cstdint>

#include "api/words/samples.h"
#include "api/words/status.h"
#include "api/words/value.h"
#include "engine/catalogue/tag_index.h"
#include "engine/current/current_values.h"
#include "engine/storage/store.h"

namespace zervane {

// The records that a tag has as far as answers about its past are concerned: its archive and,
// behind it, what its filters hold back. So an answer never depends on whether they have let go.
//
// Nothing that is held is missed beside a writer: a record only ever goes from the current value to
// what is held, and from there to the archive, which are read in this order. What was read on its
// way counts once: of the tail, that is what was current or held, only records count that are newer
// than the newest archived one of the range.
//
//   const Result<TagPoints> points = TagPoints::Read(store, current_values, tag, traits, clock());
//   if (!points.ok()) return points.status();
//   return points->Visit(range, Direction::kForward, visitor);
class TagPoints {
 public:
  // Reads the tail. The status of the store.
  static Result<TagPoints> Read(Store& store, const CurrentValues& current_values, TagId tag,
                                const TagTraits& traits, std::int64_t clock_ms);

  TagType type() const { return type_; }

  // The later of the clock and the tag's newest record. Nothing is known beyond it.
  std::int64_t now_ms() const { return now_ms_; }

  // The same points without those that are not good, as if these had never been. What is newest
  // stays so.
  TagPoints WithoutBad() const {
    TagPoints points = *this;
    points.has_bad_ = false;
    return points;
  }

  // Shows the records of the range, up to now, to the visitor as Store::Scan does.
  Status Visit(TimeRange range, Direction direction, ScanVisitor& visitor) const;

 private:
  TagPoints(Store& store, TagId tag, TagType type, std::int64_t now_ms)
      : store_(&store), tag_(tag), type_(type), now_ms_(now_ms) {}

  Status ReadTail(const CurrentValues& current_values);

  Store* store_;
  TagId tag_;
  TagType type_;
  std::int64_t now_ms_;
  bool has_bad_ = true;  // bad ones are shown, too
  SampleColumns tail_;   // up to two records, ascending
};

}  // namespace zervane
