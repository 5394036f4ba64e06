// sc3: security.

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "vask/api.h"
#include "vask/call.h"
#include "vask/iterate.h"
#include "vask/texts.h"

using zervane::AddMember;
using zervane::AddUser;
using zervane::AddUserGroup;
using zervane::Arguments;
using zervane::ArgumentsWithTexts;
using zervane::AuthorityEntry;
using zervane::Call;
using zervane::CallAside;
using zervane::ChangePassword;
using zervane::DeleteUser;
using zervane::DeleteUserGroup;
using zervane::Deliver;
using zervane::DescribeUser;
using zervane::DescribeUserGroup;
using zervane::GetAuthorityLevel;
using zervane::GetCurrentUser;
using zervane::ItemIterator;
using zervane::Iterate;
using zervane::ListAuthorityItems;
using zervane::ListGroupsOfUser;
using zervane::ListMembers;
using zervane::ListUserGroups;
using zervane::ListUsers;
using zervane::Login;
using zervane::Page;
using zervane::PagedIterator;
using zervane::Query;
using zervane::RemoveMember;
using zervane::ResetPassword;
using zervane::Result;
using zervane::Secret;
using zervane::Session;
using zervane::StandardText;
using zervane::Status;
using zervane::TextsOfThisThread;
using zervane::User;
using zervane::UserGroup;
using zervane::UserGroupId;
using zervane::UserId;

namespace {

// ---- arguments ----

// Names of users, groups and authority items.
template <typename... Names>
Arguments CheckNames(Arguments arguments, const Names*... names) {
  arguments.Given(names...);
  (arguments.Text(names, ZR3_LEN_NAME), ...);
  return arguments;
}

// A name, and texts of another capacity beside it.
template <typename... Texts>
Arguments CheckNamed(const char* name, std::size_t capacity, const Texts*... texts) {
  Arguments arguments = ArgumentsWithTexts();
  arguments.Given(name, texts...).Text(name, ZR3_LEN_NAME);
  (arguments.Text(texts, capacity), ...);
  return arguments;
}

// Texts of one call in UTF-8, once they are known to end. What does not convert is told by
// status(), and reads as an empty one.
class CallTexts {
 public:
  std::string Name(const char* text) { return Read(text, ZR3_LEN_NAME); }
  std::string Description(const char* text) { return Read(text, ZR3_LEN_DESC); }
  Secret Password(const char* text) {
    std::optional<Secret> password = zervane::ReadSecret(texts_, text, ZR3_LEN_PASSWORD);
    if (!password) has_failed_ = true;
    return password ? *std::move(password) : Secret();
  }

  Status status() const { return has_failed_ ? Status(ZR3_ERR_INVALID_TEXT, {}) : Status(); }

 private:
  std::string Read(const char* text, std::size_t capacity) {
    const std::optional<std::string_view> utf8 = zervane::ReadText(texts_, text, capacity);
    if (!utf8) has_failed_ = true;
    return utf8 ? std::string(*utf8) : std::string();
  }

