#pragma once

#include <cstdint>
#include <vector>

#include "api/fields.h"
#include "api/operation_number.h"
#include "api/operations/values.h"
#include "api/words/alarm.h"
#include "api/words/nothing.h"
#include "api/words/value.h"

// Operations with which a session follows what changes: it registers, and then polls. What is
// accepted after registering is delivered once, in order of commit, however often a tag is
// registered.
namespace zervane {

// A tag, and what of it is to have changed: 0 anything, 1 the value, 2 the quality.
struct TagField {
  TagId tag = 0;
  std::uint32_t field = 0;

  static auto Fields(auto& self) {
    return FieldList(Field{"tag", self.tag}, Field{"field", self.field});
  }
  friend auto operator<=>(const TagField&, const TagField&) = default;
};
constexpr std::uint32_t kLastTagField = 2;

// ZR3_ERR_TAG_NOT_FOUND for an unknown tag, when none of the call is registered.
struct SubscribeTags {
  static constexpr OperationNumber kNumber = OperationNumber::kSubscribeTags;
  using Reply = Nothing;

  std::vector<TagId> ids;

  static auto Fields(auto& self) { return FieldList(Field{"ids", self.ids}); }
};

// Takes back what SubscribeTags registered of these tags, however often; it succeeds where nothing
// was.
struct UnsubscribeTags {
  static constexpr OperationNumber kNumber = OperationNumber::kUnsubscribeTags;
  using Reply = Nothing;

  std::vector<TagId> ids;

  static auto Fields(auto& self) { return FieldList(Field{"ids", self.ids}); }
};

// The same of pairs. ZR3_ERR_INVALID_ARGUMENT for a field beyond kLastTagField.
struct SubscribeFields {
  static constexpr OperationNumber kNumber = OperationNumber::kSubscribeFields;
  using Reply = Nothing;

  std::vector<TagField> fields;

  static auto Fields(auto& self) { return FieldList(Field{"fields", self.fields}); }
};

struct UnsubscribeFields {
  static constexpr OperationNumber kNumber = OperationNumber::kUnsubscribeFields;
  using Reply = Nothing;

  std::vector<TagField> fields;

  static auto Fields(auto& self) { return FieldList(Field{"fields", self.fields}); }
};

// The changes that have come since the last poll, oldest first; none when the session has
// registered nothing.
struct PollChanges {
  static constexpr OperationNumber kNumber = OperationNumber::kPollChanges;
  using Reply = SampleBatch;

  static auto Fields(auto&) { return FieldList(); }
};

// From then on the session follows the transitions of all alarms.
struct SubscribeAlarms {
  static constexpr OperationNumber kNumber = OperationNumber::kSubscribeAlarms;
  using Reply = Nothing;

  static auto Fields(auto&) { return FieldList(); }
};

// The transitions that have come since the last poll, oldest first, each the whole record as it
// then stood; at most kMaxPolledAlarms, the rest comes with the next poll.
struct PollAlarms {
  static constexpr OperationNumber kNumber = OperationNumber::kPollAlarms;
  using Reply = std::vector<AlarmRecord>;

  static auto Fields(auto&) { return FieldList(); }
};
constexpr std::size_t kMaxPolledAlarms = 10'000;

}  // namespace zervane
