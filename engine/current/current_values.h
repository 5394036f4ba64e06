#pragma once

#include <array>
#include <atomic>
#include <cstddef>
#include <cstdint>
#include <optional>
#include <thread>
#include <unordered_map>

#include "api/words/samples.h"
#include "api/words/value.h"
#include "engine/mutex.h"
#include "engine/tag_array.h"
#include "engine/write/turn.h"

namespace zervane {

// The current value of every tag, as it is stored: readers see nothing that could still be lost.
//
// Each tag has its place in an array. A reader of a number takes no lock: the place counts its
// changes, and who finds that it changed while he read reads once more. Texts are kept beside the
// array, under a mutex.
//
// Threads: any may read; what changes values takes the turn.
class CurrentValues {
 public:
  // A value that is to become current: whatever needs memory for that is done.
  struct Next {
    TagId tag = 0;
    TagType type = TagType::kFloat64;
    std::uint16_t quality = ZR3_QUALITY_GOOD;
    std::int64_t time_ms = 0;
    std::uint64_t bits = 0;
    TextValue text;
  };

  std::optional<Sample> Find(TagId tag) const;
  // The same into a sample that is there, for those who ask very often; false when there is none.
  bool FindInto(TagId tag, Sample* sample) const;
  // Adds it to the columns; false when there is none.
  bool AddTo(SampleColumns& columns, TagId tag) const;
  // The time of the current value, or kNoTime.
  std::int64_t TimeOf(TagId tag) const noexcept;

  // Prepares that the sample becomes the tag's value, so that putting it there cannot fail:
  //
  //   const CurrentValues::Next next = values.Prepare(turn, tag, samples, at);
  //   ... the store keeps it ...
  //   values.Put(turn, next);
  Next Prepare(Turn& turn, TagId tag, const SampleColumns& samples, std::size_t at);
  void Put(Turn& turn, const Next& next) noexcept;
  void Remove(Turn& turn, TagId tag) noexcept;

 private:
  // Atomic each for itself, and consistent together by the count of changes.
  struct Place {
    std::atomic<std::uint32_t> changes = 0;  // odd while it changes
    std::atomic<std::uint16_t> quality = 0;
    std::atomic<TagType> type = TagType::kFloat64;
    std::atomic<std::int64_t> time_ms = kNoTime;
    std::atomic<std::uint64_t> bits = 0;
  };
  static_assert(sizeof(Place) == 24);  // a million tags have one each

  // What a place holds; of a text without the text.
  struct Number {
    std::uint16_t quality = 0;
    TagType type = TagType::kFloat64;
    std::int64_t time_ms = kNoTime;
    std::uint64_t bits = 0;
  };

  // The texts of the tags that fall into it. Places of texts change under its mutex, so that a
  // reader who holds it finds a place and its text together.
  struct TextPart {
    mutable Mutex mutex;
    std::unordered_map<TagId, TextValue> texts GUARDED_BY(mutex);
  };
  static constexpr TagId kTextParts = 64;

  Number Read(const Place& place) const noexcept;
  static void Write(Place& place, const Next& next) noexcept;
  // A value that was found to be a text, with it; it may be gone by now.
  std::optional<Sample> FindText(TagId tag, const Place& place) const;

  SharedTagArray<Place> places_;
  std::array<TextPart, kTextParts> text_parts_;
};

// What was read belongs together when no change had begun before and none has since: every load
// acquires what the writer released, so whoever has read something of a change sees its count too.
inline CurrentValues::Number CurrentValues::Read(const Place& place) const noexcept {
  constexpr int kTriesInARow = 64;
  for (int tries = 1;; ++tries) {
    const std::uint32_t before = place.changes.load(std::memory_order_acquire);
    const Number number = {.quality = place.quality.load(std::memory_order_acquire),
                           .type = place.type.load(std::memory_order_acquire),
                           .time_ms = place.time_ms.load(std::memory_order_acquire),
                           .bits = place.bits.load(std::memory_order_acquire)};
    const std::uint32_t after = place.changes.load(std::memory_order_relaxed);
    if (before == after && before % 2 == 0) return number;
    // The writer may have lost its processor in the middle of a change.
    if (tries % kTriesInARow == 0) std::this_thread::yield();
  }
}

}  // namespace zervane
