#pragma once

#include <optional>
#include <string>
#include <utility>

#include "api/words/text_value.h"
#include "zr3Enum.h"

namespace zervane {

// The outcome of an operation: a status of the client API and, on failure, a message with the
// values involved, for the log. One without a message, Status(code, {}), needs no memory; to copy
// or move one never does.
class [[nodiscard]] Status {
 public:
  Status() = default;
  Status(ZR3_STATUS code, std::string message) : code_(code), message_(std::move(message)) {}

  bool ok() const { return code_ == ZR3_OK; }
  ZR3_STATUS code() const { return code_; }
  const std::string& message() const { return message_.str(); }

 private:
  ZR3_STATUS code_ = ZR3_OK;
  TextValue message_;  // so that success, the usual case, costs next to nothing
};

// A value, or the Status that tells why there is none.
template <typename T>
class [[nodiscard]] Result {
 public:
  Result(T value) : value_(std::move(value)) {}            // NOLINT: implicit by intent
  Result(Status failure) : status_(std::move(failure)) {}  // NOLINT: implicit by intent

  bool ok() const { return value_.has_value(); }
  const Status& status() const { return status_; }
  ZR3_STATUS code() const { return status_.code(); }

  // Only on success.
  T& operator*() & { return *value_; }
  const T& operator*() const& { return *value_; }
  T operator*() && { return *std::move(value_); }  // by value: `for (x : *F())` keeps it alive
  T* operator->() { return &*value_; }
  const T* operator->() const { return &*value_; }

 private:
  std::optional<T> value_;
  Status status_;
};

}  // namespace zervane
