// am3: alarms.

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "engine/assert.h"
#include "vask/alarm_records.h"
#include "vask/api.h"
#include "vask/batch.h"
#include "vask/call.h"
#include "vask/changes.h"
#include "vask/class_tag.h"
#include "vask/handed_out.h"
#include "vask/iterate.h"
#include "vask/records.h"
#include "vask/texts.h"

using zervane::AcknowledgeAlarms;
using zervane::AddAlarmGroup;
using zervane::AlarmGroup;
using zervane::AlarmKey;
using zervane::AlarmQuery;
using zervane::AlarmRecord;
using zervane::Arguments;
using zervane::ArgumentsWithTexts;
using zervane::Call;
using zervane::CommentAlarms;
using zervane::DeleteAlarmGroup;
using zervane::Deliver;
using zervane::FindAlarmGroup;
using zervane::FindAlarmsOfGroup;
using zervane::FindAlarmsOfTags;
using zervane::GroupId;
using zervane::Iterate;
using zervane::ListAlarmGroups;
using zervane::ListTagsOfGroup;
using zervane::ModifyAlarmGroup;
using zervane::PollAlarms;
using zervane::Query;
using zervane::ReadAlarmGroups;
using zervane::ReadLatestAlarms;
using zervane::Result;
using zervane::Session;
using zervane::StandardText;
using zervane::Status;
using zervane::StatusOfWork;
using zervane::SubscribeAlarms;
using zervane::TagId;

namespace {

// ---- iterators ----

// Iterates over the records that `find`, which names the tags or the group, asks for.
template <typename Find>
Status IterateRecords(Session& session, Find find, const ZR3AlarmQuery& query, int64 mask,
                      ZR3HANDLE* handle) {
  const Result<AlarmQuery> wanted = zervane::ReadAlarmQuery(query);
  if (!wanted.ok()) return wanted.status();
  find.query = *wanted;
  find.mask = mask;
  find.from = {.start_ms = wanted->start_ms};
  const auto fill = [](const AlarmRecord& alarm, void* record) {
    zervane::FillAlarmRecord(alarm, zervane::TextsOfThisThread(),
                             static_cast<ZR3AlarmRecord*>(record));
  };
  return Iterate<AlarmRecord, AlarmKey>(
      session, std::move(find), [](const AlarmRecord& alarm) { return alarm.key(); }, fill, handle);
}

// ---- batches ----

// The outcome of a batch whose elements have these codes, which are told where they are asked for;
// that of a single element is its code.
Status TellCodes(const std::vector<std::int32_t>& all, int32* codes) {
  const auto count = static_cast<int32>(all.size());
  Status status = zervane::ForEach(count, codes, ZR3_ERR_SOME_ALARMS_FAILED, [&](int32 i) {
    return Status(all[static_cast<std::size_t>(i)], {});
  });
  return count == 1 ? Status(all.front(), {}) : status;
}

// The alarms of a batch, each named by its tag and start time. One that is wrong in itself has its
// code and is not sent.
class AlarmBatch {
 public:
  // Judges the next alarm by its time. Whether it is to be sent.
  bool Add(uint32 tag, const ZR3Time& time) {
    const Result<std::int64_t> start_ms = zervane::ReadTime(time.nSec, time.nMsec);
    codes_.push_back(start_ms.code());
    if (start_ms.ok()) alarms_.push_back({.start_ms = *start_ms, .tag = tag});
    return start_ms.ok();
  }
  // Takes the last alarm back, which was to be sent.
  void Refuse(ZR3_STATUS code) {
    codes_.back() = code;
    alarms_.pop_back();
  }

  const std::vector<AlarmKey>& alarms() const { return alarms_; }

  // All codes, given those of what was sent.
  Status Tell(const Result<std::vector<std::int32_t>>& sent, int32* codes) {
    if (!sent.ok()) return sent.status();
    ZERVANE_ASSERT(sent->size() == alarms_.size());
    auto next = sent->begin();
    for (std::int32_t& code : codes_) {
      if (code == ZR3_OK) code = *next++;
    }
    return TellCodes(codes_, codes);
  }

