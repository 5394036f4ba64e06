#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

#include "api/fields.h"
#include "api/operation_number.h"
#include "api/words/alarm.h"
#include "api/words/nothing.h"
#include "api/words/page.h"
#include "api/words/value.h"

// Operations on alarm records and alarm groups.
namespace zervane {

// Alarm records in order of start, then tag, from a key on: at most `limit` of them (and at most
// kMaxPageItems, and about 1 MiB). Of each the selected properties, the others being 0 or empty;
// bit i of `mask` is field i, -1 selects all, and tag and start always come.
using AlarmPage = Page<AlarmRecord, AlarmKey>;

// Those of some tags; a tag named twice counts once. ZR3_ERR_TAG_NOT_FOUND for one that is unknown,
// ZR3_ERR_INVALID_TAG_CLASS for one that is no alarm tag, ZR3_ERR_INVALID_MASK,
// ZR3_ERR_INVALID_REGION for an end before the start, ZR3_ERR_INVALID_COUNT for a limit below 1.
struct FindAlarmsOfTags {
  static constexpr OperationNumber kNumber = OperationNumber::kFindAlarmsOfTags;
  using Reply = AlarmPage;

  std::vector<TagId> ids;
  AlarmQuery query;
  std::int64_t mask = -1;
  AlarmKey from;
  std::int32_t limit = kMaxPageItems;

  static auto Fields(auto& self) {
    return FieldList(Field{"ids", self.ids}, Field{"query", self.query}, Field{"mask", self.mask},
                     Field{"from", self.from}, Field{"limit", self.limit});
  }
};

// Those of the tags of a group and of the groups under it. ZR3_ERR_GROUP_NOT_FOUND, and as above.
struct FindAlarmsOfGroup {
  static constexpr OperationNumber kNumber = OperationNumber::kFindAlarmsOfGroup;
  using Reply = AlarmPage;

  GroupId group = kRootGroup;
  AlarmQuery query;
  std::int64_t mask = -1;
  AlarmKey from;
  std::int32_t limit = kMaxPageItems;

  static auto Fields(auto& self) {
    return FieldList(Field{"group", self.group}, Field{"query", self.query},
                     Field{"mask", self.mask}, Field{"from", self.from},
                     Field{"limit", self.limit});
  }
};

// The latest record of each tag by start, and what became of each: ZR3_OK, ZR3_ERR_TAG_NOT_FOUND,
// ZR3_ERR_INVALID_TAG_CLASS, ZR3_ERR_NO_ALARM. Where it is not ZR3_OK the record is empty.
// ZR3_ERR_INVALID_MASK.
struct ReadLatestAlarms {
  static constexpr OperationNumber kNumber = OperationNumber::kReadLatestAlarms;
  struct Reply {
    std::vector<AlarmRecord> records;
    std::vector<std::int32_t> codes;

    static auto Fields(auto& self) {
      return FieldList(Field{"records", self.records}, Field{"codes", self.codes});
    }
    friend bool operator==(const Reply&, const Reply&) = default;
  };

  std::vector<TagId> ids;
  std::int64_t mask = -1;

  static auto Fields(auto& self) {
    return FieldList(Field{"ids", self.ids}, Field{"mask", self.mask});
  }
};

// Acknowledges alarm records, at the database's clock and in the caller's name. One code for each:
// ZR3_OK, ZR3_ERR_TAG_NOT_FOUND, ZR3_ERR_INVALID_TAG_CLASS, ZR3_ERR_NO_ALARM,
// ZR3_ERR_ALREADY_ACKNOWLEDGED. Of one named twice the second is acknowledged already.
struct AcknowledgeAlarms {
  static constexpr OperationNumber kNumber = OperationNumber::kAcknowledgeAlarms;
  using Reply = std::vector<std::int32_t>;

  std::vector<AlarmKey> alarms;

  static auto Fields(auto& self) { return FieldList(Field{"alarms", self.alarms}); }
};

// Comments alarm records, likewise; a comment replaces the one before. One code for each, of which
// ZR3_ERR_INVALID_TEXT is a comment that is too long or no UTF-8. ZR3_ERR_INVALID_COUNT when there
// is not one comment for each alarm.
struct CommentAlarms {
  static constexpr OperationNumber kNumber = OperationNumber::kCommentAlarms;
  using Reply = std::vector<std::int32_t>;

