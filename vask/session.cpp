#include "vask/session.h"

#include <cstddef>
#include <new>
#include <utility>

#include "engine/assert.h"

namespace zervane {
namespace {

Result<std::unique_ptr<Database>> OpenEither(const Servers& servers, const DatabaseOpener& open) {
  Result<std::unique_ptr<Database>> primary = open(servers.primary);
  if (primary.code() != ZR3_ERR_CONNECT_FAILED || !servers.standby) return primary;
  return open(*servers.standby);
}

}  // namespace

Status Session::Connect(const Servers& servers, const DatabaseOpener& open) {
  const SessionLock lock(mutex_);
  if (database_ != nullptr) {
    return servers == servers_ ? Status() : Status(ZR3_ERR_ALREADY_CONNECTED, {});
  }
  Result<std::unique_ptr<Database>> opened = OpenEither(servers, open);
  if (!opened.ok()) return opened.status();
  ZERVANE_ASSERT(*opened != nullptr);
  servers_ = servers;
  caller_ = Caller();
  database_ = *std::move(opened);
  return {};
}

Status Session::Disconnect() {
  const SessionLock lock(mutex_);
  if (database_ == nullptr) return {ZR3_ERR_NOT_CONNECTED, {}};
  handles_.Clear();
  cache_.Clear();
  polled_changes_.Clear();
  polled_alarms_.Clear();
  const std::shared_ptr<Database> database = std::move(database_);
  return database->Close();
}

Session::Asker Session::MakeAsker() {
  const SharedSessionLock lock(mutex_);
  return {.database = database_, .caller = caller_};
}

// The database may have been left meanwhile, for the same one even: whoever is connected now has
// not logged in.
Status Session::LogIn(const Login& login) {
  const Asker asker = MakeAsker();
  if (asker.database == nullptr) return {ZR3_ERR_NOT_CONNECTED, {}};
  Result<User> user = asker.database->Do(asker.caller, login);
  if (!user.ok()) return user.status();
  const SessionLock lock(mutex_);
  if (database_ != asker.database) return {ZR3_ERR_NOT_CONNECTED, {}};
  caller_.user = std::move(user->name);
  caller_.user_id = user->id;
  cache_.Clear();
  handles_.ForgetFetched();
  polled_changes_.Clear();
  polled_alarms_.Clear();
  return {};
}

Session& ProcessSession() {
  alignas(Session) static std::byte place[sizeof(Session)];  // not of the heap: nothing frees it
  static Session& session = *new (place) Session;
  return session;
}

}  // namespace zervane
