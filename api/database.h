#pragma once

#include <atomic>
#include <cstdint>
#include <optional>
#include <utility>

#include "api/caller.h"
#include "api/operation_number.h"
#include "api/words/status.h"

namespace zervane {

// A process database, in this process or far away: it carries out operations for a caller.
//
//   const Result<TagId> id = database.Do(caller, FindTagId{.name = "FIC101.PV"});
//
// Whatever runs on one runs on all. Every operation validates its fields and answers a status of
// zr3Enum.h; nothing is thrown but std::bad_alloc. Any number of threads may call. After Close all
// answer ZR3_ERR_NOT_CONNECTED.
class Database {
 public:
  Database() = default;
  virtual ~Database() = default;
  Database(const Database&) = delete;
  Database& operator=(const Database&) = delete;

  template <typename Op>
  Result<typename Op::Reply> Do(const Caller& caller, const Op& operation) {
    Result<typename Op::Reply> result{typename Op::Reply{}};
    Status status = Carry(caller, Op::kNumber, &operation, &*result);
    if (!status.ok()) result = std::move(status);
    return result;
  }

  // The catalogue's version as it was heard last, when that was no more than a second ago: for as
  // long as it stays the same, what was looked up in the catalogue holds. None for a caller who may
  // not read the catalogue. A few nanoseconds.
  virtual std::optional<std::int64_t> HeardCatalogueVersion(const Caller& caller) const = 0;

  // Stores what is still queued and stops accepting operations; the destructor does the same,
  // silently. The status of queued records that could not be stored, unless it was told before.
  virtual Status Close() = 0;

  // Carries out the operation of that number, which `operation` is, into the reply of that number.
  // For Do, and for databases that pass operations on.
  virtual Status Carry(const Caller& caller, OperationNumber number, const void* operation,
                       void* reply) = 0;
};

}  // namespace zervane
