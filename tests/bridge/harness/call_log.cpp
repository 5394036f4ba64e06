#include "call_log.h"

#include <algorithm>

namespace zervane::bridge_test {
namespace {

std::string LineOr(const Lines& lines, size_t index) {
  return index < lines.size() ? lines[index] : "(nothing)";
}

bool Matches(const std::string& expected, const std::string& actual) {
  constexpr std::string_view kAny = "...";
  if (!expected.ends_with("= ...")) return expected == actual;
  return actual.starts_with(expected.substr(0, expected.size() - kAny.size()));
}

}  // namespace

Lines operator+(Lines first, const Lines& second) {
  first.insert(first.end(), second.begin(), second.end());
  return first;
}

Lines CallLog::Of(std::initializer_list<Kind> kinds) const {
  Lines lines;
  for (const auto& [kind, line] : entries_) {
    if (std::find(kinds.begin(), kinds.end(), kind) != kinds.end()) lines.push_back(line);
  }
  return lines;
}

Lines CallLog::All() const { return Of({Kind::kLookup, Kind::kObject, Kind::kText, Kind::kApi}); }

Lines CallLog::Writes() const {
  Lines lines;
  for (const std::string& line : Objects()) {
    if (line.starts_with("Set")) lines.push_back(line);
  }
  return lines;
}

CallLog& Log() {
  static CallLog log;
  return log;
}

testing::AssertionResult SameLines(const Lines& expected, const Lines& actual) {
  for (size_t i = 0; i < std::max(expected.size(), actual.size()); ++i) {
    if (Matches(LineOr(expected, i), LineOr(actual, i))) continue;
    return testing::AssertionFailure()
           << "line " << i + 1 << " of " << expected.size() << " expected, " << actual.size()
           << " logged:\n  expected: " << LineOr(expected, i)
           << "\n  logged:   " << LineOr(actual, i);
  }
  return testing::AssertionSuccess();
}

}  // namespace zervane::bridge_test
