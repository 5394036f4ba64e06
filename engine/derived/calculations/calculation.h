#pragma once

#include <cstddef>
#include <cstdint>
#include <memory>
#include <optional>
#include <span>
#include <string>
#include <vector>

#include "api/words/status.h"
#include "api/words/tag.h"
#include "api/words/value.h"
#include "engine/catalogue/tag_class.h"
#include "engine/derived/expression/program.h"

namespace zervane {

// The past over which a calculation tag is computed, too, both ends counting.
struct CalculatedPast {
  std::int64_t start_s = 0;  // since 1970
  std::optional<std::int64_t> end_s;

  friend bool operator==(const CalculatedPast&, const CalculatedPast&) = default;
};

// A calculation tag as it is computed, with the tags that it reads by their identifiers.
//
// Threads: any; it does not change.
struct Calculation {
  enum class Mode : std::uint8_t { kPoll, kNotify };

  TagId tag = 0;
  TagType type = TagType::kFloat64;
  Program program{{}};
  std::vector<TagId> operands;  // of the program, in its order; some may have been deleted
  TagId source = 0;             // 0: none; it may have been deleted
  Mode mode = Mode::kPoll;
  std::int64_t period_s = 60;
  std::optional<CalculatedPast> history;

  // Whether a new value of the tag is a reason to compute a NOTIFY tag.
  bool IsTriggeredBy(TagId changed) const;
};

using CalculationPtr = std::shared_ptr<const Calculation>;

// Of the tags that an expression names in this order, the place of each among those that it reads:
// names that differ in the case of ASCII letters alone have one.
std::vector<std::size_t> OperandPlaces(std::span<const std::string> names);

// What the properties of a calculation tag say. Its links are the source, in place 0, and behind it
// the tags that the expression names, in the order in which they are first named.
// ZR3_ERR_INVALID_EXPRESSION; ZR3_ERR_INVALID_TAG_TYPE for a tag that has texts for values;
// ZR3_ERR_INVALID_PROPERTY for a period or a history that is none. REQUIRES: it is such a tag.
Result<Calculation> MakeCalculation(const Tag& tag, const TagLinks& links);

// What a record is to an expression: NaN when it is bad, is no number or is not finite.
double OperandOf(const Sample& sample);
double OperandOf(TagType type, std::uint16_t quality, std::uint64_t bits);

// The number as a value of the type, whole numbers rounded, halves away from zero; none when the
// type has no such value, or it is not finite.
std::optional<Value> RoundedTo(TagType type, double number);

// The record of a calculation tag: of what its program makes of the operands, of which NaN stands
// for one that is bad or missing; when that is none of its values, the previous value with quality
// 0, which is 0 where there is none. REQUIRES an operand for each of the calculation's.
Sample ComputeRecord(const Calculation& calculation, std::span<const double> operands,
                     std::int64_t time_ms, const std::optional<Value>& previous);

}  // namespace zervane
