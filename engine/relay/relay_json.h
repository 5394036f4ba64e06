#pragma once

#include <cstdint>
#include <string>
#include <string_view>

#include "api/words/alarm.h"
#include "api/words/value.h"

// What the relay sends, as JSON; docs/relay.md has the schema. All functions here are pure.
namespace zervane {

// Appends the object of a tag's value.
void AppendValueJson(std::string_view tag, TagId id, const Sample& sample, std::string& json);

// Appends the object of an alarm, as its record stands. `alarm` and `source` are names of tags.
void AppendAlarmJson(std::string_view alarm, std::string_view source, const AlarmRecord& record,
                     std::string& json);

// Appends a text in quotes. What no character of UTF-8 begins with or goes on with becomes U+FFFD,
// one for each byte that the next character does not belong to.
void AppendTextJson(std::string_view text, std::string& json);

}  // namespace zervane