 private:
  std::vector<std::int32_t> codes_;
  std::vector<AlarmKey> alarms_;
};

// Fills the records of the elements that did not fail, and tells the codes of all.
template <typename Item, typename Record>
Status FillEach(const std::vector<Item>& items, const std::vector<std::int32_t>& all,
                void (*fill)(const Item&, StandardText&, Record*), Record* records, int32* codes) {
  ZERVANE_ASSERT(items.size() == all.size());
  StandardText& texts = zervane::TextsOfThisThread();
  for (std::size_t at = 0; at < items.size(); ++at) {
    if (all[at] == ZR3_OK) fill(items[at], texts, &records[at]);
  }
  return TellCodes(all, codes);
}

// ---- groups ----

Arguments CheckTexts(Arguments arguments, const ZR3AlarmGroup* group) {
  return arguments.Text(group, &ZR3AlarmGroup::szName).Text(group, &ZR3AlarmGroup::szDesc);
}

// A text of a group's record, which ends.
Result<std::string> ReadGroupText(const char (&text)[ZR3_LEN_TAG_NAME]) {
  const auto utf8 = zervane::ReadText(zervane::TextsOfThisThread(), text, ZR3_LEN_TAG_NAME);
  if (!utf8) return Status(ZR3_ERR_INVALID_TEXT, {});
  return std::string(*utf8);
}

Status AddGroup(Session& session, const ZR3AlarmGroup& record, uint32* id) {
  Result<std::string> name = ReadGroupText(record.szName);
  if (!name.ok()) return name.status();
  Result<std::string> description = ReadGroupText(record.szDesc);
  if (!description.ok()) return description.status();
  return Deliver(session.Do(AddAlarmGroup{{.id = 0,
                                           .parent = record.nParentID,
                                           .name = *std::move(name),
                                           .description = *std::move(description)}}),
                 id);
}

// A record with a name changes that, and the description when there is one; a record without a name
// is of the description alone, which may become empty.
Status ModifyGroup(Session& session, GroupId id, const ZR3AlarmGroup& record) {
  Result<std::string> name = ReadGroupText(record.szName);
  if (!name.ok()) return name.status();
  Result<std::string> description = ReadGroupText(record.szDesc);
  if (!description.ok()) return description.status();
  ModifyAlarmGroup modify{.id = id, .name = {}, .description = {}};
  if (name->empty() || !description->empty()) modify.description = *std::move(description);
  if (!name->empty()) modify.name = *std::move(name);
  return session.Do(modify).status();
}

}  // namespace

int32 am3_add_tag(ZR3AlarmTagProp* pProp, const ZR3Mask* pMask, const char* /*szNode*/,
                  uint32* pTagID) {
  return zervane::AddClassTag(__func__, ZR3_TAG_CLASS_ALARM, pProp, pMask, pTagID);
}

int32 am3_modify_tag_prop(uint32 nTagID, const ZR3AlarmTagProp* pProp, const ZR3Mask* pMask) {
  return zervane::ModifyClassTag(__func__, ZR3_TAG_CLASS_ALARM, nTagID, pProp, pMask);
}

int32 am3_query_tag_prop(uint32 nTagID, ZR3AlarmTagProp* pProp) {
  return zervane::QueryClassTag(__func__, ZR3_TAG_CLASS_ALARM, nTagID, pProp);
}

int32 am3_query_tags_all_records(int32 nTagNum, const uint32* pTagIDs, const ZR3AlarmQuery* pQuery,
                                 int64 nPropMask, ZR3HANDLE* pIterator) {
  const Arguments arguments = Arguments().Given(pQuery, pIterator).Batch(nTagNum, pTagIDs);
  return Query(__func__, arguments, pIterator, [&](Session& session) {
    FindAlarmsOfTags find;
    if (nTagNum > 0) find.ids.assign(pTagIDs, pTagIDs + nTagNum);
    return IterateRecords(session, std::move(find), *pQuery, nPropMask, pIterator);
  });
}

