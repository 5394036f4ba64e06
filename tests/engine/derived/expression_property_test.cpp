// Programs beside the reference: the same texts are refused, and the values are the same to the
// bit.

#include <gtest/gtest.h>

#include <optional>
#include <random>
#include <string>

#include "engine/derived/expression/parser.h"
#include "tests/engine/derived/against_reference.h"
#include "tests/engine/derived/random_expression.h"
#include "tests/support/seed.h"

namespace zervane {
namespace {

constexpr int kTexts = 5'000;

void ExpectAgreement(const std::string& text) {
  const std::optional<std::string> difference = FindDifference(text);
  ASSERT_FALSE(difference) << *difference << "\n" << text;
}

bool IsExpression(const std::string& text) {
  static constexpr std::string_view kVariables[] = {"value", "quality", "time"};
  return ParseExpression(text, {.variables = kVariables, .allows_tags = true}).ok();
}

TEST(ExpressionProperty, HasTheValueThatTheReferenceHas) {
  const Seed seed;
  std::mt19937 random(seed.value());
  int expressions = 0;
  for (int i = 0; i < kTexts && !HasFatalFailure(); ++i) {
    const std::string text = RandomExpression(random);
    ExpectAgreement(text);
    if (IsExpression(text)) ++expressions;
  }
  EXPECT_GT(expressions, kTexts / 2);
}

TEST(ExpressionProperty, RefusesWhatTheReferenceRefuses) {
  const Seed seed;
  std::mt19937 random(seed.value());
  int refused = 0;
  for (int i = 0; i < kTexts && !HasFatalFailure(); ++i) {
    const std::string text = Mutated(RandomExpression(random), random);
    ExpectAgreement(text);
    if (!IsExpression(text)) ++refused;
  }
  EXPECT_GT(refused, kTexts / 4);
}

TEST(ExpressionProperty, AgreesWithTheReferenceOnTokensInAnyOrder) {
  const Seed seed;
  std::mt19937 random(seed.value());
  int expressions = 0;
  for (int i = 0; i < 4 * kTexts && !HasFatalFailure(); ++i) {
    const std::string text = RandomTokens(random);
    ExpectAgreement(text);
    if (IsExpression(text)) ++expressions;
  }
  EXPECT_GT(expressions, 0) << "some are";
}

}  // namespace
}  // namespace zervane
