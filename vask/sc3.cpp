// sc3: security.

#include "vask/api.h"
#include "vask/call.h"

using zervane::Arguments;
using zervane::ArgumentsWithTexts;
using zervane::Unsupported;
using zervane::UnsupportedQuery;

namespace {

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

}  // namespace

int32 sc3_login(const char* szUser, const char* szPassword) {
  return Unsupported(__func__, CheckNamed(szUser, ZR3_LEN_PASSWORD, szPassword));
}

int32 sc3_add_user(const ZR3SecUser* pUser) {
  return Unsupported(__func__, ArgumentsWithTexts()
                                   .Given(pUser)
                                   .Text(pUser, &ZR3SecUser::szUserName)
                                   .Text(pUser, &ZR3SecUser::szPasswd)
                                   .Text(pUser, &ZR3SecUser::szUserDesc));
}

int32 sc3_delete_user(const char* szUser) {
  return Unsupported(__func__, CheckNames(ArgumentsWithTexts(), szUser));
}

int32 sc3_modify_password(const char* szUser, const char* szOldPassword,
                          const char* szNewPassword) {
  return Unsupported(__func__, CheckNamed(szUser, ZR3_LEN_PASSWORD, szOldPassword, szNewPassword));
}

int32 sc3_modify_user_desc(const char* szUser, const char* szDesc) {
  return Unsupported(__func__, CheckNamed(szUser, ZR3_LEN_DESC, szDesc));
}

int32 sc3_reset_password(const char* szUser, const char* szNewPassword) {
  return Unsupported(__func__, CheckNamed(szUser, ZR3_LEN_PASSWORD, szNewPassword));
}

int32 sc3_query_current_user_name(int32 nSize, char* szUser) {
  return Unsupported(__func__, Arguments().Given(szUser).Batch(nSize, szUser));
}

int32 sc3_query_all_users(ZR3HANDLE* pIterator) {
  return UnsupportedQuery(__func__, Arguments().Given(pIterator), pIterator);
}

int32 sc3_add_group(const ZR3SecGroup* pGroup) {
  return Unsupported(__func__, ArgumentsWithTexts()
                                   .Given(pGroup)
                                   .Text(pGroup, &ZR3SecGroup::szGroupName)
                                   .Text(pGroup, &ZR3SecGroup::szGroupDesc));
}

int32 sc3_delete_group(const char* szGroup) {
  return Unsupported(__func__, CheckNames(ArgumentsWithTexts(), szGroup));
}

int32 sc3_modify_group_desc(const char* szGroup, const char* szDesc) {
  return Unsupported(__func__, CheckNamed(szGroup, ZR3_LEN_DESC, szDesc));
}

int32 sc3_add_user_to_group(const char* szUser, const char* szGroup) {
  return Unsupported(__func__, CheckNames(ArgumentsWithTexts(), szUser, szGroup));
}

int32 sc3_delete_user_from_group(const char* szUser, const char* szGroup) {
  return Unsupported(__func__, CheckNames(ArgumentsWithTexts(), szUser, szGroup));
}

int32 sc3_query_members_of_group(const char* szGroup, ZR3HANDLE* pIterator) {
  return UnsupportedQuery(__func__, CheckNames(ArgumentsWithTexts().Given(pIterator), szGroup),
                          pIterator);
}

int32 sc3_query_all_groups(ZR3HANDLE* pIterator) {
  return UnsupportedQuery(__func__, Arguments().Given(pIterator), pIterator);
}

int32 sc3_query_groups_of_user(const char* szUser, ZR3HANDLE* pIterator) {
  return UnsupportedQuery(__func__, CheckNames(ArgumentsWithTexts().Given(pIterator), szUser),
                          pIterator);
}

int32 sc3_query_all_auth_items(ZR3HANDLE* pIterator) {
  return UnsupportedQuery(__func__, Arguments().Given(pIterator), pIterator);
}

int32 sc3_query_auth_of_user(const char* szUser, const char* szAuthItem, int32* pLevel) {
  return Unsupported(__func__, CheckNames(ArgumentsWithTexts().Given(pLevel), szUser, szAuthItem));
}
