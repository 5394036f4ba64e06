#pragma once

#include <cstdint>
#include <span>
#include <string>
#include <string_view>

#include "api/operation_number.h"
#include "api/operations/alarms.h"
#include "api/operations/history.h"
#include "api/operations/security.h"
#include "api/operations/subscriptions.h"
#include "api/operations/system.h"
#include "api/operations/tags.h"
#include "api/operations/values.h"
#include "api/words/user.h"

// All operations: what each one is called, belongs to and needs.
namespace zervane {

enum class OperationFamily : std::uint8_t {
  kTags,
  kValues,
  kHistory,
  kAlarms,
  kSubscriptions,
  kSecurity,
  kSystem,
};

// The level of an operation that even a caller may ask for whose user is gone.
constexpr int kNoUserNeeded = -1;

// Whether what the operation did, or was refused, is told in the log, with who asked for it. A
// refusal always is.
enum class Audit : std::uint8_t { kNo, kYes };

// The user whom an operation concerns, which needs no level when that is who asks for it.
using ConcernedUser = const std::string& (*)(const void* operation);

struct OperationRow {
  OperationNumber number;
  std::string_view name;  // for the log
  OperationFamily family;
  AuthorityItem item;
  int level;  // that the caller must have in the item
  bool changes;
  Audit audit = Audit::kNo;
  ConcernedUser concerned_user = nullptr;  // null: the level is needed whomever it concerns
};

// In order of number.
std::span<const OperationRow> OperationTable();

// Whether there is an operation of the number, which may come from anywhere.
constexpr bool IsOperation(OperationNumber number) {
  return number >= OperationNumber{1} && number <= kLastOperation;
}
// REQUIRES: IsOperation.
const OperationRow& RowOf(OperationNumber number);

template <typename... Op>
struct OperationList {
  // visit.template operator()<Op>() for each.
  template <typename Visit>
  static void ForEach(Visit&& visit) {
    (visit.template operator()<Op>(), ...);
  }
  static constexpr std::size_t kSize = sizeof...(Op);
};

// In order of number.
using AllOperations = OperationList<
    AddTag, ModifyTag, DeleteTag, GetTag, GetTagType, FindTagId, GetCatalogueVersion, FindTags,
    CountTags, ListTags, WriteSamples, ReadCurrent, ReadCurrentValues, CountRecords, ReadRecords,
    ReadClock, CorrectRecord, InterpolateTag, InterpolateTags, CalculateStatistic, FindAlarmsOfTags,
    FindAlarmsOfGroup, ReadLatestAlarms, AcknowledgeAlarms, CommentAlarms, AddAlarmGroup,
    ModifyAlarmGroup, DeleteAlarmGroup, FindAlarmGroup, ReadAlarmGroups, ListAlarmGroups,
    ListTagsOfGroup, SubscribeTags, UnsubscribeTags, SubscribeFields, UnsubscribeFields,
    PollChanges, SubscribeAlarms, PollAlarms, Login, GetCurrentUser, GetAuthorityLevel,
    ListAuthorityItems, AddUser, DeleteUser, ChangePassword, ResetPassword, DescribeUser, ListUsers,
    AddUserGroup, DeleteUserGroup, DescribeUserGroup, ListUserGroups, AddMember, RemoveMember,
    ListMembers, ListGroupsOfUser, ConfigureRelay>;

}  // namespace zervane
