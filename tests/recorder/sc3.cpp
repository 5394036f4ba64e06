#include "recorder.h"

using zervane::recorder::Call;

// ---- users ----

int32 sc3_login(const char* szUser, const char* szPassword) {
  return Call("sc3_login").InText("szUser", szUser).InText("szPassword", szPassword).Status();
}

int32 sc3_add_user(const ZR3SecUser* pUser) {
  return Call("sc3_add_user").InRecord("pUser", pUser).Status();
}

int32 sc3_delete_user(const char* szUser) {
  return Call("sc3_delete_user").InText("szUser", szUser).Status();
}

int32 sc3_modify_password(const char* szUser, const char* szOldPassword,
                          const char* szNewPassword) {
  return Call("sc3_modify_password")
      .InText("szUser", szUser)
      .InText("szOldPassword", szOldPassword)
      .InText("szNewPassword", szNewPassword)
      .Status();
}

int32 sc3_modify_user_desc(const char* szUser, const char* szDesc) {
  return Call("sc3_modify_user_desc").InText("szUser", szUser).InText("szDesc", szDesc).Status();
}

int32 sc3_reset_password(const char* szUser, const char* szNewPassword) {
  return Call("sc3_reset_password")
      .InText("szUser", szUser)
      .InText("szNewPassword", szNewPassword)
      .Status();
}

int32 sc3_query_current_user_name(int32 nSize, char* szUser) {
  return Call("sc3_query_current_user_name")
      .In("nSize", nSize)
      .OutArray("szUser", szUser, nSize)
      .Status();
}

int32 sc3_query_all_users(ZR3HANDLE* pIterator) {
  return Call("sc3_query_all_users").Out("pIterator", pIterator).Status();
}

// ---- groups and membership ----

int32 sc3_add_group(const ZR3SecGroup* pGroup) {
  return Call("sc3_add_group").InRecord("pGroup", pGroup).Status();
}

int32 sc3_delete_group(const char* szGroup) {
  return Call("sc3_delete_group").InText("szGroup", szGroup).Status();
}

int32 sc3_modify_group_desc(const char* szGroup, const char* szDesc) {
  return Call("sc3_modify_group_desc").InText("szGroup", szGroup).InText("szDesc", szDesc).Status();
}

int32 sc3_add_user_to_group(const char* szUser, const char* szGroup) {
  return Call("sc3_add_user_to_group").InText("szUser", szUser).InText("szGroup", szGroup).Status();
}

int32 sc3_delete_user_from_group(const char* szUser, const char* szGroup) {
  return Call("sc3_delete_user_from_group")
      .InText("szUser", szUser)
      .InText("szGroup", szGroup)
      .Status();
}

int32 sc3_query_members_of_group(const char* szGroup, ZR3HANDLE* pIterator) {
  return Call("sc3_query_members_of_group")
      .InText("szGroup", szGroup)
      .Out("pIterator", pIterator)
      .Status();
}

int32 sc3_query_all_groups(ZR3HANDLE* pIterator) {
  return Call("sc3_query_all_groups").Out("pIterator", pIterator).Status();
}

int32 sc3_query_groups_of_user(const char* szUser, ZR3HANDLE* pIterator) {
  return Call("sc3_query_groups_of_user")
      .InText("szUser", szUser)
      .Out("pIterator", pIterator)
      .Status();
}

// ---- authority ----

int32 sc3_query_all_auth_items(ZR3HANDLE* pIterator) {
  return Call("sc3_query_all_auth_items").Out("pIterator", pIterator).Status();
}

int32 sc3_query_auth_of_user(const char* szUser, const char* szAuthItem, int32* pLevel) {
  return Call("sc3_query_auth_of_user")
      .InText("szUser", szUser)
      .InText("szAuthItem", szAuthItem)
      .InOut("pLevel", pLevel)
      .Status();
}
