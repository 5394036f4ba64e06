#include "engine/subscriptions/waiting_changes.h"

#include <algorithm>
#include <unordered_set>
#include <utility>
#include <vector>

namespace zervane {

void WaitingChanges::Add(TagId tag, const SampleColumns& samples, std::size_t at) {
  MakeRoom();
  changes_.samples.AddFrom(samples, at);
  changes_.tags.push_back(tag);  // there is room
}

void WaitingChanges::Add(TagId tag, const Sample& sample) {
  MakeRoom();
  changes_.samples.Add(sample);
  changes_.tags.push_back(tag);
}

SampleBatch WaitingChanges::PopAll() {
  if (changes_.size() > max_changes_) Trim();
  trim_at_ = 0;
  return std::exchange(changes_, {});
}

std::uint64_t WaitingChanges::CountGone() noexcept { return std::exchange(gone_, 0); }

void WaitingChanges::MakeRoom() {
  if (changes_.size() >= std::max(trim_at_, 2 * max_changes_)) {
    Trim();
    trim_at_ = 2 * changes_.size();
  }
  if (changes_.tags.size() == changes_.tags.capacity()) {
    changes_.tags.reserve(std::max<std::size_t>(16, 2 * changes_.tags.size()));
  }
}

void WaitingChanges::Trim() {
  std::vector<bool> has_newer(changes_.size());
  std::unordered_set<TagId> seen;
  for (std::size_t at = changes_.size(); at-- > 0;) {
    has_newer[at] = !seen.insert(changes_.tags[at]).second;
  }
  std::size_t too_many = changes_.size() - std::min(changes_.size(), max_changes_);
  SampleBatch kept;
  kept.tags.reserve(changes_.size());
  for (std::size_t at = 0; at < changes_.size(); ++at) {
    if (too_many > 0 && has_newer[at]) {
      --too_many;
      continue;
    }
    kept.samples.AddFrom(changes_.samples, at);
    kept.tags.push_back(changes_.tags[at]);
  }
  gone_ += changes_.size() - kept.size();
  changes_ = std::move(kept);
}

}  // namespace zervane
