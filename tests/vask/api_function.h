#pragma once

#include <cstddef>
#include <functional>
#include <ostream>
#include <string>
#include <tuple>
#include <type_traits>
#include <utility>
#include <vector>

#include "tests/vask/chaos.h"
#include "zervane.h"

namespace zervane {

// One exported function, with arguments that are right and the ways in which they can be wrong.
struct ApiFunction {
  using Call = std::function<int32()>;

  std::string name;
  Call valid;
  std::vector<Call> with_null;            // each with one pointer null that must be given
  std::vector<Call> with_negative_count;  // each with one count negative
  std::vector<Call> with_long_text;       // each with one text that goes on past its capacity
  std::function<int32(Chaos&)> random;    // with arguments of random bytes
};

inline void PrintTo(const ApiFunction& function, std::ostream* out) { *out << function.name; }

// An argument, and what must be true of it.
enum class Rule { kAny, kGiven, kCount, kText };

template <typename T>
struct Argument {
  T value;
  Rule rule = Rule::kAny;
};

template <typename T>
Argument<T> Any(T value) {
  return {value, Rule::kAny};
}

// A pointer that must be given.
template <typename T>
Argument<T*> Given(T* pointer) {
  return {pointer, Rule::kGiven};
}

// A count, not negative.
inline Argument<int32> Count(int32 count) { return {count, Rule::kCount}; }

// A text that must be given, and end soon.
inline Argument<const char*> Text(const char* text) { return {text, Rule::kText}; }

// Longer than any capacity, and yet terminated, so that nothing is read past its end.
inline const char* LongText() {
  static const std::string text(5000, 'x');
  return text.c_str();
}

// Describes `function`, called with those arguments.
template <typename... Parameters, typename... Values>
ApiFunction Describe(const char* name, int32 (*function)(Parameters...),
                     Argument<Values>... arguments) {
  const std::tuple<Parameters...> valid(arguments.value...);
  ApiFunction described{.name = name,
                        .valid = [=] { return std::apply(function, valid); },
                        .with_null = {},
                        .with_negative_count = {},
                        .with_long_text = {},
                        .random =
                            [=](Chaos& chaos) {
                              return std::apply(
                                  function, std::tuple<Parameters...>{chaos.Make<Parameters>()...});
                            }};
  // Adds the call whose one argument differs, when the argument can be that.
  const auto vary = [&]<std::size_t kIndex>(std::integral_constant<std::size_t, kIndex>,
                                            Rule rule) {
    using Parameter = std::tuple_element_t<kIndex, std::tuple<Parameters...>>;
    const auto with = [&](Parameter value) -> ApiFunction::Call {
      auto changed = valid;
      std::get<kIndex>(changed) = value;
      return [=] { return std::apply(function, changed); };
    };
    if constexpr (std::is_pointer_v<Parameter>) {
      if (rule == Rule::kGiven || rule == Rule::kText) described.with_null.push_back(with(nullptr));
    }
    if constexpr (std::is_same_v<Parameter, int32>) {
      if (rule == Rule::kCount) {
        for (const int32 count : {-1, INT32_MIN}) {
          described.with_negative_count.push_back(with(count));
        }
      }
    }
    if constexpr (std::is_same_v<Parameter, const char*>) {
      if (rule == Rule::kText) described.with_long_text.push_back(with(LongText()));
    }
  };
  [&]<std::size_t... kIndices>(std::index_sequence<kIndices...>) {
    (vary(std::integral_constant<std::size_t, kIndices>(), arguments.rule), ...);
  }
  (std::index_sequence_for<Parameters...>());
  return described;
}

// All 87, in the order of the header, on records that stand as long as the process. Tag 1 is meant
// to be a FLOAT64 tag of the name "tag".
const std::vector<ApiFunction>& AllFunctions();

// Whether there is a text among its arguments, in a record or beside it.
bool TakesTexts(const std::string& name);

// Whether it only releases what another function handed out.
bool Frees(const std::string& name);

// Frees what calls of the functions with right arguments have handed out; between two of them.
void ReleaseHandedOut();

}  // namespace zervane
