#include <spdlog/fmt/fmt.h>

#include <algorithm>

#include "api/words/utf8.h"
#include "engine/security/user_book.h"
#include "zr3Enum.h"

namespace zervane {
namespace {

// What fits a record's array in any encoding: a character that is a byte for a caller has up to
// three here.
constexpr std::size_t kMaxGrowth = 3;
constexpr std::size_t kMaxName = ZR3_LEN_NAME - 1;
constexpr std::size_t kMaxDescription = ZR3_LEN_DESC - 1;
constexpr std::size_t kMaxPassword = ZR3_LEN_PASSWORD - 1;

bool IsControl(char c) {
  const auto byte = static_cast<unsigned char>(c);
  return byte < 0x20 || byte == 0x7F;
}

// REQUIRES that it is UTF-8.
bool Fits(std::string_view text, std::size_t max) {
  return text.size() <= kMaxGrowth * max && CountCharacters(text) <= max;
}

}  // namespace

Status CheckUserName(std::string_view name) {
  if (!IsUtf8(name)) return {ZR3_ERR_INVALID_TEXT, "a name that is not UTF-8"};
  const bool has_control = std::any_of(name.begin(), name.end(), IsControl);
  if (!name.empty() && Fits(name, kMaxName) && !has_control) return {};
  return {ZR3_ERR_INVALID_USER_NAME, fmt::format("a name of {} bytes{}", name.size(),
                                                 has_control ? " with control characters" : "")};
}

Status CheckDescription(std::string_view description) {
  if (IsUtf8(description) && Fits(description, kMaxDescription) &&
      description.find('\0') == std::string_view::npos) {
    return {};
  }
  return {ZR3_ERR_INVALID_TEXT, fmt::format("a description of {} bytes", description.size())};
}

// Of a password nothing is told, not even its length.
Status CheckPassword(std::string_view password) {
  if (!IsUtf8(password)) return {ZR3_ERR_INVALID_TEXT, {}};
  if (!password.empty() && Fits(password, kMaxPassword)) return {};
  return {ZR3_ERR_INVALID_PASSWORD, {}};
}

}  // namespace zervane
