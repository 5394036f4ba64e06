#include <gtest/gtest.h>

#include "tests/engine/relay/relay_fixture.h"

namespace zervane {
namespace {

using Texts = std::vector<std::string>;

class RelayedValues : public RelayTest {};

TEST_F(RelayedValues, AreThoseThatBecomeCurrentInTheirOrder) {
  const TagId tag = AddTag("a");
  ASSERT_EQ(Configure(ToRedis()), ZR3_OK);
  WriteValue(tag, kTime, 1);
  RedisReader reader(redis_.port());
  reader.AwaitStream("values", 1);
  const Sample late{.time_ms = kTime - 1, .value = 7.0};
  EXPECT_EQ(Write({{tag, late}}, WriteAnswer::kDurable, WriteOrder::kAnyOrder).codes[0], ZR3_OK);
  EXPECT_EQ(Write({{tag, {.time_ms = kTime + 1, .value = 2.0}},
                   {tag, {.time_ms = kTime + 2, .value = 3.0}}})
                .status,
            ZR3_OK);
  // The first may come twice: as what is current when the connection stands, and as itself.
  Texts sent = reader.AwaitStream("values", 3);
  if (sent[1] == sent[0]) sent = reader.AwaitStream("values", 4);
  const Texts expected = {Json("a", tag, kTime, "1"), Json("a", tag, kTime + 1, "2"),
                          Json("a", tag, kTime + 2, "3")};
  EXPECT_EQ(Texts(sent.end() - 2, sent.end()), Texts(expected.end() - 2, expected.end()));
  EXPECT_EQ(sent.front(), expected.front());
  for (const std::string& json : sent) EXPECT_EQ(json.find(":7}"), std::string::npos) << json;
}

TEST_F(RelayedValues, ArePublishedOnTheChannelOfTheSameName) {
  const TagId tag = AddTag("a");
  RedisReader subscriber(redis_.port());
  subscriber.Subscribe("values");
  ASSERT_EQ(Configure(ToRedis()), ZR3_OK);
  WriteValue(tag, kTime, 1.25);
  EXPECT_EQ(subscriber.NextMessage(), Json("a", tag, kTime, "1.25"));
}

TEST_F(RelayedValues, AreAllCurrentOnesFirst) {
  Texts expected;
  for (int i = 1; i <= 600; ++i) {
    const std::string name = "t" + std::to_string(i);
    const TagId tag = AddTag(name);
    WriteValue(tag, kTime, 1);
    WriteValue(tag, kTime + 1, i);
    expected.push_back(Json(name, tag, kTime + 1, std::to_string(i)));
  }
  AddTag("empty");
  ASSERT_EQ(Configure(ToRedis()), ZR3_OK);
  RedisReader reader(redis_.port());
  EXPECT_EQ(reader.AwaitStream("values", expected.size()), expected);
}

TEST_F(RelayedValues, OfATagThatIsGoneHaveItsLastName) {
  const TagId kept = AddTag("kept");
  RelaySettings settings = ToRedis();
  redis_.Halt(true);
  ASSERT_EQ(Configure(settings), ZR3_OK);
  const TagId tag = AddTag("short-lived");
  WriteValue(tag, kTime, 1);
  EXPECT_EQ(database_->DeleteTag(tag).code(), ZR3_OK);
  WriteValue(kept, kTime, 2);
  redis_.Halt(false);
  RedisReader reader(redis_.port());
  bool is_there = false;
  EXPECT_TRUE(Await([&] {
    for (const std::string& json : reader.Stream("values")) {
      is_there = is_there || json == Json("short-lived", tag, kTime, "1");
    }
    return is_there;
  }));
}

TEST_F(RelayedValues, StandInStreamsThatAreTrimmed) {
  const TagId tag = AddTag("a", TagType::kFloat64, /*archiving=*/false);
  ASSERT_EQ(Configure(ToRedis()), ZR3_OK);
  RedisReader reader(redis_.port());
  std::int64_t time_ms = kTime;
  int sent = 0;
  for (; sent < 120'000; sent += 10'000) {
    std::vector<TagSample> batch;
    for (int i = 0; i < 10'000; ++i) batch.push_back({tag, {.time_ms = ++time_ms, .value = 1.0}});
    EXPECT_EQ(Write(std::move(batch)).status, ZR3_OK);
    const std::string last = std::to_string(time_ms);
    ASSERT_TRUE(Await([&] {
      const Texts newest = reader.Ask({"XREVRANGE", "values", "+", "-", "COUNT", "1"});
      return newest.size() == 3 && newest[2].find(last) != std::string::npos;
    }));
  }
  const int length = std::stoi(reader.Ask({"XLEN", "values"}).at(0));
  EXPECT_GE(length, 100'000);
  EXPECT_LT(length, 101'000);
}

TEST_F(RelayedValues, AreNotSentWithoutARoute) {
  const TagId tag = AddTag("a");
  RelaySettings settings = ToRedis();
  settings.values_route = "";
  ASSERT_EQ(Configure(settings), ZR3_OK);
  WriteValue(tag, kTime, 1);
  settings.values_route = "other";
  ASSERT_EQ(Configure(settings), ZR3_OK);
  RedisReader reader(redis_.port());
  EXPECT_EQ(reader.AwaitStream("other", 1), (Texts{Json("a", tag, kTime, "1")}));
  EXPECT_EQ(reader.Ask({"KEYS", "*"}), (Texts{"other"}));
}

}  // namespace
}  // namespace zervane
