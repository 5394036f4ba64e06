#include "engine/security/rights.h"

#include <algorithm>
#include <iterator>

#include "api/words/ascii.h"

namespace zervane {
namespace {

using enum AuthorityItem;

constexpr AuthorityItemInfo kItems[] = {
    {kTags, "tags", "1 to read tags, 3 to add, change and delete them"},
    {kRecords, "records", "1 to read and subscribe to values, 2 to write and correct them"},
    {kAlarms, "alarms",
     "1 to read and subscribe to alarms, 2 to acknowledge and comment them, 3 for their groups"},
    {kSecurity, "security", "1 to list users, groups and levels, 3 to administer them"},
    {kSystem, "system", "3 for the relay and for backups"},
};
static_assert(std::size(kItems) == kAuthorityItems);

constexpr BuiltInGroup kGroups[] = {
    {kAdministrators, "administrators", "may do everything", {3, 3, 3, 3, 3}},
    {2, "engineers", "define tags and alarms, and write values", {3, 2, 3, 1, 1}},
    {3, "operators", "write values and acknowledge alarms", {1, 2, 2, 0, 1}},
    {4, "viewers", "read values and alarms", {1, 1, 1, 0, 1}},
};
static_assert(std::size(kGroups) == kLastBuiltInGroup);

}  // namespace

std::span<const AuthorityItemInfo> AllAuthorityItems() { return kItems; }

std::optional<AuthorityItem> FindAuthorityItem(std::string_view name) {
  const auto* found = std::ranges::find_if(
      kItems, [&](const AuthorityItemInfo& info) { return EqualsFolded(info.name, name); });
  if (found == std::end(kItems)) return std::nullopt;
  return found->item;
}

std::span<const BuiltInGroup> BuiltInGroups() { return kGroups; }

}  // namespace zervane
