// ut3: iteration, settings, time, relay.

#include "vask/api.h"
#include "vask/call.h"

using zervane::Arguments;
using zervane::ArgumentsWithTexts;
using zervane::Call;
using zervane::Deliver;
using zervane::Session;
using zervane::Status;
using zervane::Unsupported;

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
  return Unsupported(__func__, CheckTexts(arguments, cfg));
}