  StandardText& texts_ = TextsOfThisThread();
  bool has_failed_ = false;
};

// Has the session carry out an operation made of texts: Op make(CallTexts&).
template <typename Make>
int32 DoWithTexts(const char* function, const Arguments& arguments, Make make) {
  return Call(function, arguments, [&](Session& session) -> Status {
    CallTexts texts;
    const auto operation = make(texts);
    if (!texts.status().ok()) return texts.status();
    return session.Do(operation).status();
  });
}

// The same for one with a new password, which takes a while to be made safe to keep: others go on
// with the session meanwhile.
template <typename Make>
int32 DoAsideWithTexts(const char* function, const Arguments& arguments, Make make) {
  return CallAside(function, arguments, [&](Session& session) -> Status {
    CallTexts texts;
    const auto operation = make(texts);
    if (!texts.status().ok()) return texts.status();
    return session.DoAside(operation).status();
  });
}

// ---- lists ----

void FillUser(const User& user, void* record) {
  StandardText& texts = TextsOfThisThread();
  auto* filled = static_cast<ZR3SecUser*>(record);
  *filled = ZR3SecUser{};
  zervane::WriteText(texts, user.name, filled->szUserName, ZR3_LEN_NAME);
  zervane::WriteText(texts, user.description, filled->szUserDesc, ZR3_LEN_DESC);
}

void FillGroup(const UserGroup& group, void* record) {
  StandardText& texts = TextsOfThisThread();
  auto* filled = static_cast<ZR3SecGroup*>(record);
  *filled = ZR3SecGroup{};
  zervane::WriteText(texts, group.name, filled->szGroupName, ZR3_LEN_NAME);
  zervane::WriteText(texts, group.description, filled->szGroupDesc, ZR3_LEN_DESC);
}

template <typename Op>
Status IterateUsers(Session& session, Op operation, ZR3HANDLE* handle) {
  return Iterate<User, UserId>(
      session, std::move(operation), [](const User& user) { return user.id; }, FillUser, handle);
}

template <typename Op>
Status IterateGroups(Session& session, Op operation, ZR3HANDLE* handle) {
  return Iterate<UserGroup, UserGroupId>(
      session, std::move(operation), [](const UserGroup& group) { return group.id; }, FillGroup,
      handle);
}

// The authority items are few and come at once; their key is their place.
struct PlacedItem {
  std::uint32_t place = 0;
  AuthorityEntry entry;
};

Result<Page<PlacedItem, std::uint32_t>> AuthorityItemsFrom(Session& session, std::uint32_t from) {
  Result<ListAuthorityItems::Reply> items = session.Do(ListAuthorityItems{});
  if (!items.ok()) return items.status();
  Page<PlacedItem, std::uint32_t> page;
  for (std::uint32_t place = from; place < items->size(); ++place) {
    page.items.push_back({.place = place, .entry = std::move((*items)[place])});
  }
  return page;
}

void FillAuthorityItem(const PlacedItem& item, void* record) {
  StandardText& texts = TextsOfThisThread();
  auto* filled = static_cast<ZR3SecAuthItem*>(record);
  *filled = ZR3SecAuthItem{};
  zervane::WriteText(texts, item.entry.name, filled->szName, ZR3_LEN_NAME);
  zervane::WriteText(texts, item.entry.description, filled->szDesc, ZR3_LEN_DESC);
  filled->nAuth = item.entry.level;
}

// ---- the caller's name ----

// Longer than any name in any encoding, so that no caller's count is believed.
constexpr std::size_t kLongestName = 1'024;

Status WriteWholeName(std::string_view name, int32 size, char* array) {
  if (size < 1) return {ZR3_ERR_BUFFER_TOO_SMALL, {}};
  const std::size_t room = std::min(static_cast<std::size_t>(size), kLongestName) - 1;
  const StandardText::SystemText text = TextsOfThisThread().ToSystem(name, room);
  if (!text.is_whole) return {ZR3_ERR_BUFFER_TOO_SMALL, {}};
  *std::ranges::copy(text.bytes, array).out = '\0';
  return {};
}

}  // namespace

int32 sc3_login(const char* szUser, const char* szPassword) {
  return CallAside(
      __func__, CheckNamed(szUser, ZR3_LEN_PASSWORD, szPassword), [&](Session& session) -> Status {
        CallTexts texts;
        const Login login{.name = texts.Name(szUser), .password = texts.Password(szPassword)};
        if (!texts.status().ok()) return texts.status();
        return session.LogIn(login);
      });
}

int32 sc3_add_user(const ZR3SecUser* pUser) {
  const Arguments arguments = ArgumentsWithTexts()
                                  .Given(pUser)
                                  .Text(pUser, &ZR3SecUser::szUserName)
                                  .Text(pUser, &ZR3SecUser::szPasswd)
                                  .Text(pUser, &ZR3SecUser::szUserDesc);
  return DoAsideWithTexts(__func__, arguments, [&](CallTexts& texts) {
    return AddUser{.name = texts.Name(pUser->szUserName),
                   .password = texts.Password(pUser->szPasswd),
                   .description = texts.Description(pUser->szUserDesc)};
  });
}

int32 sc3_delete_user(const char* szUser) {
  return DoWithTexts(__func__, CheckNames(ArgumentsWithTexts(), szUser),
                     [&](CallTexts& texts) { return DeleteUser{texts.Name(szUser)}; });
}

int32 sc3_modify_password(const char* szUser, const char* szOldPassword,
                          const char* szNewPassword) {
  const Arguments arguments = CheckNamed(szUser, ZR3_LEN_PASSWORD, szOldPassword, szNewPassword);
  return DoAsideWithTexts(__func__, arguments, [&](CallTexts& texts) {
    return ChangePassword{.user = texts.Name(szUser),
                          .old_password = texts.Password(szOldPassword),
                          .new_password = texts.Password(szNewPassword)};
  });
}

int32 sc3_modify_user_desc(const char* szUser, const char* szDesc) {
  return DoWithTexts(__func__, CheckNamed(szUser, ZR3_LEN_DESC, szDesc), [&](CallTexts& texts) {
    return DescribeUser{.user = texts.Name(szUser), .description = texts.Description(szDesc)};
  });
}

int32 sc3_reset_password(const char* szUser, const char* szNewPassword) {
  return DoAsideWithTexts(
      __func__, CheckNamed(szUser, ZR3_LEN_PASSWORD, szNewPassword), [&](CallTexts& texts) {
        return ResetPassword{.user = texts.Name(szUser), .password = texts.Password(szNewPassword)};
      });
}