int32 am3_query_tag_records(uint32 nTagID, const ZR3AlarmQuery* pQuery, int64 nPropMask,
                            ZR3HANDLE* pIterator) {
  return Query(__func__, Arguments().Given(pQuery, pIterator), pIterator, [&](Session& session) {
    FindAlarmsOfTags find;
    find.ids = {nTagID};
    return IterateRecords(session, std::move(find), *pQuery, nPropMask, pIterator);
  });
}

int32 am3_query_group_records(uint32 nGroupID, const ZR3AlarmQuery* pQuery, int64 nPropMask,
                              ZR3HANDLE* pIterator) {
  return Query(__func__, Arguments().Given(pQuery, pIterator), pIterator, [&](Session& session) {
    FindAlarmsOfGroup find;
    find.group = nGroupID;
    return IterateRecords(session, std::move(find), *pQuery, nPropMask, pIterator);
  });
}

int32 am3_query_snapshots(int32 nTagNum, const uint32* pTagIDs, int64 nPropMask,
                          ZR3AlarmRecord* pRecords, int32* pErrCodes) {
  const Arguments arguments = Arguments().Batch(nTagNum, pTagIDs, pRecords);
  return Call(__func__, arguments, [&](Session& session) -> Status {
    ReadLatestAlarms read;
    read.mask = nPropMask;
    if (nTagNum > 0) read.ids.assign(pTagIDs, pTagIDs + nTagNum);
    const Result<ReadLatestAlarms::Reply> latest = session.Do(read);
    if (!latest.ok()) return latest.status();
    return FillEach(latest->records, latest->codes, zervane::FillAlarmRecord, pRecords, pErrCodes);
  });
}

int32 am3_acknowledge_alarms(int32 nNum, const uint32* pTagIDs, const ZR3Time* pTimes,
                             int32* pErrCodes) {
  const Arguments arguments = Arguments().Batch(nNum, pTagIDs, pTimes);
  return Call(__func__, arguments, [&](Session& session) {
    AlarmBatch batch;
    for (int32 i = 0; i < nNum; ++i) (void)batch.Add(pTagIDs[i], pTimes[i]);
    return batch.Tell(session.Do(AcknowledgeAlarms{batch.alarms()}), pErrCodes);
  });
}

int32 am3_comment_alarms(int32 nNum, const uint32* pTagIDs, const ZR3Time* pTimes,
                         const char* pComments, int32* pErrCodes) {
  const Arguments arguments = ArgumentsWithTexts().Batch(nNum, pTagIDs, pTimes, pComments);
  return Call(__func__, arguments, [&](Session& session) {
    StandardText& texts = zervane::TextsOfThisThread();
    AlarmBatch batch;
    CommentAlarms comment;
    for (int32 i = 0; i < nNum; ++i) {
      if (!batch.Add(pTagIDs[i], pTimes[i])) continue;
      const char* slot = pComments + std::size_t{ZR3_LEN_ALARM_COMMENT} * i;
      const auto utf8 = zervane::ReadText(texts, slot, ZR3_LEN_ALARM_COMMENT);
      if (utf8) {
        comment.comments.emplace_back(*utf8);
      } else {
        batch.Refuse(ZR3_ERR_INVALID_TEXT);
      }
    }
    comment.alarms = batch.alarms();
    return batch.Tell(session.Do(comment), pErrCodes);
  });
}

int32 am3_add_group(const ZR3AlarmGroup* pGroup, uint32* pGroupID) {
  const Arguments arguments = CheckTexts(ArgumentsWithTexts().Given(pGroup, pGroupID), pGroup);
  return Call(__func__, arguments,
              [&](Session& session) { return AddGroup(session, *pGroup, pGroupID); });
}

int32 am3_delete_group(uint32 nGroupID) {
  return Call(__func__, Arguments(),
              [&](Session& session) { return session.Do(DeleteAlarmGroup{nGroupID}).status(); });
}

