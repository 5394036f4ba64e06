#include "engine/security/security.h"

#include <utility>

#include "api/words/ascii.h"

namespace zervane {
namespace {

Status LoginFailed() { return {ZR3_ERR_LOGIN_FAILED, {}}; }

// What failures are counted by: all names that no user can have are one.
std::string CountedName(std::string_view name) {
  return CheckUserName(name).ok() ? FoldAscii(name) : std::string();
}

}  // namespace

Security::Security(Store& store, WritePath& writes, Settings settings)
    : store_(store),
      writes_(writes),
      passwords_(settings.password_cost),
      delays_(std::move(settings.pause)),
      book_(std::make_shared<const UserBook>()) {}

Status Security::Load() {
  Result<UserBook> loaded = UserBook::Load(store_);
  if (!loaded.ok()) return loaded.status();
  const auto book = std::make_shared<const UserBook>(*std::move(loaded));
  for (std::optional<UserId> from = UserId{0}; from;) {
    const Page<User, UserId> page = book->ListUsers(*from, kMaxPageItems);
    for (const User& user : page.items) levels_.At(user.id) = book->LevelsOf(user.id).word();
    from = page.next;
  }
  Publish(book);
  return {};
}

Security::BookPtr Security::book() const {
  const MutexLock lock(mutex_);
  return book_;
}

void Security::Publish(BookPtr book) noexcept {
  const MutexLock lock(mutex_);
  book_.swap(book);
}

// ---- passwords ----

Result<User> Security::LogIn(const Caller& caller, std::string_view name, const Secret& password) {
  Result<Account> account = Identify(caller, name, password);
  if (!account.ok()) return account.status();
  return std::move(account->user);
}

Result<Account> Security::Identify(const Caller& caller, std::string_view name,
                                   const Secret& password) {
  Result<Account> account = LoginFailed();
  Status status = delays_.Try(CountedName(name), [&] {
    account = CheckOnce(caller, name, password);
    return account.status();
  });
  if (!status.ok()) return status;
  return account;
}

// Whoever the name is or is not of, a password is checked, so that the time tells nothing. What was
// checked may have changed meanwhile.
Result<Account> Security::CheckOnce(const Caller& caller, std::string_view name,
                                    const Secret& password) {
  const BookPtr before = book();
  const Account* account = before->Find(name);
  if (account != nullptr && account->password.empty() && password.empty() && !caller.is_remote) {
    return *account;
  }
  const Result<bool> fits =
      passwords_.Check(account == nullptr ? std::string_view() : account->password, password);
  if (!fits.ok()) return fits.status();
  if (!*fits) return LoginFailed();
  const BookPtr after = book();
  const Account* now = after->Find(account->user.id);
  if (now == nullptr || now->password != account->password) return LoginFailed();
  return *now;
}

Result<UserId> Security::AddUser(std::string_view name, const Secret& password,
                                 std::string_view description) {
  if (Status status = CheckUserName(name); !status.ok()) return status;
  if (Status status = CheckPassword(password.view()); !status.ok()) return status;
  // The rules are asked in the turn; before it for what would be refused anyway, as that costs
  // less.
  if (book()->Find(name) != nullptr) return Status(ZR3_ERR_USER_EXISTS, std::string(name));
  Result<std::string> kept = passwords_.Keep(password);
  if (!kept.ok()) return kept.status();
  return ChangeUser([&](UserBook& book, StoreBatch& batch) {
    Account account{.user = {.id = 0, .name = std::string(name), .description = {}},
                    .password = *kept};
    account.user.description = description;
    return book.AddUser(std::move(account), batch);
  });
}

Status Security::ChangePassword(const Caller& caller, std::string_view user,
                                const Secret& old_password, const Secret& new_password) {
  if (Status status = CheckPassword(new_password.view()); !status.ok()) return status;
  const Result<Account> account = Identify(caller, user, old_password);
  if (!account.ok()) return account.status();
  Result<std::string> kept = passwords_.Keep(new_password);
  if (!kept.ok()) return kept.status();
  const auto replace = [&](UserBook& book, StoreBatch& batch) -> Result<UserId> {
    const Account* now = book.Find(account->user.id);
    if (now == nullptr || now->password != account->password) return LoginFailed();
    return book.SetPassword(account->user.name, *kept, batch);
  };
  return ChangeUser(replace).status();
}

Status Security::ResetPassword(std::string_view user, const Secret& password) {
  if (Status status = CheckPassword(password.view()); !status.ok()) return status;
  if (const Result<UserId> id = book()->FindUserId(user); !id.ok()) return id.status();
  Result<std::string> kept = passwords_.Keep(password);
  if (!kept.ok()) return kept.status();
  const auto replace = [&](UserBook& book, StoreBatch& batch) {
    return book.SetPassword(user, *kept, batch);
  };
  return ChangeUser(replace).status();
}

// ---- changes ----

Result<UserId> Security::ChangeUser(const Edit& edit) { return Change(edit, true); }
Result<UserGroupId> Security::ChangeGroup(const Edit& edit) { return Change(edit, false); }

// Groups that come and go give no levels.
Result<std::uint32_t> Security::Change(const Edit& edit, bool concerns_user) {
  std::uint32_t id = 0;
  BookPtr next;
  std::atomic<std::uint16_t>* word = nullptr;
  PackedLevels levels;
  const auto plan = [&](Turn&, StoreBatch& batch) -> Status {
    const auto edited = std::make_shared<UserBook>(*book());
    const Result<std::uint32_t> outcome = edit(*edited, batch);
    if (!outcome.ok()) return outcome.status();
    id = *outcome;
    if (concerns_user) {
      word = &levels_.At(id);
      levels = edited->LevelsOf(id);
    }
    next = edited;
    return {};
  };
  const auto adopt = [&](Turn&) {
    Publish(std::move(next));
    if (word != nullptr) word->store(levels.word(), std::memory_order_relaxed);
  };
  if (Status status = writes_.Change(plan, adopt); !status.ok()) return status;
  return id;
}

void Security::Close() noexcept {
  passwords_.Close();
  delays_.Close();
}

}  // namespace zervane