int32 sc3_query_current_user_name(int32 nSize, char* szUser) {
  return Call(__func__, Arguments().Given(szUser).Batch(nSize, szUser),
              [&](Session& session) -> Status {
                const Result<std::string> name = session.Do(GetCurrentUser{});
                return name.ok() ? WriteWholeName(*name, nSize, szUser) : name.status();
              });
}

int32 sc3_query_all_users(ZR3HANDLE* pIterator) {
  return Query(__func__, Arguments().Given(pIterator), pIterator,
               [&](Session& session) { return IterateUsers(session, ListUsers{}, pIterator); });
}

int32 sc3_add_group(const ZR3SecGroup* pGroup) {
  const Arguments arguments = ArgumentsWithTexts()
                                  .Given(pGroup)
                                  .Text(pGroup, &ZR3SecGroup::szGroupName)
                                  .Text(pGroup, &ZR3SecGroup::szGroupDesc);
  return DoWithTexts(__func__, arguments, [&](CallTexts& texts) {
    return AddUserGroup{.name = texts.Name(pGroup->szGroupName),
                        .description = texts.Description(pGroup->szGroupDesc)};
  });
}

int32 sc3_delete_group(const char* szGroup) {
  return DoWithTexts(__func__, CheckNames(ArgumentsWithTexts(), szGroup),
                     [&](CallTexts& texts) { return DeleteUserGroup{texts.Name(szGroup)}; });
}

int32 sc3_modify_group_desc(const char* szGroup, const char* szDesc) {
  return DoWithTexts(__func__, CheckNamed(szGroup, ZR3_LEN_DESC, szDesc), [&](CallTexts& texts) {
    return DescribeUserGroup{.group = texts.Name(szGroup),
                             .description = texts.Description(szDesc)};
  });
}

int32 sc3_add_user_to_group(const char* szUser, const char* szGroup) {
  return DoWithTexts(__func__, CheckNames(ArgumentsWithTexts(), szUser, szGroup),
                     [&](CallTexts& texts) {
                       return AddMember{.user = texts.Name(szUser), .group = texts.Name(szGroup)};
                     });
}

int32 sc3_delete_user_from_group(const char* szUser, const char* szGroup) {
  return DoWithTexts(
      __func__, CheckNames(ArgumentsWithTexts(), szUser, szGroup), [&](CallTexts& texts) {
        return RemoveMember{.user = texts.Name(szUser), .group = texts.Name(szGroup)};
      });
}

int32 sc3_query_members_of_group(const char* szGroup, ZR3HANDLE* pIterator) {
  return Query(__func__, CheckNames(ArgumentsWithTexts().Given(pIterator), szGroup), pIterator,
               [&](Session& session) -> Status {
                 CallTexts texts;
                 ListMembers list;
                 list.group = texts.Name(szGroup);
                 if (!texts.status().ok()) return texts.status();
                 return IterateUsers(session, std::move(list), pIterator);
               });
}

int32 sc3_query_all_groups(ZR3HANDLE* pIterator) {
  return Query(__func__, Arguments().Given(pIterator), pIterator, [&](Session& session) {
    return IterateGroups(session, ListUserGroups{}, pIterator);
  });
}

int32 sc3_query_groups_of_user(const char* szUser, ZR3HANDLE* pIterator) {
  return Query(__func__, CheckNames(ArgumentsWithTexts().Given(pIterator), szUser), pIterator,
               [&](Session& session) -> Status {
                 CallTexts texts;
                 ListGroupsOfUser list;
                 list.user = texts.Name(szUser);
                 if (!texts.status().ok()) return texts.status();
                 return IterateGroups(session, std::move(list), pIterator);
               });
}

int32 sc3_query_all_auth_items(ZR3HANDLE* pIterator) {
  return Query(__func__, Arguments().Given(pIterator), pIterator, [&](Session& session) -> Status {
    auto fetch = [&session](std::uint32_t from, std::int32_t) {
      return AuthorityItemsFrom(session, from);
    };
    Result<std::unique_ptr<ItemIterator>> iterator = PagedIterator<PlacedItem, std::uint32_t>::Make(
        {.fetch = fetch,
         .key_of = [](const PlacedItem& item) { return item.place; },
         .fill = FillAuthorityItem},
        0);
    if (!iterator.ok()) return iterator.status();
    return Deliver(session.handles().Add(*std::move(iterator)), pIterator);
  });
}

int32 sc3_query_auth_of_user(const char* szUser, const char* szAuthItem, int32* pLevel) {
  const Arguments arguments = CheckNames(ArgumentsWithTexts().Given(pLevel), szUser, szAuthItem);
  return Call(__func__, arguments, [&](Session& session) -> Status {
    CallTexts texts;
    const GetAuthorityLevel get{.user = texts.Name(szUser), .item = texts.Name(szAuthItem)};
    if (!texts.status().ok()) return texts.status();
    return Deliver(session.Do(get), pLevel);
  });
}
