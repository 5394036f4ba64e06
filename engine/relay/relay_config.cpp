#include "engine/relay/relay_config.h"

#include <algorithm>
#include <charconv>
#include <limits>
#include <string_view>
#include <system_error>
#include <utility>

#include "api/words/utf8.h"
#include "engine/storage/table.h"

namespace zervane {
namespace {

constexpr std::string_view kDefaultPort = "6379";
constexpr std::string_view kDefaultSentinelPort = "26379";
constexpr std::string_view kDefaultMaxConnections = "8";
constexpr std::string_view kDefaultMaxWaitMs = "1000";
constexpr std::uint32_t kGreatestNumber = std::numeric_limits<std::int32_t>::max();

Status Invalid(ZR3_STATUS code, std::string_view setting) {
  return {code, "the relay's " + std::string(setting)};
}

std::string_view TextOf(const std::string& text) { return text; }
std::string_view TextOf(const Secret& text) { return text.view(); }
void Assign(std::string_view from, std::string* to) { to->assign(from); }
void Assign(std::string_view from, Secret* to) { *to = Secret(from); }

// A number from 1; one that is greater than any is meant to be is the greatest. None for a text
// that is no decimal.
std::optional<std::uint32_t> NumberOf(std::string_view text) {
  const auto is_digit = [](char c) { return c >= '0' && c <= '9'; };
  if (text.empty() || !std::ranges::all_of(text, is_digit)) return std::nullopt;
  std::uint32_t number = 0;
  const auto [end, fault] = std::from_chars(text.data(), text.data() + text.size(), number);
  if (fault == std::errc::result_out_of_range) return kGreatestNumber;
  if (number < 1) return std::nullopt;
  return std::min(number, kGreatestNumber);
}

std::string_view Or(std::string_view text, std::string_view fallback) {
  return text.empty() ? fallback : text;
}

Status CheckTexts(const RelaySettings& settings) {
  Status status;
  ForEachField(settings, [&](std::string_view name, const auto& text) {
    const std::string_view bytes = TextOf(text);
    const bool is_text = IsUtf8(bytes) && bytes.find('\0') == std::string_view::npos;
    if (!is_text && status.ok()) status = Invalid(ZR3_ERR_INVALID_TEXT, name);
  });
  return status;
}

std::string SettingName(std::string_view name) { return "relay_" + std::string(name); }

}  // namespace

Result<RelayConfig> ParseRelaySettings(const RelaySettings& settings) {
  if (Status status = CheckTexts(settings); !status.ok()) return status;
  const std::string_view default_port =
      settings.master_name.empty() ? kDefaultPort : kDefaultSentinelPort;
  const auto port = NumberOf(Or(settings.port, default_port));
  if (!port || *port > std::numeric_limits<std::uint16_t>::max()) {
    return Invalid(ZR3_ERR_INVALID_RELAY, "port");
  }
  if (!NumberOf(Or(settings.max_connections, kDefaultMaxConnections))) {
    return Invalid(ZR3_ERR_INVALID_RELAY, "greatest number of connections");
  }
  const auto max_wait_ms = NumberOf(Or(settings.max_wait_ms, kDefaultMaxWaitMs));
  if (!max_wait_ms) return Invalid(ZR3_ERR_INVALID_RELAY, "longest wait");
  RelayConfig config;
  config.host = settings.host;
  config.port = static_cast<std::uint16_t>(*port);
  config.password = settings.password;
  config.max_wait = std::chrono::milliseconds(*max_wait_ms);
  config.master_name = settings.master_name;
  config.routes = {settings.values_route, settings.raised_route, settings.ended_route,
                   settings.notes_route};
  return config;
}

std::vector<RowChange> RowsOf(const RelaySettings& settings) {
  StoreBatch batch;
  ForEachField(settings, [&](std::string_view name, const auto& text) {
    Table<Setting>::Put({SettingName(name), CellBytes(std::string(TextOf(text)))}, batch);
  });
  return std::move(batch.rows);
}

Result<std::optional<RelaySettings>> ReadRelaySettings(Store& store) {
  const Table<Setting> table(store);
  RelaySettings settings;
  std::size_t found = 0;
  std::size_t all = 0;
  Status status;
  ForEachField(settings, [&](std::string_view name, auto& text) {
    ++all;
    if (!status.ok()) return;
    const Result<std::optional<Setting>> kept = table.Read(SettingName(name));
    if (!kept.ok()) {
      status = kept.status();
    } else if (*kept) {
      const auto* bytes = std::get_if<CellBytes>(&(*kept)->value);
      if (bytes == nullptr) {
        status = Invalid(ZR3_ERR_STORAGE_DAMAGED, name);
        return;
      }
      Assign(*bytes, &text);
      ++found;
    }
  });
  if (!status.ok()) return status;
  if (found == 0) return std::optional<RelaySettings>();
  if (found < all) return Invalid(ZR3_ERR_STORAGE_DAMAGED, "settings, of which some are missing");
  return std::optional<RelaySettings>(std::move(settings));
}

}  // namespace zervane
