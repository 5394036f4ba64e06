#include <gtest/gtest.h>

#include "tests/engine/relay/relay_fixture.h"

namespace zervane {
namespace {

using Texts = std::vector<std::string>;

class RelayedAlarms : public RelayTest {
 protected:
  void SetUp() override {
    source_ = AddTag("source");
    RelaySettings settings = ToRedis();
    settings.values_route = "";
    ASSERT_EQ(Configure(settings), ZR3_OK);
  }

  TagId AddAlarm(const std::vector<std::string>& tests, int auto_ack = ZR3_AM_ACK_TYPE_MANUAL) {
    Tag tag = AlarmTagOf("alarm", "source", tests);
    std::get<AlarmProperties>(tag.own).auto_ack = auto_ack;
    const Result<TagId> id = database_->AddTag(tag, {});
    EXPECT_TRUE(id.ok()) << id.status().message();
    return *id;
  }
  void Acknowledge(TagId alarm, std::int64_t start_ms) {
    AcknowledgeAlarms acknowledge;
    acknowledge.alarms = {{.start_ms = start_ms, .tag = alarm}};
    EXPECT_TRUE(database_->Do(acknowledge).ok());
  }
  void Comment(TagId alarm, std::int64_t start_ms, const std::string& comment) {
    CommentAlarms comments;
    comments.alarms = {{.start_ms = start_ms, .tag = alarm}};
    comments.comments = {comment};
    EXPECT_TRUE(database_->Do(comments).ok());
  }

  // What `texts` have of the key, up to the next one.
  static Texts Fields(const Texts& texts, const std::string& key) {
    Texts fields;
    for (const std::string& text : texts) {
      const std::size_t at = text.find("\"" + key + "\":") + key.size() + 3;
      fields.push_back(text.substr(at, text.find_first_of(",}", at) - at));
    }
    return fields;
  }
  // Everything that was sent is in the streams, once this value's alarm is.
  void AwaitAll(RedisReader& reader) {
    const auto last = database_->AddTag(AlarmTagOf("last", "source", {"LOLO < -90"}), {});
    ASSERT_TRUE(last.ok());
    WriteValue(source_, kTime + 1'000'000, -99);
    ASSERT_TRUE(Await([&] {
      const Texts raised = reader.Stream("raised");
      return !raised.empty() && raised.back().find("\"last\"") != std::string::npos;
    }));
  }

