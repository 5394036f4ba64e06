// How the fake API's arguments stand in the log.
#ifndef ZERVANE_TESTS_BRIDGE_API_ARGUMENTS_H
#define ZERVANE_TESTS_BRIDGE_API_ARGUMENTS_H

#include <string>

#include "fake_api.h"

namespace zervane::bridge_test {

std::string Number(int64 value);
std::string Handle(ZR3HANDLE handle);         // handle 77
std::string Quoted(const char* text);         // "FIC101", or null
std::string Given(const void* output);        // out, or null
std::string Mask(const ZR3Mask* mask);        // mask 5/6
std::string At(const ZR3Time* time);          // 10.250
std::string In(const ZR3TimeRegion* region);  // [10.250, 20.500), with ? for a flag that is no flag

template <typename T>
std::string List(const T* values, int32 count) {
  if (values == nullptr) return "null";
  std::string text = "{";
  for (int32 i = 0; i < count; ++i) text += (i == 0 ? "" : ", ") + std::to_string(values[i]);
  return text + "}";
}

// Keeps copies of the records and gives the type's name, with their number when it is a batch.
template <typename Record>
std::string Kept(const char* type, const Record* records, int32 count) {
  if (records == nullptr) return "null";
  Api().Sent<Record>().assign(records, records + count);
  return std::string(type) + "[" + std::to_string(count) + "]";
}

template <typename Record>
std::string Kept(const char* type, const Record* record) {
  if (record == nullptr) return "null";
  Api().Sent<Record>().assign(record, record + 1);
  return type;
}

}  // namespace zervane::bridge_test

#endif
