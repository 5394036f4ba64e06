#include "engine/write/group_marks.h"

#include <limits>
#include <optional>

#include "engine/write/acceptance.h"

namespace zervane {

void GroupMarks::Mark(Turn& turn, RecordBatch& records) {
  turn.AssertHeld();
  ++group_;
  met_.clear();
  current_.clear();
  filtered_.clear();
  read_.clear();
  records.marks.resize(records.size());
  was_newest_.resize(records.size());
  const std::span<const std::int64_t> times = records.samples.times();
  for (std::uint32_t at = 0; at < records.size(); ++at) {
    TagState& state = states_.At(records.tags[at]);
    if (state.group != group_) BeginTag(records.tags[at], state);
    const bool is_newest = MovesForward(times[at], state.newest_ms);
    if (is_newest) {
      state.newest_ms = times[at];
      state.newest_at = at;
    }
    was_newest_[at] = is_newest ? 1 : 0;
    records.marks[at] = state.marks;
    if (state.is_filtered) filtered_.push_back(at);
    if (state.is_read) read_.push_back(at);
  }
  for (const TagState* state : met_) {
    if (state->newest_at == kNone) continue;
    records.marks[state->newest_at] |= kCurrent;
    current_.push_back(state->newest_at);
  }
}

void GroupMarks::BeginTag(TagId tag, TagState& state) {
  met_.push_back(&state);
  const std::optional<TagTraits> traits = tags_.Find(tag);
  state.group = group_;
  state.newest_at = kNone;
  // No record of a tag that is no more is the newest of anything.
  state.newest_ms = traits ? current_values_.TimeOf(tag) : std::numeric_limits<std::int64_t>::max();
  state.marks = traits && traits->archiving ? std::uint8_t{kArchive} : std::uint8_t{0};
  state.is_filtered = traits && traits->filtered;
  state.is_read = traits && traits->is_read;
}

}  // namespace zervane
