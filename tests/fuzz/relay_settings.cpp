#include <algorithm>
#include <array>
#include <cstdio>
#include <cstdlib>
#include <string>
#include <string_view>
#include <vector>

#include "api/words/utf8.h"
#include "engine/relay/relay_config.h"
#include "engine/relay/relay_json.h"
#include "tests/fuzz/target.h"

// Any lines as the relay's settings: what is taken has numbers within their bounds, and says the
// same with zeros before them; what is refused is told without what stands in it. The whole of it
// as a text of JSON is UTF-8 without control characters, whatever it was.
namespace zervane {
namespace {

void Require(bool holds, const char* what) {
  if (holds) return;
  std::fprintf(stderr, "fuzz: %s\n", what);
  std::abort();
}

RelaySettings SettingsOf(std::string_view lines) {
  std::array<std::string, kFieldCount<RelaySettings>> texts;
  for (std::string& text : texts) {
    const std::size_t end = std::min(lines.find('\n'), lines.size());
    text = lines.substr(0, end);
    lines.remove_prefix(std::min(end + 1, lines.size()));
  }
  return {texts[0], texts[1], texts[2], Secret(texts[3]), texts[4], texts[5],
          texts[6], texts[7], texts[8], texts[9],         texts[10]};
}

bool IsDecimal(std::string_view text) {
  return text.empty() || text.find_first_not_of("0123456789") == std::string_view::npos;
}

void TrySettings(const RelaySettings& settings) {
  const auto config = ParseRelaySettings(settings);
  if (!config.ok()) {
    Require(config.code() == ZR3_ERR_INVALID_RELAY || config.code() == ZR3_ERR_INVALID_TEXT,
            "settings are refused with another status");
    const std::string_view password = settings.password.view();
    Require(password.size() < 12 || config.status().message().find(password) == std::string::npos,
            "a password is told");
    return;
  }
  Require(IsDecimal(settings.port) && IsDecimal(settings.max_wait_ms) &&
              IsDecimal(settings.max_connections),
          "a number is taken that is none");
  Require(config->port > 0 && config->max_wait.count() > 0, "a number is below 1");
  Require(!settings.host.empty() || !config->IsOn(), "it is on without a host");
  RelaySettings other = settings;
  for (std::string* text : {&other.port, &other.max_connections, &other.max_wait_ms}) {
    if (!text->empty()) text->insert(0, "000");
  }
  const auto again = ParseRelaySettings(other);
  Require(again.ok() && again->port == config->port && again->max_wait == config->max_wait,
          "zeros before a number change it");
}

void TryText(std::string_view text) {
  std::string json;
  AppendTextJson(text, json);
  Require(json.size() >= 2 && json.front() == '"' && json.back() == '"', "a text has no quotes");
  Require(IsUtf8(json), "a text of JSON is no UTF-8");
  const auto is_control = [](char c) { return static_cast<unsigned char>(c) < 0x20; };
  Require(std::ranges::none_of(json, is_control), "a control character is not escaped");
  std::size_t quotes = 0;
  for (std::size_t at = 1; at + 1 < json.size(); ++at) {
    if (json[at] == '\\') {
      ++at;
    } else if (json[at] == '"') {
      ++quotes;
    }
  }
  Require(quotes == 0, "a quote is not escaped");
}

}  // namespace
}  // namespace zervane

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  const std::string_view bytes(reinterpret_cast<const char*>(data), size);
  zervane::TrySettings(zervane::SettingsOf(bytes));
  zervane::TryText(bytes);
  return 0;
}
