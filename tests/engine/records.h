#pragma once

#include <cstdint>
#include <string>
#include <utility>

#include "api/words/value.h"
#include "engine/storage/store.h"

namespace zervane {

inline Sample NumberAt(std::int64_t time_ms, double value = 1) {
  return {.time_ms = time_ms, .type = TagType::kFloat64, .value = value};
}

inline Sample TextAt(std::int64_t time_ms, std::string text) {
  return {.time_ms = time_ms, .type = TagType::kString, .value = std::move(text)};
}

inline AcceptedSample Accepted(TagId tag, std::int64_t time_ms, double value = 1) {
  return {.tag = tag, .sample = NumberAt(time_ms, value)};
}

}  // namespace zervane
