#pragma once

#include <atomic>
#include <cstdint>
#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <string_view>

#include "api/caller.h"
#include "api/words/secret.h"
#include "api/words/status.h"
#include "api/words/user.h"
#include "engine/mutex.h"
#include "engine/security/login_delays.h"
#include "engine/security/passwords.h"
#include "engine/security/rights.h"
#include "engine/security/user_book.h"
#include "engine/storage/store.h"
#include "engine/tag_array.h"
#include "engine/write/write_path.h"

namespace zervane {

// Users, user groups and who is in which, in memory and in the store; and what follows of that: the
// level that a caller has in an authority item, and whether a password is a user's.
//
// Threads: any.
class Security {
 public:
  // What logging in costs and how it waits.
  struct Settings {
    PasswordCost password_cost = InteractiveCost();
    std::unique_ptr<Pause> pause = MachinePause();
  };

  // Store and path outlive it.
  Security(Store& store, WritePath& writes) : Security(store, writes, Settings()) {}
  Security(Store& store, WritePath& writes, Settings settings);

  // Before anybody asks. ZR3_ERR_STORAGE_DAMAGED when a stored row breaks a rule, but for those of
  // what the database comes with.
  Status Load() EXCLUDES(mutex_);

  // The highest level of the groups that the caller's user is in; kNoUserNeeded when the user is
  // gone. The engine itself has kMaxLevel. Some nanoseconds, for it is asked with every operation.
  int LevelOf(const Caller& caller, AuthorityItem item) const {
    if (caller.user_id == kSystemId) return kMaxLevel;
    const std::atomic<std::uint16_t>* word = levels_.Find(caller.user_id);
    if (word == nullptr) return kNoUserNeeded;
    return PackedLevels(word->load(std::memory_order_relaxed)).Level(item);
  }

  // The book as it stands, which it remains whatever changes.
  using BookPtr = std::shared_ptr<const UserBook>;
  BookPtr book() const EXCLUDES(mutex_);

  // Whether the password is the user's, told as late as LoginDelays has it: ZR3_ERR_LOGIN_FAILED is
  // the same for a user who does not exist. An empty password is that of a user without one, for
  // callers in this process.
  Result<User> LogIn(const Caller& caller, std::string_view name, const Secret& password);

  // The statuses are those of the operations AddUser, ChangePassword and ResetPassword.
  Result<UserId> AddUser(std::string_view name, const Secret& password,
                         std::string_view description);
  Status ChangePassword(const Caller& caller, std::string_view user, const Secret& old_password,
                        const Secret& new_password);
  Status ResetPassword(std::string_view user, const Secret& password);

  // Changes of the book that concern one user, or a group; what they answer is answered.
  using Edit = std::function<Result<std::uint32_t>(UserBook&, StoreBatch&)>;
  Result<UserId> ChangeUser(const Edit& edit) EXCLUDES(mutex_);
  Result<UserGroupId> ChangeGroup(const Edit& edit) EXCLUDES(mutex_);

  // Ends what waits to log in, and refuses later tries with ZR3_ERR_NOT_CONNECTED.
  void Close() noexcept;

 private:
  static constexpr UserId kSystemId = 0;  // Caller::System()'s

  using Levels = SharedTagArray<std::atomic<std::uint16_t>>;  // of PackedLevels, by user

  // The account of the name, if the password is its.
  Result<Account> Identify(const Caller& caller, std::string_view name, const Secret& password);
  Result<Account> CheckOnce(const Caller& caller, std::string_view name, const Secret& password);
  Result<std::uint32_t> Change(const Edit& edit, bool concerns_user) EXCLUDES(mutex_);
  void Publish(BookPtr book) noexcept EXCLUDES(mutex_);

  Store& store_;
  WritePath& writes_;
  Passwords passwords_;
  LoginDelays delays_;

  Levels levels_;  // made by whoever has the turn
  mutable Mutex mutex_;
  BookPtr book_ GUARDED_BY(mutex_);  // never null
};

}  // namespace zervane
