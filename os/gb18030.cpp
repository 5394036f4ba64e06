#include "os/gb18030.h"

#include <algorithm>
#include <array>
#include <functional>

namespace zervane::os::gb18030 {
namespace {

constexpr auto kByCharacter = std::to_array<Assignment>({
    {0xE78D, 0x84318236},  {0xE78E, 0x84318238},  {0xE78F, 0x84318237},  {0xE790, 0x84318239},
    {0xE791, 0x84318330},  {0xE792, 0x84318331},  {0xE793, 0x84318332},  {0xE794, 0x84318333},
    {0xE795, 0x84318334},  {0xE796, 0x84318335},  {0xE816, 0xFE51},      {0xE817, 0xFE52},
    {0xE818, 0xFE53},      {0xE81E, 0x82359037},  {0xE826, 0x82359038},  {0xE82B, 0x82359039},
    {0xE82C, 0x82359130},  {0xE831, 0xFE6C},      {0xE832, 0x82359131},  {0xE83B, 0xFE76},
    {0xE843, 0x82359132},  {0xE854, 0x82359133},  {0xE855, 0xFE91},      {0xE864, 0x82359134},
    {0x20087, 0x95329031}, {0x20089, 0x95329033}, {0x200CC, 0x95329730}, {0x215D7, 0x9536B937},
    {0x2298F, 0x9630BA35}, {0x241FE, 0x9635B630},
});
static_assert(std::ranges::is_sorted(kByCharacter, {}, &Assignment::character));

constexpr auto kByCode = [] {
  auto sorted = kByCharacter;
  std::ranges::sort(sorted, {}, &Assignment::code);
  return sorted;
}();
static_assert(std::ranges::adjacent_find(kByCode, {}, &Assignment::code) == kByCode.end());

template <typename Key>
const Assignment* Find(const auto& sorted, Key Assignment::*member, Key key) {
  const auto found = std::ranges::lower_bound(sorted, key, {}, member);
  return found != sorted.end() && (*found).*member == key ? &*found : nullptr;
}

// Length of the code that text begins with, or what is left of it. A byte that no code begins with
// counts as one, iconv refuses it.
std::size_t LeadingCodeBytes(std::string_view text) {
  const auto lead = static_cast<std::uint8_t>(text[0]);
  if (lead <= 0x80 || lead == 0xFF || text.size() == 1) return 1;
  const std::size_t length = text[1] >= '0' && text[1] <= '9' ? 4 : 2;
  return std::min(length, text.size());
}

std::uint32_t CodeOf(std::string_view bytes) {
  std::uint32_t code = 0;
  for (const char byte : bytes) code = (code << 8) | static_cast<std::uint8_t>(byte);
  return code;
}

}  // namespace

const Assignment* FindAssignment(char32_t character) {
  return Find(kByCharacter, &Assignment::character, character);
}

std::size_t CodeBytes(const Assignment& assignment) { return assignment.code > 0xFFFF ? 4 : 2; }

bool AppendCode(const Assignment& assignment, TextBuffer& out) {
  std::array<char, 4> bytes{};
  const std::size_t length = CodeBytes(assignment);
  for (std::size_t i = 0; i < length; ++i) {
    bytes[i] = static_cast<char>(assignment.code >> (8 * (length - 1 - i)));
  }
  return out.Append({bytes.data(), length});
}

Head SplitHead(std::string_view text) {
  std::size_t position = 0;
  while (position < text.size()) {
    const std::string_view rest = text.substr(position);
    const std::string_view bytes = rest.substr(0, LeadingCodeBytes(rest));
    const Assignment* found =
        bytes.size() > 1 ? Find(kByCode, &Assignment::code, CodeOf(bytes)) : nullptr;
    if (found != nullptr) return {position, found};
    position += bytes.size();
  }
  return {position, nullptr};
}

}  // namespace zervane::os::gb18030