  std::vector<AlarmKey> alarms;
  std::vector<std::string> comments;

  static auto Fields(auto& self) {
    return FieldList(Field{"alarms", self.alarms}, Field{"comments", self.comments});
  }
};

// Adds a group under a parent (its identifier is ignored) and answers its identifier.
// ZR3_ERR_INVALID_GROUP_NAME, ZR3_ERR_INVALID_TEXT, ZR3_ERR_INVALID_PROPERTY for a description that
// is too long, ZR3_ERR_GROUP_NOT_FOUND for the parent, ZR3_ERR_GROUP_EXISTS,
// ZR3_ERR_TAG_IDS_EXHAUSTED.
struct AddAlarmGroup {
  static constexpr OperationNumber kNumber = OperationNumber::kAddAlarmGroup;
  using Reply = GroupId;

  AlarmGroup group;

  static auto Fields(auto& self) { return FieldList(Field{"group", self.group}); }
};

// Changes what is given. The same statuses; ZR3_ERR_INVALID_ARGUMENT for the root.
struct ModifyAlarmGroup {
  static constexpr OperationNumber kNumber = OperationNumber::kModifyAlarmGroup;
  using Reply = Nothing;

  GroupId id = kRootGroup;
  std::optional<std::string> name;
  std::optional<std::string> description;

  static auto Fields(auto& self) {
    return FieldList(Field{"id", self.id}, Field{"name", self.name},
                     Field{"description", self.description});
  }
};

// ZR3_ERR_GROUP_NOT_FOUND, ZR3_ERR_GROUP_NOT_EMPTY, ZR3_ERR_INVALID_ARGUMENT for the root.
struct DeleteAlarmGroup {
  static constexpr OperationNumber kNumber = OperationNumber::kDeleteAlarmGroup;
  using Reply = Nothing;

  GroupId id = kRootGroup;

  static auto Fields(auto& self) { return FieldList(Field{"id", self.id}); }
};

// The group of a name under a parent, without regard to ASCII case. ZR3_ERR_GROUP_NOT_FOUND.
struct FindAlarmGroup {
  static constexpr OperationNumber kNumber = OperationNumber::kFindAlarmGroup;
  using Reply = GroupId;

  std::string name;
  GroupId parent = kRootGroup;

  static auto Fields(auto& self) {
    return FieldList(Field{"name", self.name}, Field{"parent", self.parent});
  }
};

// Groups by identifier, with a code for each: ZR3_OK or ZR3_ERR_GROUP_NOT_FOUND, where the group is
// empty. The root has no name.
struct ReadAlarmGroups {
  static constexpr OperationNumber kNumber = OperationNumber::kReadAlarmGroups;
  struct Reply {
    std::vector<AlarmGroup> groups;
    std::vector<std::int32_t> codes;

    static auto Fields(auto& self) {
      return FieldList(Field{"groups", self.groups}, Field{"codes", self.codes});
    }
    friend bool operator==(const Reply&, const Reply&) = default;
  };

  std::vector<GroupId> ids;

  static auto Fields(auto& self) { return FieldList(Field{"ids", self.ids}); }
};

// The groups directly under a group, from an identifier on, in order of it.
// ZR3_ERR_GROUP_NOT_FOUND, ZR3_ERR_INVALID_COUNT for a limit below 1.
struct ListAlarmGroups {
  static constexpr OperationNumber kNumber = OperationNumber::kListAlarmGroups;
  using Reply = Page<AlarmGroup, GroupId>;

  GroupId parent = kRootGroup;
  GroupId from = 0;
  std::int32_t limit = kMaxPageItems;

  static auto Fields(auto& self) {
    return FieldList(Field{"parent", self.parent}, Field{"from", self.from},
                     Field{"limit", self.limit});
  }
};

// The identifiers of the alarm tags directly in a group, likewise.
struct ListTagsOfGroup {
  static constexpr OperationNumber kNumber = OperationNumber::kListTagsOfGroup;
  using Reply = Page<TagId>;

  GroupId group = kRootGroup;
  TagId from = 0;
  std::int32_t limit = kMaxPageItems;

  static auto Fields(auto& self) {
    return FieldList(Field{"group", self.group}, Field{"from", self.from},
                     Field{"limit", self.limit});
  }
};

}  // namespace zervane
