// The log that every fake writes to: one line for each call that the bridge makes, in order.
#ifndef ZERVANE_TESTS_BRIDGE_CALL_LOG_H
#define ZERVANE_TESTS_BRIDGE_CALL_LOG_H

#include <gtest/gtest.h>

#include <initializer_list>
#include <string>
#include <utility>
#include <vector>

namespace zervane::bridge_test {

using Lines = std::vector<std::string>;

Lines operator+(Lines first, const Lines& second);

enum class Kind {
  kLookup,  // FindClass, GetFieldID
  kObject,  // fields, arrays, new objects
  kText,    // strings, byte arrays and their conversion
  kApi      // the client API
};

class CallLog {
 public:
  void Add(Kind kind, std::string line) { entries_.emplace_back(kind, std::move(line)); }
  void Clear() { entries_.clear(); }

  // The lines of those kinds, in the order of the calls.
  Lines Of(std::initializer_list<Kind> kinds) const;

  Lines All() const;
  Lines Lookups() const { return Of({Kind::kLookup}); }
  Lines Objects() const { return Of({Kind::kObject}); }
  Lines Texts() const { return Of({Kind::kText}); }
  Lines Api() const { return Of({Kind::kApi}); }

  // What the method did beside looking up and converting.
  Lines Steps() const { return Of({Kind::kObject, Kind::kApi}); }

  // What reached Java: field and array writes.
  Lines Writes() const;

 private:
  std::vector<std::pair<Kind, std::string>> entries_;
};

// The log of the process; a native call begins by clearing it.
CallLog& Log();

// Equal line by line, but that an expected line which ends in "= ..." leaves the value open. A
// failure names the first line that differs.
testing::AssertionResult SameLines(const Lines& expected, const Lines& actual);

}  // namespace zervane::bridge_test

#endif