  TagId source_ = 0;
};

TEST_F(RelayedAlarms, AreRaisedAndEndWithTheirWholeRecords) {
  const TagId alarm = AddAlarm({"HIGH > 90"});
  WriteValue(source_, kTime, 95.5);
  WriteValue(source_, kTime + 1, 20);
  RedisReader reader(redis_.port());
  const std::string begin = "{\"alarm\":\"alarm\",\"id\":" + std::to_string(alarm) +
                            R"(,"source":"source","type":"HIGH","priority":2,"test":"HIGH > 90",)"
                            R"("value":"95.5","start":1600000000000,"end":)";
  const std::string rest =
      R"(,"acknowledged":null,"acknowledged_by":"","commented":null,"commented_by":"","comment":""})";
  EXPECT_EQ(reader.AwaitStream("raised", 1), (Texts{begin + "null" + rest}));
  EXPECT_EQ(reader.AwaitStream("ended", 1), (Texts{begin + "1600000000001" + rest}));
  AwaitAll(reader);
  EXPECT_EQ(reader.Stream("notes"), Texts());
}

TEST_F(RelayedAlarms, RaisedAndEndedInOneCommitAreBoth) {
  AddAlarm({"HIGH > 90"});
  EXPECT_EQ(Write({{source_, {.time_ms = kTime, .value = 95.0}},
                   {source_, {.time_ms = kTime + 1, .value = 1.0}},
                   {source_, {.time_ms = kTime + 2, .value = 96.0}},
                   {source_, {.time_ms = kTime + 3, .value = 1.0}}})
                .status,
            ZR3_OK);
  RedisReader reader(redis_.port());
  EXPECT_EQ(Fields(reader.AwaitStream("ended", 2), "value"), (Texts{"\"95\"", "\"96\""}));
  EXPECT_EQ(reader.Stream("raised").size(), 2U);
}

TEST_F(RelayedAlarms, ThatGoOverEndAndAreRaised) {
  AddAlarm({"HIGH > 90", "HIHI > 95"});
  std::int64_t time_ms = kTime;
  for (const double value : {91, 96, 92, 1}) WriteValue(source_, ++time_ms, value);
  RedisReader reader(redis_.port());
  AwaitAll(reader);
  Texts raised = Fields(reader.Stream("raised"), "type");
  raised.pop_back();
  EXPECT_EQ(raised, (Texts{"\"HIGH\"", "\"HIHI\"", "\"HIGH\""}));
  EXPECT_EQ(Fields(reader.AwaitStream("ended", 3), "type"), raised);
}

TEST_F(RelayedAlarms, AreNotedWhateverTheirState) {
  const TagId alarm = AddAlarm({"HIGH > 90"});
  WriteValue(source_, kTime, 95);
  Comment(alarm, kTime, "first");
  Acknowledge(alarm, kTime);
  WriteValue(source_, kTime + 1, 1);
  Comment(alarm, kTime, "second");
  RedisReader reader(redis_.port());
  const Texts notes = reader.AwaitStream("notes", 3);
  EXPECT_EQ(Fields(notes, "comment"), (Texts{"\"first\"", "\"first\"", "\"second\""}));
  EXPECT_EQ(Fields(notes, "acknowledged"), (Texts{"null", "1700000000000", "1700000000000"}));
  EXPECT_EQ(Fields(notes, "end"), (Texts{"null", "null", "1600000000001"}));
  AwaitAll(reader);
  EXPECT_EQ(reader.Stream("notes").size(), 3U);
  EXPECT_EQ(reader.Stream("raised").size(), 2U);
  EXPECT_EQ(reader.Stream("ended").size(), 1U);
}

TEST_F(RelayedAlarms, ThatAcknowledgeThemselvesAreNoNotes) {
  AddAlarm({"HIGH > 90"}, ZR3_AM_ACK_TYPE_AUTO);
  WriteValue(source_, kTime, 95);
  WriteValue(source_, kTime + 1, 1);
  RedisReader reader(redis_.port());
  AwaitAll(reader);
  EXPECT_EQ(Fields(reader.Stream("raised"), "acknowledged").front(), "1600000000000");
  EXPECT_EQ(reader.Stream("ended").size(), 1U);
  EXPECT_EQ(reader.Stream("notes"), Texts());
}

TEST_F(RelayedAlarms, OfAChangeAreRaisedAndEnded) {
  const TagId alarm = AddAlarm({"CHANGE 5"});
  WriteValue(source_, kTime, 1);
  WriteValue(source_, kTime + 1, 9);
  Acknowledge(alarm, kTime + 1);
  RedisReader reader(redis_.port());
  const Texts ended = reader.AwaitStream("ended", 1);
  EXPECT_EQ(reader.Stream("raised"), ended);
  EXPECT_EQ(Fields(ended, "start"), Fields(ended, "end"));
  EXPECT_EQ(reader.AwaitStream("notes", 1).size(), 1U);
  EXPECT_EQ(reader.Stream("ended"), ended);
}

TEST_F(RelayedAlarms, EndWithTheirTagUnderItsName) {
  const TagId alarm = AddAlarm({"HIGH > 90"});
  WriteValue(source_, kTime, 95);
  EXPECT_EQ(database_->DeleteTag(alarm).code(), ZR3_OK);
  RedisReader reader(redis_.port());
  const Texts ended = reader.AwaitStream("ended", 1);
  EXPECT_EQ(Fields(ended, "alarm"), (Texts{"\"alarm\""}));
  EXPECT_EQ(Fields(ended, "source"), (Texts{"\"source\""}));
  EXPECT_EQ(Fields(ended, "end"), (Texts{"1700000000000"}));
}

TEST_F(RelayedAlarms, WhoseTimePassedWhileTheDatabaseWasShutAreRaised) {
  Tag tag = AlarmTagOf("alarm", "source", {"HIGH > 90"});
  std::get<AlarmProperties>(tag.own).time_dead_band = 10;
  ASSERT_TRUE(database_->AddTag(tag, {}).ok());
  WriteValue(source_, kTime, 95);
  database_.reset();
  now_ms_ += 60'000;
  Open();
  RedisReader reader(redis_.port());
  EXPECT_EQ(reader.AwaitStream("raised", 1).size(), 1U);
}

TEST_F(RelayedAlarms, AreOnTheirChannelsToo) {
  AddAlarm({"HIGH > 90"});
  RedisReader subscriber(redis_.port());
  subscriber.Subscribe("raised");
  WriteValue(source_, kTime, 95);
  RedisReader reader(redis_.port());
  EXPECT_EQ(subscriber.NextMessage(), reader.AwaitStream("raised", 1).at(0));
}

}  // namespace
}  // namespace zervane
