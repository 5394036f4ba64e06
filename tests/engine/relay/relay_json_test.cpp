#include "engine/relay/relay_json.h"

#include <gtest/gtest.h>

#include <limits>
#include <string>

namespace zervane {
namespace {

using std::string_literals::operator""s;

std::string ValueJson(const Sample& sample) {
  std::string json;
  AppendValueJson("FIC101.PV", 7, sample, json);
  return json;
}

std::string ValueOf(TagType type, const Value& value) {
  const std::string json = ValueJson({.time_ms = 5, .quality = 192, .type = type, .value = value});
  const std::size_t at = json.find("\"value\":") + 8;
  return json.substr(at, json.size() - at - 1);
}

std::string TextJson(std::string_view text) {
  std::string json;
  AppendTextJson(text, json);
  return json;
}

TEST(ValueJson, HasItsKeysInOrder) {
  EXPECT_EQ(
      ValueJson(
          {.time_ms = 1'700'000'000'123, .quality = 192, .type = TagType::kFloat64, .value = 21.5}),
      R"({"tag":"FIC101.PV","id":7,"type":"FLOAT64","time":1700000000123,"quality":192,)"
      R"("value":21.5})");
}

TEST(ValueJson, NamesEveryType) {
  const std::pair<TagType, const char*> types[] = {
      {TagType::kInt8, "INT8"},       {TagType::kInt16, "INT16"},
      {TagType::kInt32, "INT32"},     {TagType::kFloat32, "FLOAT32"},
      {TagType::kFloat64, "FLOAT64"}, {TagType::kDigital, "DIGITAL"},
      {TagType::kString, "STRING"},   {TagType::kBlob, "BLOB"}};
  for (const auto& [type, name] : types) {
    Value value(std::int32_t{1});
    if (type == TagType::kFloat32) value = 1.0F;
    if (type == TagType::kFloat64) value = 1.0;
    if (type == TagType::kString || type == TagType::kBlob) value = std::string("1");
    const std::string json = ValueJson({.time_ms = 0, .quality = 0, .type = type, .value = value});
    EXPECT_NE(json.find("\"type\":\""s + name + "\""), std::string::npos) << json;
  }
}

TEST(ValueJson, HasNumbersInTheShortestFormThatReadsBack) {
  EXPECT_EQ(ValueOf(TagType::kFloat64, 0.1), "0.1");
  EXPECT_EQ(ValueOf(TagType::kFloat64, 100.0), "100");
  EXPECT_EQ(ValueOf(TagType::kFloat64, 0.1 + 0.2), "0.30000000000000004");
  EXPECT_EQ(ValueOf(TagType::kFloat64, 5e-324), "5e-324");
  EXPECT_EQ(ValueOf(TagType::kFloat32, 0.1F), "0.1");
  EXPECT_EQ(ValueOf(TagType::kFloat32, 16777216.0F), "16777216");
  EXPECT_EQ(ValueOf(TagType::kInt32, std::numeric_limits<std::int32_t>::min()), "-2147483648");
  EXPECT_EQ(ValueOf(TagType::kDigital, 3), "3");
}

TEST(ValueJson, HasNullForANumberThatIsNotFinite) {
  EXPECT_EQ(ValueOf(TagType::kFloat64, std::numeric_limits<double>::quiet_NaN()), "null");
  EXPECT_EQ(ValueOf(TagType::kFloat64, -std::numeric_limits<double>::infinity()), "null");
  EXPECT_EQ(ValueOf(TagType::kFloat32, std::numeric_limits<float>::infinity()), "null");
}

TEST(ValueJson, HasABlobAsBase64) {
  EXPECT_EQ(ValueOf(TagType::kBlob, std::string()), R"("")");
  EXPECT_EQ(ValueOf(TagType::kBlob, "\0\xFF\xFE"s), R"("AP/+")");
  EXPECT_EQ(ValueOf(TagType::kBlob, "ab"s), R"("YWI=")");
  EXPECT_EQ(ValueOf(TagType::kBlob, std::string(kMaxBlobBytes, 'x')).size(),
            2 + (kMaxBlobBytes + 2) / 3 * 4);
}

TEST(TextJson, EscapesWhatJsonAsksFor) {
  EXPECT_EQ(TextJson("a\"b\\c/\n\r\t\b\x01\x1F\x7F"),
            "\"a\\\"b\\\\c/\\n\\r\\t\\u0008\\u0001"
            "\\u001f\x7F\"");
  EXPECT_EQ(TextJson("\0"s), "\"\\u0000\"");
}

TEST(TextJson, KeepsUtf8AndReplacesWhatIsNone) {
  EXPECT_EQ(TextJson("温度 ü 😀"), "\"温度 ü 😀\"");
  EXPECT_EQ(TextJson("a\xFF"
                     "b"),
            "\"a\uFFFD"
            "b\"");
  EXPECT_EQ(TextJson("\xE6\xB8"), "\"\uFFFD\uFFFD\"");            // the begin of a character
  EXPECT_EQ(TextJson("\xED\xA0\x80"), "\"\uFFFD\uFFFD\uFFFD\"");  // a surrogate
  EXPECT_EQ(TextJson("\xC0\xAFü"), "\"\uFFFD\uFFFDü\"");          // longer than it has to be
}

TEST(AlarmJson, HasItsKeysInOrder) {
  AlarmRecord record;
  record.tag = 9;
  record.start_ms = 1'000;
  record.priority = 1;
  record.type = ZR3_AM_REC_TYPE_HIHI;
  record.source_value = "96.5";
  record.test = "HIHI >= 95 PRIORITY 1";
  std::string json;
  AppendAlarmJson("FIC101.ALARM", "FIC101.PV", record, json);
  EXPECT_EQ(json,
            R"({"alarm":"FIC101.ALARM","id":9,"source":"FIC101.PV","type":"HIHI","priority":1,)"
            R"("test":"HIHI >= 95 PRIORITY 1","value":"96.5","start":1000,"end":null,)"
            R"("acknowledged":null,"acknowledged_by":"","commented":null,"commented_by":"",)"
            R"("comment":""})");
}

TEST(AlarmJson, HasTheTimesOfWhatHasHappened) {
  AlarmRecord record;
  record.type = ZR3_AM_REC_TYPE_CHANGE;
  record.end_ms = 2'000;
  record.is_restored = true;
  record.is_acknowledged = true;
  record.acknowledged_ms = 3'000;
  record.acknowledged_by = "ann";
  record.commented_ms = 4'000;
  record.commented_by = "bob";
  record.comment = "seen";
  std::string json;
  AppendAlarmJson("A", "", record, json);
  EXPECT_EQ(json.substr(json.find("\"start\"")),
            R"("start":0,"end":2000,"acknowledged":3000,"acknowledged_by":"ann",)"
            R"("commented":4000,"commented_by":"bob","comment":"seen"})");
  EXPECT_NE(json.find(R"("type":"CHANGE")"), std::string::npos);
}

}  // namespace
}  // namespace zervane
