#include "engine/relay/relay_json.h"

#include <sodium.h>
#include <spdlog/fmt/fmt.h>

#include <array>
#include <cmath>
#include <cstddef>
#include <iterator>

#include "api/words/utf8.h"
#include "engine/assert.h"

namespace zervane {
namespace {

constexpr std::size_t kLongestCharacter = 4;
constexpr std::string_view kReplacement = "\xEF\xBF\xBD";  // U+FFFD

// How many bytes the first character of the text has; 0 when it is none of UTF-8.
std::size_t CharacterLength(std::string_view text) {
  for (std::size_t length = 1; length <= kLongestCharacter && length <= text.size(); ++length) {
    if (IsUtf8(text.substr(0, length))) return length;
  }
  return 0;
}

void AppendAscii(char c, std::string& json) {
  switch (c) {
    case '"':
      json += "\\\"";
      return;
    case '\\':
      json += "\\\\";
      return;
    case '\n':
      json += "\\n";
      return;
    case '\r':
      json += "\\r";
      return;
    case '\t':
      json += "\\t";
      return;
    default:
      break;
  }
  if (static_cast<unsigned char>(c) >= 0x20) {
    json += c;
  } else {
    fmt::format_to(std::back_inserter(json), "\\u{:04x}", static_cast<unsigned>(c));
  }
}

void AppendBlob(std::string_view bytes, std::string& json) {
  constexpr int kVariant = sodium_base64_VARIANT_ORIGINAL;
  std::array<char, sodium_base64_ENCODED_LEN(kMaxBlobBytes, kVariant)> encoded;
  ZERVANE_ASSERT(bytes.size() <= kMaxBlobBytes);
  sodium_bin2base64(encoded.data(), encoded.size(),
                    reinterpret_cast<const unsigned char*>(bytes.data()), bytes.size(), kVariant);
  json += '"';
  json += encoded.data();
  json += '"';
}

template <typename Float>
void AppendFloat(Float number, std::string& json) {
  if (std::isfinite(number)) {
    fmt::format_to(std::back_inserter(json), "{}", number);
  } else {
    json += "null";
  }
}

void AppendValue(TagType type, const Value& value, std::string& json) {
  switch (value.kind()) {
    case Value::Kind::kInteger:
      fmt::format_to(std::back_inserter(json), "{}", value.integer());
      return;
    case Value::Kind::kFloat32:
      return AppendFloat(value.float32(), json);
    case Value::Kind::kFloat64:
      return AppendFloat(value.float64(), json);
    case Value::Kind::kText:
      break;
  }
  if (type == TagType::kBlob) {
    AppendBlob(value.text().str(), json);
  } else {
    AppendTextJson(value.text().str(), json);
  }
}

std::string_view NameOf(TagType type) {
  switch (type) {
    case TagType::kInt8:
      return "INT8";
    case TagType::kInt16:
      return "INT16";
    case TagType::kInt32:
      return "INT32";
    case TagType::kFloat32:
      return "FLOAT32";
    case TagType::kFloat64:
      return "FLOAT64";
    case TagType::kDigital:
      return "DIGITAL";
    case TagType::kString:
      return "STRING";
    case TagType::kBlob:
      return "BLOB";
  }
  ZERVANE_ASSERT(false);
  return {};
}

std::string_view AlarmTypeName(std::int32_t type) {
  switch (type) {
    case ZR3_AM_REC_TYPE_LOLO:
      return "LOLO";
    case ZR3_AM_REC_TYPE_LOW:
      return "LOW";
    case ZR3_AM_REC_TYPE_HIGH:
      return "HIGH";
    case ZR3_AM_REC_TYPE_HIHI:
      return "HIHI";
    case ZR3_AM_REC_TYPE_CHANGE:
      return "CHANGE";
    default:
      break;
  }
  ZERVANE_ASSERT(false);
  return {};
}

void AppendTime(std::string_view key, bool is_there, std::int64_t time_ms, std::string& json) {
  if (is_there) {
    fmt::format_to(std::back_inserter(json), ",\"{}\":{}", key, time_ms);
  } else {
    fmt::format_to(std::back_inserter(json), ",\"{}\":null", key);
  }
}

void AppendText(std::string_view key, std::string_view text, std::string& json) {
  fmt::format_to(std::back_inserter(json), ",\"{}\":", key);
  AppendTextJson(text, json);
}

}  // namespace

void AppendTextJson(std::string_view text, std::string& json) {
  json += '"';
  const bool is_utf8 = IsUtf8(text);
  while (!text.empty()) {
    const bool is_ascii = static_cast<unsigned char>(text.front()) < 0x80;
    const std::size_t length = is_ascii || is_utf8 ? 1 : CharacterLength(text);
    if (is_ascii) {
      AppendAscii(text.front(), json);
    } else if (length > 0) {
      json += text.substr(0, length);
    } else {
      json += kReplacement;
    }
    text.remove_prefix(length > 0 ? length : 1);
  }
  json += '"';
}

void AppendValueJson(std::string_view tag, TagId id, const Sample& sample, std::string& json) {
  json += "{\"tag\":";
  AppendTextJson(tag, json);
  fmt::format_to(std::back_inserter(json),
                 ",\"id\":{},\"type\":\"{}\",\"time\":{},\"quality\":{},\"value\":", id,
                 NameOf(sample.type), sample.time_ms, sample.quality);
  AppendValue(sample.type, sample.value, json);
  json += '}';
}

void AppendAlarmJson(std::string_view alarm, std::string_view source, const AlarmRecord& record,
                     std::string& json) {
  json += "{\"alarm\":";
  AppendTextJson(alarm, json);
  fmt::format_to(std::back_inserter(json), ",\"id\":{}", record.tag);
  AppendText("source", source, json);
  fmt::format_to(std::back_inserter(json), ",\"type\":\"{}\",\"priority\":{}",
                 AlarmTypeName(record.type), record.priority);
  AppendText("test", record.test, json);
  AppendText("value", record.source_value, json);
  AppendTime("start", true, record.start_ms, json);
  AppendTime("end", record.is_restored, record.end_ms, json);
  AppendTime("acknowledged", record.is_acknowledged, record.acknowledged_ms, json);
  AppendText("acknowledged_by", record.acknowledged_by, json);
  AppendTime("commented", record.commented_ms != 0, record.commented_ms, json);
  AppendText("commented_by", record.commented_by, json);
  AppendText("comment", record.comment, json);
  json += '}';
}

}  // namespace zervane
