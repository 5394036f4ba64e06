#pragma once

#include <string>
#include <utility>
#include <variant>

#include "api/words/status.h"

namespace zervane::storage {

// What is wrong with bytes that were read.
struct Damage {
  std::string what;

  Status status() const { return Status(ZR3_ERR_STORAGE_DAMAGED, what); }
};

// What bytes hold that were read, or what is wrong with them.
//
// Not a Status: only bytes that were read and fail their own check may be set aside or left out,
// never those that could not be read. So a failure to read is no value of this type:
//
//   const Result<Decoded<std::vector<Sample>>> chunk = LoadChunk(connection, extent);
//   if (!chunk.ok()) return chunk.status();                  // not read: nothing is known
//   if (!chunk->ok()) LogError("{}", chunk->damage().what);     // read, and damaged
template <typename T>
class [[nodiscard]] Decoded {
 public:
  Decoded(T value) : outcome_(std::move(value)) {}         // NOLINT: implicit by intent
  Decoded(Damage damage) : outcome_(std::move(damage)) {}  // NOLINT: implicit by intent

  bool ok() const { return std::holds_alternative<T>(outcome_); }
  // Only when not ok.
  const Damage& damage() const { return std::get<Damage>(outcome_); }

  // Only when ok.
  T& operator*() & { return std::get<T>(outcome_); }
  const T& operator*() const& { return std::get<T>(outcome_); }
  T operator*() && { return std::get<T>(std::move(outcome_)); }
  T* operator->() { return &**this; }
  const T* operator->() const { return &**this; }

 private:
  std::variant<T, Damage> outcome_;
};

}  // namespace zervane::storage
