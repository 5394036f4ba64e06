#include <gtest/gtest.h>

#include <cstdint>
#include <new>
#include <optional>

#include "engine/derived/expression/parser.h"
#include "tests/engine/short_memory.h"

namespace zervane {
namespace {

constexpr ExpressionWords kTagsAlone = {.variables = {}, .allows_tags = true};

TEST(ExpressionMemory, IsNotAskedForByEvaluating) {
  const Result<ParsedExpression> parsed =
      ParseExpression("'a' > 1 ? max('b', sin('a'), _pi) ^ 2 : -'b'", kTagsAlone);
  ASSERT_TRUE(parsed.ok()) << parsed.status().message();
  const double operands[] = {2, 4};
  double value = 0;
  {
    const ShortMemory memory(1);
    value = parsed->program.Evaluate(operands);
  }
  EXPECT_EQ(value, 16);
  EXPECT_EQ(ShortMemory::Failed(), 0U);
}

// Each request of a text's parsing fails once, and nothing is left behind; the caller's guard makes
// a status of it.
void FailEachRequest(std::string_view text, ZR3_STATUS expected) {
  std::optional<ZR3_STATUS> code;
  std::uint64_t nth = 0;
  while (!code) {
    const ShortMemory memory(++nth, ShortMemory::Lack::kOne);
    try {
      code = ParseExpression(text, kTagsAlone).code();
    } catch (const std::bad_alloc&) {
      ASSERT_LT(nth, 1000U);
    }
  }
  EXPECT_EQ(*code, expected);
  EXPECT_GT(nth, 1U) << "nothing was asked for";
}

TEST(ExpressionMemory, MayFailWhileATextIsParsed) {
  FailEachRequest("'a' > 1 ? max('a longer name than fits a small string', 3) : -'b'", ZR3_OK);
  FailEachRequest("sum(1, 'a') + limit_of_a_longer_name_than_fits", ZR3_ERR_INVALID_EXPRESSION);
}

}  // namespace
}  // namespace zervane
