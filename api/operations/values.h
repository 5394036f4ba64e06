#pragma once

#include <cstdint>
#include <vector>

#include "api/fields.h"
#include "api/operation_number.h"
#include "api/words/samples.h"
#include "api/words/value.h"

// Operations on current values.
namespace zervane {

// In what order of time a write's records may come.
enum class WriteOrder : std::uint8_t {
  kInOrder,   // none older than its tag's current value
  kAnyOrder,  // any; the current value only moves forward
};

// When a write is answered.
enum class WriteAnswer : std::uint8_t {
  kDurable,  // when it is stored and readable
  kQueued,   // when it is queued; it becomes readable in its turn
};

// Writes records in the order given. A record of time 0 takes the database's clock. Refused records
// change nothing, the others are carried out, unless the store refuses them as a whole.
//
// Order is judged when the records are queued, against those accepted before. A queued batch that
// cannot be stored later is logged, and its status is that of the next durable write of the same
// session, or of its end; the codes then tell what became of that write's own records.
struct WriteSamples {
  static constexpr OperationNumber kNumber = OperationNumber::kWriteSamples;
  struct Reply {
    // ZR3_OK, ZR3_ERR_SOME_RECORDS_FAILED, the status of the store (then nothing was carried out),
    // or that of an earlier batch of the session that was lost.
    std::int32_t status = ZR3_OK;
    // One for each record, or none when all is well: ZR3_ERR_TAG_NOT_FOUND, ZR3_ERR_TYPE_MISMATCH,
    // ZR3_ERR_VALUE_TOO_LONG, ZR3_ERR_INVALID_TEXT, ZR3_ERR_INVALID_TIME, ZR3_ERR_OUT_OF_ORDER, or
    // the status of the store.
    std::vector<std::int32_t> codes;

    static auto Fields(auto& self) {
      return FieldList(Field{"status", self.status}, Field{"codes", self.codes});
    }
    friend bool operator==(const Reply&, const Reply&) = default;
  };

  SampleBatch batch;
  WriteOrder order = WriteOrder::kInOrder;
  WriteAnswer answer = WriteAnswer::kDurable;

  static auto Fields(auto& self) {
    return FieldList(Field{"batch", self.batch}, Field{"order", self.order},
                     Field{"answer", self.answer});
  }
};

// The current value of a tag: ZR3_ERR_TAG_NOT_FOUND, ZR3_ERR_NO_RECORD.
struct ReadCurrent {
  static constexpr OperationNumber kNumber = OperationNumber::kReadCurrent;
  using Reply = Sample;

  TagId id = 0;

  static auto Fields(auto& self) { return FieldList(Field{"id", self.id}); }
};

// The current values of many tags, each with its own code; of a tag without one the sample is any.
struct ReadCurrentValues {
  static constexpr OperationNumber kNumber = OperationNumber::kReadCurrentValues;
  struct Reply {
    SampleColumns samples;
    std::vector<std::int32_t> codes;

    static auto Fields(auto& self) {
      return FieldList(Field{"samples", self.samples}, Field{"codes", self.codes});
    }
    friend bool operator==(const Reply&, const Reply&) = default;
  };

  std::vector<TagId> ids;

  static auto Fields(auto& self) { return FieldList(Field{"ids", self.ids}); }
};

}  // namespace zervane
