#include "api/operation_table.h"

#include <cstddef>
#include <iterator>

namespace zervane {
namespace {

using enum OperationNumber;
using enum OperationFamily;

constexpr bool kChanges = true;
constexpr bool kReads = false;

template <typename Op>
const std::string& UserOf(const void* operation) {
  return static_cast<const Op*>(operation)->user;
}

constexpr OperationRow kTable[] = {
    {kAddTag, "add tag", kTags, AuthorityItem::kTags, 3, kChanges, Audit::kYes},
    {kModifyTag, "modify tag", kTags, AuthorityItem::kTags, 3, kChanges, Audit::kYes},
    {kDeleteTag, "delete tag", kTags, AuthorityItem::kTags, 3, kChanges, Audit::kYes},
    {kGetTag, "get tag", kTags, AuthorityItem::kTags, 1, kReads},
    {kGetTagType, "get tag type", kTags, AuthorityItem::kTags, 1, kReads},
    {kFindTagId, "find tag identifier", kTags, AuthorityItem::kTags, 1, kReads},
    {kGetCatalogueVersion, "get catalogue version", kTags, AuthorityItem::kTags, 1, kReads},
    {kFindTags, "find tags", kTags, AuthorityItem::kTags, 1, kReads},
    {kCountTags, "count tags", kTags, AuthorityItem::kTags, 1, kReads},
    {kListTags, "list tags", kTags, AuthorityItem::kTags, 1, kReads},
    {kWriteSamples, "write samples", kValues, AuthorityItem::kRecords, 2, kChanges},
    {kReadCurrent, "read current value", kValues, AuthorityItem::kRecords, 1, kReads},
    {kReadCurrentValues, "read current values", kValues, AuthorityItem::kRecords, 1, kReads},
    {kCountRecords, "count records", kHistory, AuthorityItem::kRecords, 1, kReads},
    {kReadRecords, "read records", kHistory, AuthorityItem::kRecords, 1, kReads},
    {kReadClock, "read clock", OperationFamily::kSystem, AuthorityItem::kSystem, 0, kReads},
    {kCorrectRecord, "correct record", kHistory, AuthorityItem::kRecords, 2, kChanges},
    {kInterpolateTag, "interpolate tag", kHistory, AuthorityItem::kRecords, 1, kReads},
    {kInterpolateTags, "interpolate tags", kHistory, AuthorityItem::kRecords, 1, kReads},
    {kCalculateStatistic, "calculate statistic", kHistory, AuthorityItem::kRecords, 1, kReads},
    {kFindAlarmsOfTags, "find alarms of tags", OperationFamily::kAlarms, AuthorityItem::kAlarms, 1,
     kReads},
    {kFindAlarmsOfGroup, "find alarms of a group", OperationFamily::kAlarms, AuthorityItem::kAlarms,
     1, kReads},
    {kReadLatestAlarms, "read latest alarms", OperationFamily::kAlarms, AuthorityItem::kAlarms, 1,
     kReads},
    {kAcknowledgeAlarms, "acknowledge alarms", OperationFamily::kAlarms, AuthorityItem::kAlarms, 2,
     kChanges, Audit::kYes},
    {kCommentAlarms, "comment alarms", OperationFamily::kAlarms, AuthorityItem::kAlarms, 2,
     kChanges, Audit::kYes},
    {kAddAlarmGroup, "add alarm group", OperationFamily::kAlarms, AuthorityItem::kAlarms, 3,
     kChanges, Audit::kYes},
    {kModifyAlarmGroup, "modify alarm group", OperationFamily::kAlarms, AuthorityItem::kAlarms, 3,
     kChanges, Audit::kYes},
    {kDeleteAlarmGroup, "delete alarm group", OperationFamily::kAlarms, AuthorityItem::kAlarms, 3,
     kChanges, Audit::kYes},
    {kFindAlarmGroup, "find alarm group", OperationFamily::kAlarms, AuthorityItem::kAlarms, 1,
     kReads},
    {kReadAlarmGroups, "read alarm groups", OperationFamily::kAlarms, AuthorityItem::kAlarms, 1,
     kReads},
    {kListAlarmGroups, "list alarm groups", OperationFamily::kAlarms, AuthorityItem::kAlarms, 1,
     kReads},
    {kListTagsOfGroup, "list tags of a group", OperationFamily::kAlarms, AuthorityItem::kAlarms, 1,
     kReads},
    {kSubscribeTags, "subscribe to tags", OperationFamily::kSubscriptions, AuthorityItem::kRecords,
     1, kReads},
    {kUnsubscribeTags, "unsubscribe from tags", OperationFamily::kSubscriptions,
     AuthorityItem::kRecords, 1, kReads},
    {kSubscribeFields, "subscribe to fields", OperationFamily::kSubscriptions,
     AuthorityItem::kRecords, 1, kReads},
    {kUnsubscribeFields, "unsubscribe from fields", OperationFamily::kSubscriptions,
     AuthorityItem::kRecords, 1, kReads},
    {kPollChanges, "poll changes", OperationFamily::kSubscriptions, AuthorityItem::kRecords, 1,
     kReads},
    {kSubscribeAlarms, "subscribe to alarms", OperationFamily::kSubscriptions,
     AuthorityItem::kAlarms, 1, kReads},
    {kPollAlarms, "poll alarms", OperationFamily::kSubscriptions, AuthorityItem::kAlarms, 1,
     kReads},
    {kLogin, "log in", OperationFamily::kSecurity, AuthorityItem::kSecurity, kNoUserNeeded, kReads,
     Audit::kYes},
    {kGetCurrentUser, "get current user", OperationFamily::kSecurity, AuthorityItem::kSecurity, 0,
     kReads},
    {kGetAuthorityLevel, "get authority level", OperationFamily::kSecurity,
     AuthorityItem::kSecurity, 1, kReads, Audit::kNo, UserOf<GetAuthorityLevel>},
    {kListAuthorityItems, "list authority items", OperationFamily::kSecurity,
     AuthorityItem::kSecurity, 1, kReads},
    {kAddUser, "add user", OperationFamily::kSecurity, AuthorityItem::kSecurity, 3, kChanges,
     Audit::kYes},
    {kDeleteUser, "delete user", OperationFamily::kSecurity, AuthorityItem::kSecurity, 3, kChanges,
     Audit::kYes},
    {kChangePassword, "change password", OperationFamily::kSecurity, AuthorityItem::kSecurity, 3,
     kChanges, Audit::kYes, UserOf<ChangePassword>},
    {kResetPassword, "reset password", OperationFamily::kSecurity, AuthorityItem::kSecurity, 3,
     kChanges, Audit::kYes},
    {kDescribeUser, "describe user", OperationFamily::kSecurity, AuthorityItem::kSecurity, 3,
     kChanges, Audit::kYes},
    {kListUsers, "list users", OperationFamily::kSecurity, AuthorityItem::kSecurity, 1, kReads},
    {kAddUserGroup, "add user group", OperationFamily::kSecurity, AuthorityItem::kSecurity, 3,
     kChanges, Audit::kYes},
    {kDeleteUserGroup, "delete user group", OperationFamily::kSecurity, AuthorityItem::kSecurity, 3,
     kChanges, Audit::kYes},
    {kDescribeUserGroup, "describe user group", OperationFamily::kSecurity,
     AuthorityItem::kSecurity, 3, kChanges, Audit::kYes},
    {kListUserGroups, "list user groups", OperationFamily::kSecurity, AuthorityItem::kSecurity, 1,
     kReads},
    {kAddMember, "add member", OperationFamily::kSecurity, AuthorityItem::kSecurity, 3, kChanges,
     Audit::kYes},
    {kRemoveMember, "remove member", OperationFamily::kSecurity, AuthorityItem::kSecurity, 3,
     kChanges, Audit::kYes},
    {kListMembers, "list members", OperationFamily::kSecurity, AuthorityItem::kSecurity, 1, kReads},
    {kListGroupsOfUser, "list groups of a user", OperationFamily::kSecurity,
     AuthorityItem::kSecurity, 1, kReads},
    {kConfigureRelay, "configure relay", OperationFamily::kSystem, AuthorityItem::kSystem, 3,
     kChanges, Audit::kYes},
};
static_assert(std::size(kTable) == static_cast<std::size_t>(kLastOperation),
              "every number has its row");
static_assert(AllOperations::kSize == std::size(kTable), "every row has its operation");

template <typename... Op>
constexpr bool AreInOrder(OperationList<Op...>) {
  std::uint16_t number = 0;
  return (... && (static_cast<std::uint16_t>(Op::kNumber) == ++number));
}
static_assert(AreInOrder(AllOperations()), "no number has two operations");

constexpr bool IsInOrder() {
  for (std::size_t i = 0; i < std::size(kTable); ++i) {
    if (static_cast<std::size_t>(kTable[i].number) != i + 1) return false;
  }
  return true;
}
static_assert(IsInOrder(), "a row is found by its number");

}  // namespace

std::span<const OperationRow> OperationTable() { return kTable; }

const OperationRow& RowOf(OperationNumber number) {
  return kTable[static_cast<std::size_t>(number) - 1];
}

}  // namespace zervane
