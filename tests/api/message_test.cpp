#include "api/message.h"

#include <gtest/gtest.h>

#include <string>

#include "api/operation_table.h"
#include "tests/api/random_fields.h"
#include "tests/support/seed.h"

namespace zervane {
namespace {

// ---- how many members a struct has ----

struct AnyMember {
  template <typename T>
  operator T() const;  // NOLINT(google-explicit-constructor): it stands for a member
};

template <typename T, typename... Members>
consteval std::size_t CountMembers() {
  if constexpr (requires { T{Members{}..., AnyMember{}}; }) {
    return CountMembers<T, Members..., AnyMember>();
  } else {
    return sizeof...(Members);
  }
}

// ---- round trips ----

constexpr int kRounds = 200;

template <typename T>
void ExpectRoundTrips(RandomFields& random) {
  for (int round = 0; round < kRounds; ++round) {
    T sent{};
    random.Fill(sent);
    const std::string bytes = EncodeMessage(sent);
    T received{};
    ASSERT_TRUE(DecodeMessage(bytes, &received));
    EXPECT_EQ(EncodeMessage(received), bytes);
    if constexpr (std::equality_comparable<T>) {
      EXPECT_EQ(received, sent);
    }
  }
}

template <typename Op>
class EveryOperation : public testing::Test {
 protected:
  const Seed seed;
  RandomFields random{seed.value()};
};

template <typename... Op>
testing::Types<Op...> TypesOf(OperationList<Op...>);
TYPED_TEST_SUITE(EveryOperation, decltype(TypesOf(AllOperations())));

TYPED_TEST(EveryOperation, ListsAllItsFields) {
  EXPECT_EQ(kFieldCount<TypeParam>, CountMembers<TypeParam>());
}

TYPED_TEST(EveryOperation, ComesOutOfItsMessageAsItWentIn) {
  ExpectRoundTrips<TypeParam>(this->random);
}

TYPED_TEST(EveryOperation, HasAReplyThatComesOutOfItsMessageAsItWentIn) {
  ExpectRoundTrips<typename TypeParam::Reply>(this->random);
}

// What comes from outside may be anything: it decodes to something or not at all.
TYPED_TEST(EveryOperation, DoesNotMindDamagedMessages) {
  for (int round = 0; round < kRounds; ++round) {
    TypeParam sent{};
    this->random.Fill(sent);
    std::string bytes = EncodeMessage(sent);
    if (bytes.empty()) bytes = "x";
    if (this->random() % 2 == 0) {
      bytes.resize(this->random() % bytes.size());
    } else {
      bytes[this->random() % bytes.size()] = static_cast<char>(this->random());
    }
    TypeParam received{};
    if (!DecodeMessage(bytes, &received)) continue;
    const std::string again = EncodeMessage(received);  // what was taken is whole
    TypeParam same{};
    EXPECT_TRUE(DecodeMessage(again, &same));
    EXPECT_EQ(EncodeMessage(same), again);
  }
}

TYPED_TEST(EveryOperation, HasItsRowInTheTable) {
  const OperationRow& row = RowOf(TypeParam::kNumber);
  EXPECT_EQ(row.number, TypeParam::kNumber);
  EXPECT_FALSE(row.name.empty());
}

// ---- what messages of other releases hold ----

TEST(Message, PassesOverFieldsOfLaterReleases) {
  std::string bytes = EncodeMessage(DeleteTag{.id = 7});
  protozero::pbf_writer out(bytes);
  out.add_string(99, "of a later release");
  DeleteTag received;
  ASSERT_TRUE(DecodeMessage(bytes, &received));
  EXPECT_EQ(received.id, 7U);
}

TEST(Message, KeepsTheDefaultsOfFieldsThatAreMissing) {
  FindTags received;
  ASSERT_TRUE(DecodeMessage("", &received));
  EXPECT_EQ(received.limit, kMaxPageItems);
  EXPECT_EQ(received.query.class_mask, -1);
}

TEST(Message, RefusesNumbersThatDoNotFitAndFieldsOfAnotherKind) {
  std::string bytes;
  protozero::pbf_writer(bytes).add_sint64(1, std::int64_t{1} << 32);
  DeleteTag received;
  EXPECT_FALSE(DecodeMessage(bytes, &received));
  bytes.clear();
  protozero::pbf_writer(bytes).add_string(1, "seven");
  EXPECT_FALSE(DecodeMessage(bytes, &received));
}

TEST(Message, RefusesATextThatPointsOutsideTheTexts) {
  SampleColumns samples;
  samples.AddText(1, 192, TagType::kString, "abc");
  samples.values()[0] = SampleColumns::PlaceOf(2, 2);
  std::string bytes;
  protozero::pbf_writer out(bytes);
  EncodeWord(samples, out);
  SampleColumns received;
  EXPECT_FALSE(DecodeWord(protozero::pbf_reader(bytes), &received));
}

TEST(Message, RefusesTextsThatAreTheSameBytes) {
  SampleColumns samples;
  samples.AddText(1, 192, TagType::kString, "abc");
  samples.AddText(2, 192, TagType::kString, "");
  samples.values()[1] = samples.values()[0];
  std::string bytes;
  protozero::pbf_writer out(bytes);
  EncodeWord(samples, out);
  SampleColumns received;
  EXPECT_FALSE(DecodeWord(protozero::pbf_reader(bytes), &received));
}

}  // namespace
}  // namespace zervane
