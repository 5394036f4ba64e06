#pragma once

#include <cstddef>
#include <cstring>
#include <ostream>
#include <string>
#include <string_view>
#include <vector>

#include "tests/engine/storage/temp_folder.h"
#include "zervane.h"

namespace zervane {

// A database in a folder, behind the exported functions as a program has them, with something of
// each kind to ask about.
class WholeStack {
 public:
  static constexpr uint32 kSource = 1;  // "source", FLOAT64: 1, 2, 95, 4 at the first four seconds
  static constexpr uint32 kAlarm = 2;   // "alarm" over it, from the third second to the fourth
  static constexpr uint32 kGroup = 1;   // "plant", which the alarm is in
  static constexpr uint32 kNoTag = 99;

  WholeStack();
  WholeStack(const WholeStack&) = delete;
  WholeStack& operator=(const WholeStack&) = delete;
  ~WholeStack();

  // Opens the session, to this database or to another one.
  int32 Connect() const;
  static int32 ConnectElsewhere();

 private:
  void AddTags();

  storage::TempFolder folder_;
};

// What one exported function does there, by what it is called with.
struct Deed {
  const char* name;
  // Looks also at what came of it.
  int32 (*succeeds)(const WholeStack& stack);
  // Null of a function that has no way to fail.
  int32 (*fails)(const WholeStack& stack);
  int32 failure;
  const char* why_never = "";
};

inline void PrintTo(const Deed& deed, std::ostream* out) { *out << deed.name; }

// In the order of the header.
std::vector<Deed> DeedsOfSessionAndTags();
std::vector<Deed> DeedsOfValues();
std::vector<Deed> DeedsOfDerivedTags();
std::vector<Deed> DeedsOfAlarms();
std::vector<Deed> DeedsOfSecurity();

// ---- what the deeds share ----

constexpr ZR3Mask kNothingSelected = {0, 0};
constexpr ZR3Mask kAllSelected = {-1, -1};
constexpr ZR3TimeRegion kAllTime = {{0, 0}, {-1, 999}, 1, 1};

template <std::size_t kCapacity>
void Put(std::string_view text, char (&field)[kCapacity]) {
  std::memset(field, 0, kCapacity);
  std::memcpy(field, text.data(), text.size());
}

// A record of the source.
ZR3Record NumberAt(int32 second, float64 value = 0);
// How many items an iterator has; it is released.
int CountItems(ZR3HANDLE iterator);

}  // namespace zervane
