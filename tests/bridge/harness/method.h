// The table of native methods that drives the suite: one row for each, made by the test file of its
// family. A method without a row, or a row without a method, fails the suite.
#ifndef ZERVANE_TESTS_BRIDGE_METHOD_H
#define ZERVANE_TESTS_BRIDGE_METHOD_H

#include <functional>
#include <ostream>
#include <string>
#include <vector>

#include "scene.h"

namespace zervane::bridge_test {

// What a failure of the client API does to a method.
struct Failure {
  std::string of = {};  // the function that answers kSomeError; empty: the method's last
  jlong result = kSomeError;
  Lines writes = {};  // what reaches Java all the same
  Lines after = {};   // API calls after the failed one
  Blocks left = {};
};

struct Method {
  std::string name;                             // as it is exported
  Lines lookups = {};                           // in order
  bool lookups_first = true;                    // all of them before the first API call
  Lines api = {};                               // API calls of a successful call, in order
  jlong result = 0;                             // of a successful call
  Blocks left = {};                             // blocks that a successful call leaves allocated
  std::vector<Failure> failures = {Failure()};  // empty where no API function is called
  std::function<jlong()> call;  // scripts the fakes and calls the method with plain arguments
};

// How a test's output names a row.
inline void PrintTo(const Method& method, std::ostream* out) { *out << method.name; }

using Methods = std::vector<Method>;

Methods AlarmGroupMethods();
Methods AlarmHandlingMethods();
Methods AlarmRecordMethods();
Methods AlarmSubscriptionMethods();
Methods AlarmTagMethods();
Methods BulkPropertyMethods();
Methods CalculationTagMethods();
Methods ConnectionMethods();
Methods CorrectionMethods();
Methods InterpolatedHistoryMethods();
Methods IteratorMethods();
Methods PointTagMethods();
Methods RawHistoryMethods();
Methods RelayMethods();
Methods SecurityMethods();
Methods SettingsMethods();
Methods SnapshotReadingMethods();
Methods SnapshotSavingMethods();
Methods SnapshotSubscriptionMethods();
Methods SnapshotWritingMethods();
Methods StatisticsMethods();
Methods StatisticsTagMethods();
Methods TagLookupMethods();
Methods TagSearchMethods();

// All of them.
Methods AllMethods();

}  // namespace zervane::bridge_test

#endif
