#include "engine/security/passwords.h"

#include <sodium.h>

#include <array>
#include <charconv>
#include <optional>
#include <stdexcept>
#include <system_error>

#include "engine/write/write_queue.h"

namespace zervane {
namespace {

constexpr std::size_t kBytesPerUnit = 1024;  // in which Argon2 counts memory
// What no password was kept with, so that damage costs neither hours nor all memory.
constexpr PasswordCost kGreatestCost{.passes = 100, .memory_bytes = std::size_t{1} << 30};

using Salt = std::array<unsigned char, crypto_pwhash_argon2id_SALTBYTES>;
using Outcome = std::array<unsigned char, 32>;

// What a password is kept as: $argon2id$v=19$m=65536,t=2,p=1$salt$outcome, the last two in base 64
// without padding.
struct KeptPassword {
  PasswordCost cost;
  Salt salt{};
  Outcome outcome{};
};

// Takes parts off the front of a text, until one is not there.
class PartReader {
 public:
  explicit PartReader(std::string_view text) : rest_(text) {}

  PartReader& Literal(std::string_view text) {
    is_ok_ = is_ok_ && rest_.starts_with(text);
    if (is_ok_) rest_.remove_prefix(text.size());
    return *this;
  }
  template <typename T>
  PartReader& Number(T* number) {
    const auto [end, fault] = std::from_chars(rest_.data(), rest_.data() + rest_.size(), *number);
    is_ok_ = is_ok_ && fault == std::errc();
    if (is_ok_) rest_.remove_prefix(static_cast<std::size_t>(end - rest_.data()));
    return *this;
  }
  template <std::size_t kSize>
  PartReader& Bytes(std::array<unsigned char, kSize>* bytes) {
    std::size_t size = 0;
    const char* end = rest_.data();
    is_ok_ = is_ok_ &&
             sodium_base642bin(bytes->data(), kSize, rest_.data(), rest_.size(), nullptr, &size,
                               &end, sodium_base64_VARIANT_ORIGINAL_NO_PADDING) == 0 &&
             size == kSize;
    if (is_ok_) rest_.remove_prefix(static_cast<std::size_t>(end - rest_.data()));
    return *this;
  }
  bool IsAtEnd() const { return is_ok_ && rest_.empty(); }

 private:
  std::string_view rest_;
  bool is_ok_ = true;
};

std::optional<KeptPassword> Parse(std::string_view kept) {
  KeptPassword parsed;
  std::size_t units = 0;
  PartReader parts(kept);
  parts.Literal(crypto_pwhash_argon2id_STRPREFIX).Literal("v=19$m=").Number(&units);
  parts.Literal(",t=").Number(&parsed.cost.passes).Literal(",p=1$").Bytes(&parsed.salt);
  parts.Literal("$").Bytes(&parsed.outcome);
  if (!parts.IsAtEnd()) return std::nullopt;
  if (units > kGreatestCost.memory_bytes / kBytesPerUnit ||
      parsed.cost.passes > kGreatestCost.passes) {
    return std::nullopt;
  }
  parsed.cost.memory_bytes = units * kBytesPerUnit;
  return parsed;
}

// libsodium wants an address even of nothing.
const char* AddressOf(const Secret& password) {
  return password.empty() ? "" : password.view().data();
}

// Any number of threads may ask.
void StartSodium() {
  static const bool is_started = sodium_init() >= 0;
  if (!is_started) throw std::runtime_error("libsodium does not start");
}

}  // namespace

PasswordCost InteractiveCost() {
  return {.passes = crypto_pwhash_argon2id_OPSLIMIT_INTERACTIVE,
          .memory_bytes = crypto_pwhash_argon2id_MEMLIMIT_INTERACTIVE};
}

// One of the two who may work at a time.
class Passwords::Place {
 public:
  explicit Place(Passwords& passwords) : passwords_(passwords) {
    const MutexLock lock(passwords_.mutex_);
    while (!passwords_.is_closed_ && passwords_.working_ == kAtATime) {
      passwords_.change_.Wait(passwords_.mutex_);
    }
    is_mine_ = !passwords_.is_closed_;
    if (is_mine_) ++passwords_.working_;
  }
  ~Place() {
    if (!is_mine_) return;
    const MutexLock lock(passwords_.mutex_);
    --passwords_.working_;
    passwords_.change_.NotifyOne();
  }
  Place(const Place&) = delete;
  Place& operator=(const Place&) = delete;

  bool is_mine() const { return is_mine_; }

 private:
  Passwords& passwords_;
  bool is_mine_ = false;
};

Passwords::Passwords(const PasswordCost& cost) : cost_(cost) { StartSodium(); }

Result<std::string> Passwords::Keep(const Secret& password) {
  const Place place(*this);
  if (!place.is_mine()) return DatabaseClosed();
  std::array<char, crypto_pwhash_argon2id_STRBYTES> kept{};
  const int outcome = crypto_pwhash_argon2id_str(
      kept.data(), AddressOf(password), password.view().size(), cost_.passes, cost_.memory_bytes);
  WipeStack();
  if (outcome != 0) return Status(ZR3_ERR_OUT_OF_MEMORY, {});
  return std::string(kept.data());
}

Result<bool> Passwords::Check(std::string_view kept, const Secret& password) {
  const Place place(*this);
  if (!place.is_mine()) return DatabaseClosed();
  const std::optional<KeptPassword> parsed = Parse(kept);
  const KeptPassword against = parsed.value_or(KeptPassword{.cost = cost_});
  Outcome found{};
  const int failed = crypto_pwhash_argon2id(
      found.data(), found.size(), AddressOf(password), password.view().size(), against.salt.data(),
      against.cost.passes, against.cost.memory_bytes, crypto_pwhash_argon2id_ALG_ARGON2ID13);
  WipeStack();
  if (failed != 0) return Status(ZR3_ERR_OUT_OF_MEMORY, {});
  const bool fits = sodium_memcmp(found.data(), against.outcome.data(), found.size()) == 0;
  return parsed.has_value() && fits;
}

bool Passwords::IsKept(std::string_view kept) { return Parse(kept).has_value(); }

void Passwords::Close() noexcept {
  const MutexLock lock(mutex_);
  is_closed_ = true;
  change_.NotifyAll();
}

}  // namespace zervane