int32 am3_modify_group(uint32 nGroupID, const ZR3AlarmGroup* pGroup) {
  return Call(__func__, CheckTexts(ArgumentsWithTexts().Given(pGroup), pGroup),
              [&](Session& session) { return ModifyGroup(session, nGroupID, *pGroup); });
}

int32 am3_query_group_id(const char* szName, uint32 nParentID, uint32* pGroupID) {
  const Arguments arguments =
      ArgumentsWithTexts().Given(szName, pGroupID).Text(szName, ZR3_LEN_TAG_NAME);
  return Call(__func__, arguments, [&](Session& session) -> Status {
    const auto name = zervane::ReadText(zervane::TextsOfThisThread(), szName, ZR3_LEN_TAG_NAME);
    if (!name) return {ZR3_ERR_INVALID_TEXT, {}};
    return Deliver(session.Do(FindAlarmGroup{std::string(*name), nParentID}), pGroupID);
  });
}

int32 am3_query_group_props(int32 nNum, const uint32* pGroupIDs, ZR3AlarmGroup* pGroups,
                            int32* pErrCodes) {
  const Arguments arguments = Arguments().Batch(nNum, pGroupIDs, pGroups);
  return Call(__func__, arguments, [&](Session& session) -> Status {
    ReadAlarmGroups read;
    if (nNum > 0) read.ids.assign(pGroupIDs, pGroupIDs + nNum);
    const Result<ReadAlarmGroups::Reply> groups = session.Do(read);
    if (!groups.ok()) return groups.status();
    return FillEach(groups->groups, groups->codes, zervane::FillAlarmGroup, pGroups, pErrCodes);
  });
}

int32 am3_query_group_child_groups(uint32 nGroupID, ZR3HANDLE* pIterator) {
  return Query(__func__, Arguments().Given(pIterator), pIterator, [&](Session& session) {
    const auto fill = [](const AlarmGroup& group, void* record) {
      zervane::FillAlarmGroup(group, zervane::TextsOfThisThread(),
                              static_cast<ZR3AlarmGroup*>(record));
    };
    return Iterate<AlarmGroup, GroupId>(
        session, ListAlarmGroups{.parent = nGroupID},
        [](const AlarmGroup& group) { return group.id; }, fill, pIterator);
  });
}

int32 am3_query_group_child_tags(uint32 nGroupID, ZR3HANDLE* pIterator) {
  return Query(__func__, Arguments().Given(pIterator), pIterator, [&](Session& session) {
    const auto fill = [](const TagId& tag, void* record) { *static_cast<uint32*>(record) = tag; };
    return Iterate<TagId, TagId>(
        session, ListTagsOfGroup{.group = nGroupID}, [](const TagId& tag) { return tag; }, fill,
        pIterator);
  });
}

int32 am3_register_alarm_record_info(void* pReserved) {
  return Call(__func__, Arguments().Require(pReserved == nullptr, ZR3_ERR_INVALID_ARGUMENT),
              [](Session& session) { return session.Do(SubscribeAlarms{}).status(); });
}

int32 am3_get_callback_am(int32* pNum, ZR3AlarmRecord** ppRecords) {
  return Call(__func__, Arguments().Given(pNum, ppRecords), [&](Session& session) {
    const auto hand_out = [&](const std::vector<AlarmRecord>& alarms) {
      return zervane::HandOutAlarms(alarms, zervane::TextsOfThisThread(), pNum, ppRecords);
    };
    return session.polled_alarms().HandOver([&] { return session.Do(PollAlarms{}); }, hand_out);
  });
}

int32 am3_free_callback_am(int32 nNum, ZR3AlarmRecord* pRecords) {
  if (pRecords == nullptr) return ZR3_OK;
  return StatusOfWork(__func__, [&] {
    return zervane::ProcessHandedOut().Free({.records = pRecords, .count = nNum});
  });
}
