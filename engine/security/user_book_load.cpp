// What the store has of users and groups.

#include <spdlog/fmt/fmt.h>

#include <limits>
#include <optional>

#include "engine/log.h"
#include "engine/security/passwords.h"
#include "engine/security/user_book.h"
#include "engine/storage/cells.h"
#include "engine/storage/tables.h"

namespace zervane {
namespace {

constexpr std::size_t kAll = std::numeric_limits<std::size_t>::max();
// No password is kept so: where admin's is lost, none logs him in.
constexpr std::string_view kLostPassword = "lost";

Status Damaged(std::string what) { return {ZR3_ERR_STORAGE_DAMAGED, std::move(what)}; }

// The highest identifier that was ever given, at least that of what the database comes with.
Result<std::uint32_t> ReadLastId(Store& store, std::string_view name, std::uint32_t built_in) {
  const Result<std::optional<Setting>> setting = Table<Setting>(store).Read(std::string(name));
  if (!setting.ok()) return setting.status();
  if (!setting->has_value()) return built_in;
  std::uint32_t id = 0;
  if (!FromCell(ViewOf((*setting)->value), &id) || id < built_in) {
    return Damaged(fmt::format("the setting {} is out of bounds", name));
  }
  return id;
}

// Hands every row to Status add(std::optional<T>, the first cell of its key). None: it is no row of
// such a thing.
template <typename T, typename Add>
Status VisitRows(Store& store, Add add) {
  Status outcome;
  Status status = store.Rows({.table = RowFormat<T>::kTable}, kAll, [&](RowView row) {
    std::int64_t id = 0;
    (void)FromCell(row[0], &id);
    outcome = add(RowFormat<T>::FromRow(row), id);
    return outcome.ok();
  });
  return status.ok() ? outcome : status;
}

}  // namespace

Result<UserBook> UserBook::Load(Store& store) {
  UserBook book;
  const Result<UserId> last_user = ReadLastId(store, kLastUserSetting, kAdminId);
  if (!last_user.ok()) return last_user.status();
  const Result<UserGroupId> last_group =
      ReadLastId(store, kLastUserGroupSetting, kLastBuiltInGroup);
  if (!last_group.ok()) return last_group.status();
  book.last_user_ = *last_user;
  book.last_group_ = *last_group;
  if (Status status = book.LoadUsers(store); !status.ok()) return status;
  if (Status status = book.LoadGroups(store); !status.ok()) return status;
  if (Status status = book.LoadMembers(store); !status.ok()) return status;
  return book;
}

// Admin's row tells his password and description, and nothing else.
Status UserBook::LoadUsers(Store& store) {
  return VisitRows<Account>(store, [&](std::optional<Account> account, std::int64_t id) -> Status {
    if (id != kAdminId) {
      return account ? AddLoaded(*account) : Damaged(fmt::format("the stored user {}", id));
    }
    Account& admin = users_.at(kAdminId);
    const bool is_whole = account && CheckDescription(account->user.description).ok() &&
                          (account->password.empty() || Passwords::IsKept(account->password));
    if (is_whole) {
      admin.user.description = account->user.description;
      admin.password = account->password;
    } else {
      LogError("the stored user {} is damaged: no password logs him in until it is reset",
               admin.user.name);
      admin.password = kLostPassword;
    }
    return {};
  });
}

Status UserBook::AddLoaded(const Account& account) {
  const User& user = account.user;
  Status fault = CheckUserName(user.name);
  if (fault.ok()) fault = CheckDescription(user.description);
  if (fault.ok() && (user.id == 0 || user.id > last_user_)) fault = Damaged("out of bounds");
  if (fault.ok() && !Passwords::IsKept(account.password)) fault = Damaged("no password");
  if (fault.ok() && Find(user.name) != nullptr) fault = Damaged("another one has its name");
  if (!fault.ok()) {
    return Damaged(fmt::format("the stored user {} breaks a rule: {}", user.id, fault.message()));
  }
  Put(account);
  return {};
}

// A built-in group's row tells its description, and nothing else.
Status UserBook::LoadGroups(Store& store) {
  return VisitRows<UserGroup>(
      store, [&](std::optional<UserGroup> group, std::int64_t id) -> Status {
        if (id < 1 || id > kLastBuiltInGroup) {
          return group ? AddLoaded(*std::move(group))
                       : Damaged(fmt::format("the stored user group {}", id));
        }
        UserGroup& built_in = groups_.at(static_cast<UserGroupId>(id));
        if (group && CheckDescription(group->description).ok()) {
          built_in.description = group->description;
        } else {
          LogError("the description of the stored user group {} is damaged", built_in.name);
        }
        return {};
      });
}

Status UserBook::AddLoaded(UserGroup group) {
  Status fault = CheckUserName(group.name);
  if (fault.ok()) fault = CheckDescription(group.description);
  if (fault.ok() && (group.id == 0 || group.id > last_group_)) fault = Damaged("out of bounds");
  if (fault.ok() && FindGroupId(group.name).ok()) fault = Damaged("another one has its name");
  if (!fault.ok()) {
    return Damaged(
        fmt::format("the stored user group {} breaks a rule: {}", group.id, fault.message()));
  }
  Put(group);
  return {};
}

// Once others have a row of it, admin administers only if he has one, too.
Status UserBook::LoadMembers(Store& store) {
  bool has_administrator = false;
  const Membership admin{.group = kAdministrators, .user = kAdminId};
  const auto add = [&](std::optional<Membership> member, std::int64_t group) -> Status {
    if (!member || Find(member->user) == nullptr || !groups_.contains(member->group)) {
      return Damaged(fmt::format("a stored member of the user group {}", group));
    }
    if (member->group == kAdministrators && !has_administrator) {
      has_administrator = true;
      Erase(admin);
    }
    Put(*member);
    return {};
  };
  return VisitRows<Membership>(store, add);
}

}  // namespace zervane
