#include "engine/derived/calculations/calculation_news.h"

#include <iterator>
#include <unordered_map>
#include <utility>

namespace zervane {
namespace {

bool HasValuesAlone(const CalculationNews& news) {
  return news.saved.empty() && news.found.empty() && news.removed.empty() && !news.corrects;
}

// The values of both, of each tag the later one.
std::vector<OperandValue> Joined(const std::vector<OperandValue>& earlier,
                                 const std::vector<OperandValue>& later) {
  std::vector<OperandValue> joined = earlier;
  std::unordered_map<TagId, std::size_t> places;
  for (std::size_t at = 0; at < joined.size(); ++at) places[joined[at].tag] = at;
  for (const OperandValue& value : later) {
    const auto [place, is_new] = places.emplace(value.tag, joined.size());
    if (is_new) {
      joined.push_back(value);
    } else {
      joined[place->second] = value;
    }
  }
  return joined;
}

}  // namespace

void CalculationNewsQueue::Append(List& news) noexcept {
  const MutexLock lock(mutex_);
  for (const CalculationNews& one : news) values_ += one.values.size();
  waiting_.splice(waiting_.end(), news);
}

CalculationNewsQueue::List CalculationNewsQueue::TakeAll() noexcept {
  List all;
  const MutexLock lock(mutex_);
  all.swap(waiting_);
  values_ = 0;
  return all;
}

void CalculationNewsQueue::Compact() {
  const MutexLock lock(mutex_);
  if (values_ < kMostValues || waiting_.size() < 2) return;
  const auto last = std::prev(waiting_.end());
  const auto before = std::prev(last);
  if (!HasValuesAlone(*before) || !HasValuesAlone(*last)) return;
  std::vector<OperandValue> joined = Joined(before->values, last->values);
  values_ -= before->values.size() + last->values.size() - joined.size();
  before->values = std::move(joined);
  before->number = last->number;
  before->notifies = before->notifies || last->notifies;
  waiting_.erase(last);
}

}  // namespace zervane
