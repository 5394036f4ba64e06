#pragma once

#include <cstdint>
#include <map>
#include <optional>
#include <random>
#include <string>
#include <vector>

#include "engine/storage/store.h"
#include "tests/engine/storage/store_driver.h"

// What the writing process of the kill test does: one call of the store a step, known from the
// step's number alone, so that the testing process knows what each answer vouches for.
namespace zervane::storage {

struct KillStep {
  std::optional<TagId> put;
  std::optional<TagId> remove;
  std::vector<MarkedSample> batch;
};

constexpr TagId kLastingTags = 5;

inline KillStep StepOf(unsigned seed, std::int64_t number) {
  KillStep step;
  if (number < kLastingTags) {
    step.put = static_cast<TagId>(number + 1);
    return step;
  }
  // Besides the lasting tags there is one that lives from step 3 to step 15 of every 16.
  const auto passing_tag = static_cast<TagId>(kLastingTags + number / 16);
  const std::int64_t age = number < 16 ? 0 : number % 16;
  if (age == 3) step.put = passing_tag;
  if (age == 15) step.remove = passing_tag;
  if (step.put || step.remove) return step;
  std::mt19937_64 random(seed + static_cast<std::uint64_t>(number));
  const auto draw = [&](std::int64_t from, std::int64_t to) {
    return std::uniform_int_distribution(from, to)(random);
  };
  step.batch.resize(static_cast<std::size_t>(draw(1, 30)));
  std::int64_t time_ms = number * 100;
  for (MarkedSample& record : step.batch) {
    const bool passing = age > 3 && draw(0, 5) == 0;
    record.tag = passing ? passing_tag : static_cast<TagId>(draw(1, kLastingTags));
    // In order, late, or again at the time of a record of an earlier step. (One draw a statement:
    // both processes must draw in one order.)
    const bool in_order = draw(0, 3) > 0;
    const std::int64_t earlier_step = draw(0, number);
    const std::int64_t place = draw(1, 10);
    record.sample.time_ms = in_order ? ++time_ms : earlier_step * 100 + place;
    record.sample.value = static_cast<double>(number) + static_cast<double>(place) / 16;
    const bool archives = draw(0, 9) > 0;
    const bool is_current = draw(0, 9) > 0;
    record.marks =
        static_cast<std::uint8_t>((archives ? kArchive : 0) | (is_current ? kCurrent : 0));
  }
  return step;
}

// The store's answer to the step.
inline Status Perform(const KillStep& step, Store& store) {
  if (step.remove) return RemoveTag(store, *step.remove);
  if (step.put) return PutTag(store, TagNamed(*step.put, "TAG" + std::to_string(*step.put)));
  return Append(store, step.batch);
}

// What the steps so far add up to.
struct KillModel {
  struct Tag {
    std::map<std::int64_t, Sample> archive;
    std::optional<Sample> current;

    friend bool operator==(const Tag&, const Tag&) = default;
  };

  std::map<TagId, Tag> tags;

  void Apply(const KillStep& step) {
    if (step.put) tags[*step.put];
    if (step.remove) tags.erase(*step.remove);
    for (const MarkedSample& record : step.batch) {
      Tag& tag = tags.at(record.tag);
      if ((record.marks & kArchive) != 0) tag.archive[record.sample.time_ms] = record.sample;
      if ((record.marks & kCurrent) != 0) tag.current = record.sample;
    }
  }

  friend bool operator==(const KillModel&, const KillModel&) = default;
};

}  // namespace zervane::storage
