// The Java classes as the bridge is to see them, transcribed from their contract and independent of
// the bridge's own tables: a wrong row there turns a test red here.
#ifndef ZERVANE_TESTS_BRIDGE_CONTRACT_H
#define ZERVANE_TESTS_BRIDGE_CONTRACT_H

#include <string>
#include <vector>

#include "call_log.h"

namespace zervane::bridge_test {

struct JavaField {
  std::string name;
  std::string signature;
};

struct JavaClass {
  std::string path;
  std::vector<JavaField> fields;  // in the order of look-up

  // The name after the last slash, as the log has it.
  std::string name() const { return path.substr(path.rfind('/') + 1); }
};

extern const JavaClass kIntWrapperClass;
extern const JavaClass kLongWrapperClass;
extern const JavaClass kDoubleWrapperClass;
extern const JavaClass kTimeClass;
extern const JavaClass kRecordClass;
extern const JavaClass kTagPropClass;
extern const JavaClass kCommTagPropClass;
extern const JavaClass kConditionClass;
extern const JavaClass kAlarmTagClass;
extern const JavaClass kAlarmRecordClass;
extern const JavaClass kPolledAlarmRecordClass;  // the same class, as the subscription sees it
extern const JavaClass kAlarmQueryClass;
extern const JavaClass kAlarmGroupClass;
extern const JavaClass kTagInfoClass;
extern const JavaClass kCalcTagClass;
extern const JavaClass kStatsTagClass;
extern const JavaClass kUserClass;
extern const JavaClass kGroupClass;
extern const JavaClass kAuthItemClass;
extern const JavaClass kRedisInfoClass;

// The class of that path, with every field that any method looks up; null when there is none.
const JavaClass* FindJavaClass(const std::string& path);

// The log of a look-up: of the class and its fields, of the class alone, of the fields alone.
Lines LookUp(const JavaClass& java_class);
Lines LookUpClass(const JavaClass& java_class);
Lines LookUpFields(const JavaClass& java_class);

}  // namespace zervane::bridge_test

#endif
