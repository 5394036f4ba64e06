// ut3: iteration, settings, time, relay.

#include <optional>
#include <string>
#include <string_view>
#include <utility>

#include "api/operations/system.h"
#include "vask/api.h"
#include "vask/call.h"
#include "vask/texts.h"

using zervane::Arguments;
using zervane::ArgumentsWithTexts;
using zervane::Call;
using zervane::ConfigureRelay;
using zervane::Deliver;
using zervane::RelaySettings;
using zervane::Secret;
using zervane::Session;
using zervane::Status;

namespace {

constexpr int32 kMaxTimeoutSeconds = 86400;
constexpr int64 kKnownOptions = 0;

// The record is texts of one size and nothing else.
Arguments& CheckTexts(Arguments& arguments, const ZRRestCfg& cfg) {
  const char* text = reinterpret_cast<const char*>(&cfg);
  for (std::size_t i = 0; i < sizeof cfg / ZR3_LEN_RELAY_TEXT; ++i, text += ZR3_LEN_RELAY_TEXT) {
    arguments.Text(text, ZR3_LEN_RELAY_TEXT);
  }
  return arguments;
}

// The text of a record's array as the database has it; ends within the array, as was checked.
template <typename Text>
Status ReadInto(const char (&array)[ZR3_LEN_RELAY_TEXT], Text* text) {
  const std::optional<std::string_view> utf8 =
      zervane::ReadText(zervane::TextsOfThisThread(), array, sizeof array);
  if (!utf8) return {ZR3_ERR_INVALID_TEXT, "the relay's settings"};
  *text = Text(*utf8);
  return {};
}

Status ReadSettings(const ZRRestCfg& cfg, RelaySettings* settings) {
  Status status;
  const auto read = [&](const auto& array, auto* text) {
    if (status.ok()) status = ReadInto(array, text);
  };
  read(cfg.szDsName, &settings->source_name);
  read(cfg.szHostIP, &settings->host);
  read(cfg.szPort, &settings->port);
  read(cfg.szPassword, &settings->password);
  read(cfg.szMaxTotal, &settings->max_connections);
  read(cfg.szMaxWait, &settings->max_wait_ms);
  read(cfg.szMasterName, &settings->master_name);
  read(cfg.szRoutingrtalms, &settings->raised_route);
  read(cfg.szRoutingclearalm, &settings->ended_route);
  read(cfg.szRoutingrtrec, &settings->values_route);
  read(cfg.szRoutingcrs, &settings->notes_route);
  return status;
}

// A setting that was in range is accepted.
Status Accept(Session&) { return {}; }

}  // namespace

int32 ut3_get_item_step(ZR3HANDLE hIterator, void* pItem) {
  return Call(__func__, Arguments().Given(pItem),
              [&](Session& session) { return session.handles().Step(hIterator, pItem); });
}

int32 ut3_free_handle(ZR3HANDLE hIterator) {
  return Call(__func__, Arguments(),
              [&](Session& session) { return session.handles().Free(hIterator); });
}

// The embedded database answers without a limit, so nothing keeps the time-out.
int32 ut3_set_request_timeout(int32 nTimeout) {
  return Call(__func__, Arguments().InRange(nTimeout, 1, kMaxTimeoutSeconds), Accept);
}

int32 ut3_set_api_option(int64 nOption) {
  return Call(__func__, Arguments().Require(nOption == kKnownOptions, ZR3_ERR_INVALID_ARGUMENT),
              Accept);
}

int32 ut3_set_request_cache_capacity(int32 nCapacity) {
  return Call(__func__, Arguments().Batch(nCapacity), [=](Session& session) -> Status {
    session.cache().SetCapacity(static_cast<std::size_t>(nCapacity));
    return {};
  });
}

int32 ut3_get_server_ms_time(int64* pMsTime) {
  return Call(__func__, Arguments().Given(pMsTime),
              [&](Session& session) { return Deliver(session.Do(zervane::ReadClock{}), pMsTime); });
}

int32 ut3_send_rest_info(ZRRestCfg cfg) {
  Arguments arguments = ArgumentsWithTexts();
  return Call(__func__, CheckTexts(arguments, cfg), [&](Session& session) -> Status {
    ConfigureRelay configure;
    if (Status status = ReadSettings(cfg, &configure.settings); !status.ok()) return status;
    return session.Do(configure).status();
  });
}
