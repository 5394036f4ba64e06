#include "engine/alarm_family.h"

#include <spdlog/fmt/fmt.h>

#include <algorithm>
#include <cstdint>
#include <optional>
#include <span>

#include "engine/alarms/alarm_records.h"
#include "engine/catalogue/rules.h"

namespace zervane {
namespace {

// ZR3_ERR_TAG_NOT_FOUND, or ZR3_ERR_INVALID_TAG_CLASS for one that is no alarm tag.
ZR3_STATUS JudgeAlarmTag(const TagImage& tags, TagId id) {
  const PackedTag* const tag = tags.Find(id);
  if (tag == nullptr) return ZR3_ERR_TAG_NOT_FOUND;
  return tag->tag_class() == ZR3_TAG_CLASS_ALARM ? ZR3_OK : ZR3_ERR_INVALID_TAG_CLASS;
}

Status CheckLimit(std::int32_t limit) {
  if (limit >= 1) return {};
  return {ZR3_ERR_INVALID_COUNT, fmt::format("a page of {}", limit)};
}

// Whether mask, limit and range of a query are some.
template <typename Find>
Status CheckFind(const Find& find) {
  if (Status status = CheckAlarmMask(find.mask); !status.ok()) return status;
  if (Status status = CheckLimit(find.limit); !status.ok()) return status;
  const AlarmQuery& query = find.query;
  if (query.end_ms == 0 || query.start_ms <= query.end_ms) return {};
  return {ZR3_ERR_INVALID_REGION, fmt::format("{} ms to {} ms", query.start_ms, query.end_ms)};
}

// Whether the page is the first one. What is gone by a later one is passed over.
template <typename Find>
bool IsFirstPage(const Find& find) {
  return find.from <= AlarmKey{.start_ms = find.query.start_ms};
}

std::size_t LimitOf(std::int32_t wanted) {
  return static_cast<std::size_t>(std::min(wanted, kMaxPageItems));
}

template <typename Find>
Result<AlarmPage> FindOf(Store& store, std::span<const TagId> tags, const Find& find) {
  return FindAlarms(store, {.tags = tags,
                            .query = find.query,
                            .mask = find.mask,
                            .from = find.from,
                            .limit = LimitOf(find.limit)});
}

Result<Nothing> NothingOr(const Result<GroupId>& changed) {
  if (!changed.ok()) return changed.status();
  return Nothing{};
}

}  // namespace

// ---- records ----

Result<AlarmPage> AlarmFamily::Handle(const Caller&, const FindAlarmsOfTags& operation) const {
  if (Status status = CheckFind(operation); !status.ok()) return status;
  std::vector<TagId> tags = operation.ids;
  std::ranges::sort(tags);
  tags.erase(std::unique(tags.begin(), tags.end()), tags.end());
  if (IsFirstPage(operation)) {
    const TagImagePtr image = catalogue_.image();
    for (const TagId tag : tags) {
      const ZR3_STATUS code = JudgeAlarmTag(*image, tag);
      if (code != ZR3_OK) return Status(code, fmt::format("tag {}", tag));
    }
  }
  return FindOf(store_, tags, operation);
}

Result<AlarmPage> AlarmFamily::Handle(const Caller&, const FindAlarmsOfGroup& operation) const {
  if (Status status = CheckFind(operation); !status.ok()) return status;
  if (IsFirstPage(operation)) {
    const Result<AlarmGroup> group = groups_.Read(operation.group);
    if (!group.ok()) return group.status();
  }
  return FindOf(store_, groups_.TagsUnder(operation.group), operation);
}

Result<ReadLatestAlarms::Reply> AlarmFamily::Handle(const Caller&,
                                                    const ReadLatestAlarms& operation) const {
  if (Status status = CheckAlarmMask(operation.mask); !status.ok()) return status;
  const TagImagePtr image = catalogue_.image();
  ReadLatestAlarms::Reply reply;
  for (const TagId tag : operation.ids) {
    AlarmRecord record;
    ZR3_STATUS code = JudgeAlarmTag(*image, tag);
    if (code == ZR3_OK) {
      Result<std::optional<AlarmRecord>> latest = LatestAlarm(store_, tag);
      if (!latest.ok()) return latest.status();
      code = latest->has_value() ? ZR3_OK : ZR3_ERR_NO_ALARM;
      if (latest->has_value()) record = std::move(**latest);
      KeepSelected(operation.mask, record);
    }
    reply.records.push_back(std::move(record));
    reply.codes.push_back(code);
  }
  return reply;
}

// ---- acknowledging and commenting ----

Result<AcknowledgeAlarms::Reply> AlarmFamily::Handle(const Caller& caller,
                                                     const AcknowledgeAlarms& operation) {
  return NoteEach(caller, operation.alarms, [&](AlarmNotes& notes, std::size_t at) {
    return notes.Acknowledge(operation.alarms[at]);
  });
}

Result<CommentAlarms::Reply> AlarmFamily::Handle(const Caller& caller,
                                                 const CommentAlarms& operation) {
  if (operation.alarms.size() != operation.comments.size()) {
    return Status(
        ZR3_ERR_INVALID_COUNT,
        fmt::format("{} alarms, {} comments", operation.alarms.size(), operation.comments.size()));
  }
  return NoteEach(caller, operation.alarms, [&](AlarmNotes& notes, std::size_t at) {
    return notes.Comment(operation.alarms[at], operation.comments[at]);
  });
}

Result<std::vector<std::int32_t>> AlarmFamily::NoteEach(const Caller& caller,
                                                        const std::vector<AlarmKey>& alarms,
                                                        const NoteOne& note) {
  std::vector<std::int32_t> codes;
  codes.reserve(alarms.size());
  const auto plan = [&](Turn&, StoreBatch& batch) -> Status {
    const TagImagePtr image = catalogue_.image();
    AlarmNotes notes(store_, batch, clock_(), caller.user);
    for (std::size_t at = 0; at < alarms.size(); ++at) {
      Result<ZR3_STATUS> code = JudgeAlarmTag(*image, alarms[at].tag);
      if (*code == ZR3_OK) code = note(notes, at);
      if (!code.ok()) return code.status();
      codes.push_back(*code);
    }
    return {};
  };
  if (Status status = writes_.Change(plan, [](Turn&) {}); !status.ok()) return status;
  return codes;
}

// ---- groups ----

Result<GroupId> AlarmFamily::Handle(const Caller&, const AddAlarmGroup& operation) {
  return ChangeGroup(
      [&](Turn& turn, StoreBatch& batch) { return groups_.PlanAdd(turn, operation.group, batch); });
}

Result<Nothing> AlarmFamily::Handle(const Caller&, const ModifyAlarmGroup& operation) {
  return NothingOr(ChangeGroup(
      [&](Turn& turn, StoreBatch& batch) { return groups_.PlanModify(turn, operation, batch); }));
}

Result<Nothing> AlarmFamily::Handle(const Caller&, const DeleteAlarmGroup& operation) {
  return NothingOr(ChangeGroup([&](Turn& turn, StoreBatch& batch) {
    return groups_.PlanRemove(turn, operation.id, batch);
  }));
}

Result<GroupId> AlarmFamily::ChangeGroup(const PlanGroup& plan) {
  std::optional<AlarmGroups::Change> change;
  const auto prepare = [&](Turn& turn, StoreBatch& batch) -> Status {
    Result<AlarmGroups::Change> planned = plan(turn, batch);
    if (!planned.ok()) return planned.status();
    change = *std::move(planned);
    return {};
  };
  const auto adopt = [&](Turn& turn) { groups_.Adopt(turn, *change); };
  if (Status status = writes_.Change(prepare, adopt); !status.ok()) return status;
  return change->id();
}

Result<GroupId> AlarmFamily::Handle(const Caller&, const FindAlarmGroup& operation) const {
  return groups_.Find(operation.name, operation.parent);
}

Result<ReadAlarmGroups::Reply> AlarmFamily::Handle(const Caller&,
                                                   const ReadAlarmGroups& operation) const {
  ReadAlarmGroups::Reply reply;
  for (const GroupId id : operation.ids) {
    Result<AlarmGroup> group = groups_.Read(id);
    reply.codes.push_back(group.code());
    reply.groups.push_back(group.ok() ? *std::move(group) : AlarmGroup());
  }
  return reply;
}

Result<ListAlarmGroups::Reply> AlarmFamily::Handle(const Caller&,
                                                   const ListAlarmGroups& operation) const {
  if (Status status = CheckLimit(operation.limit); !status.ok()) return status;
  return groups_.ListGroups(operation.parent, operation.from, LimitOf(operation.limit));
}

Result<ListTagsOfGroup::Reply> AlarmFamily::Handle(const Caller&,
                                                   const ListTagsOfGroup& operation) const {
  if (Status status = CheckLimit(operation.limit); !status.ok()) return status;
  return groups_.ListTags(operation.group, operation.from, LimitOf(operation.limit));
}

}  // namespace zervane
