#include "engine/relay/relay_queue.h"

#include <algorithm>
#include <memory>

#include "engine/assert.h"

namespace zervane {

void RelayQueue::SetWanted(const Wanted& wanted) noexcept {
  const MutexLock lock(mutex_);
  wanted_ = wanted;
  if (!wanted[static_cast<std::size_t>(RelayKind::kValue)]) {
    values_.clear();
    superseded_.clear();
    newest_of_tag_.clear();
    is_asked_for_all_ = false;
  }
  std::erase_if(alarms_, [&](const auto& entry) {
    return !wanted[static_cast<std::size_t>(entry.second.kind)];
  });
}

void RelayQueue::Push(RelayEntry entry) {
  {
    const MutexLock lock(mutex_);
    if (!wanted_[static_cast<std::size_t>(entry.kind)]) return;
    entry.number = ++last_number_;
    Entries one;
    one.emplace(entry.number, std::move(entry));
    Insert(one.extract(one.begin()));
    MakeRoom();
  }
  news_.Set();
}

// What needs memory comes first, so that the entry is there with all that is known of it, or not at
// all.
void RelayQueue::Insert(Entries::node_type node) {
  const RelayEntry& entry = node.mapped();
  if (!entry.is_value()) {
    alarms_.insert(std::move(node));
    return;
  }
  const auto [newest, is_first] = newest_of_tag_.try_emplace(entry.tag, entry.number);
  if (!is_first) {
    superseded_.insert(std::min(newest->second, entry.number));
    newest->second = std::max(newest->second, entry.number);
  }
  values_.insert(std::move(node));
}

void RelayQueue::MakeRoom() noexcept {
  while (Count() > max_entries_) {
    ++gone_;
    if (!superseded_.empty()) {
      Extract(values_.find(*superseded_.begin()));
    } else if (!values_.empty()) {
      Extract(values_.begin());
      is_asked_for_all_ = true;
    } else {
      alarms_.erase(alarms_.begin());
    }
  }
}

RelayQueue::Entries::node_type RelayQueue::Extract(Entries::iterator place) noexcept {
  const RelayEntry& entry = place->second;
  if (!entry.is_value()) return alarms_.extract(place);
  if (superseded_.erase(entry.number) == 0) newest_of_tag_.erase(entry.tag);
  return values_.extract(place);
}

RelayQueue::Entries& RelayQueue::FirstOf() {
  if (alarms_.empty()) return values_;
  if (values_.empty()) return alarms_;
  return values_.begin()->first < alarms_.begin()->first ? values_ : alarms_;
}

bool RelayQueue::IsOutdated(const RelayEntry& entry) const {
  if (!entry.is_value()) return false;
  const std::int64_t* sent = sent_until_.Find(entry.tag);
  return sent != nullptr && entry.sample.time_ms < *sent;
}

std::vector<RelayEntry> RelayQueue::Pop(std::size_t max) {
  const MutexLock lock(mutex_);
  std::vector<RelayEntry> popped;
  popped.reserve(std::min(max, Count()));
  while (popped.size() < max && Count() > 0) {
    Entries& entries = FirstOf();
    Entries::node_type node = Extract(entries.begin());
    if (!IsOutdated(node.mapped())) popped.push_back(std::move(node.mapped()));
  }
  return popped;
}

void RelayQueue::PutBack(std::vector<RelayEntry> entries) noexcept {
  {
    const MutexLock lock(mutex_);
    for (RelayEntry& entry : entries) {
      if (!wanted_[static_cast<std::size_t>(entry.kind)]) continue;
      try {
        Entries one;
        const std::uint64_t number = entry.number;
        one.emplace(number, std::move(entry));
        Insert(one.extract(one.begin()));
      } catch (...) {
        ++gone_;
        is_asked_for_all_ = true;
      }
    }
    MakeRoom();
  }
  news_.Set();
}

void RelayQueue::NoteSent(std::span<const SentValue> values) {
  const MutexLock lock(mutex_);
  for (const auto& [tag, time_ms] : values) {
    std::int64_t& sent = sent_until_.At(tag);
    sent = std::max(sent, time_ms);
  }
}

void RelayQueue::AskForAll() noexcept {
  {
    const MutexLock lock(mutex_);
    if (!wanted_[static_cast<std::size_t>(RelayKind::kValue)]) return;
    is_asked_for_all_ = true;
  }
  news_.Set();
}

bool RelayQueue::WasAskedForAll() noexcept {
  const MutexLock lock(mutex_);
  return std::exchange(is_asked_for_all_, false);
}

bool RelayQueue::HasEntries() const {
  const MutexLock lock(mutex_);
  return Count() > 0;
}

std::uint64_t RelayQueue::newest() const {
  const MutexLock lock(mutex_);
  const std::uint64_t value = values_.empty() ? 0 : values_.rbegin()->first;
  const std::uint64_t alarm = alarms_.empty() ? 0 : alarms_.rbegin()->first;
  return std::max(value, alarm);
}

std::size_t RelayQueue::size() const {
  const MutexLock lock(mutex_);
  return Count();
}

std::uint64_t RelayQueue::CountGone() noexcept {
  const MutexLock lock(mutex_);
  return std::exchange(gone_, 0);
}

}  // namespace zervane
