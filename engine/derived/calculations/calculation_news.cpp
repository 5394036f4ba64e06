#include "engine/derived/calculations/calculation_news.h"

#include <algorithm>
#include <iterator>

#include "engine/assert.h"

namespace zervane {
namespace {

bool HasValuesAlone(const CalculationNews& news) {
  return news.saved.empty() && news.found.empty() && news.removed.empty() && !news.corrects;
}

}  // namespace

void CalculationNewsQueue::Append(List& news) noexcept {
  const MutexLock lock(mutex_);
  for (const CalculationNews& one : news) values_ += one.values.size();
  waiting_.splice(waiting_.end(), news);
}

CalculationNewsQueue::List CalculationNewsQueue::TakeAll() noexcept {
  List all;
  Places places;  // goes without the mutex
  const MutexLock lock(mutex_);
  all.swap(waiting_);
  values_ = 0;
  joined_ = nullptr;
  places_.swap(places);
  return all;
}

void CalculationNewsQueue::Compact() {
  const MutexLock lock(mutex_);
  if (values_ < kMostValues || waiting_.size() < 2) return;
  const auto last = std::prev(waiting_.end());
  const auto before = std::prev(last);
  if (!HasValuesAlone(*before) || !HasValuesAlone(*last)) return;
  const std::size_t both = before->values.size() + last->values.size();
  Join(*before, *last);
  values_ -= both - before->values.size();
  waiting_.erase(last);
}

// Of each tag the later value. What can fail comes first.
void CalculationNewsQueue::Join(CalculationNews& news, const CalculationNews& later) {
  std::vector<OperandValue>& values = news.values;
  const std::size_t most = values.size() + later.values.size();
  if (values.capacity() < most) values.reserve(std::max(most, 2 * values.capacity()));
  FindPlaces(news, later);
  for (const OperandValue& value : later.values) {
    const std::size_t place = places_.find(value.tag)->second;
    ZERVANE_ASSERT(place <= values.size());
    if (place == values.size()) {
      values.push_back(value);
    } else {
      values[place] = value;
    }
  }
  news.number = later.number;
  news.notifies = news.notifies || later.notifies;
}

void CalculationNewsQueue::FindPlaces(const CalculationNews& news, const CalculationNews& later) {
  const bool are_there = joined_ == &news;
  joined_ = nullptr;  // for as long as they are of neither
  if (!are_there) {
    places_.clear();
    for (const OperandValue& value : news.values) places_.emplace(value.tag, places_.size());
  }
  for (const OperandValue& value : later.values) places_.emplace(value.tag, places_.size());
  joined_ = &news;
}

}  // namespace zervane
