// cc3: text commands.

#include <cstdlib>
#include <cstring>
#include <string>

#include "vask/api.h"
#include "vask/call.h"

using zervane::Arguments;
using zervane::ArgumentsWithTexts;
using zervane::Call;
using zervane::Result;
using zervane::Session;
using zervane::Status;

namespace {

constexpr char kReadVersion[] = "cmdtype=read_version;";

// A copy that cc3_cmd_free releases.
Status HandOut(const std::string& reply, char** out) {
  *out = strdup(reply.c_str());
  return *out != nullptr ? Status() : Status(ZR3_ERR_OUT_OF_MEMORY, {});
}

}  // namespace

int32 cc3_cmd(const char* szCommand, char** ppReply) {
  const Arguments arguments = ArgumentsWithTexts().Given(szCommand, ppReply);
  return Call(__func__, arguments, [&](Session& session) -> Status {
    if (std::strcmp(szCommand, kReadVersion) != 0) return {ZR3_ERR_UNKNOWN_COMMAND, {}};
    const Result<std::int64_t> version = session.Do(zervane::GetCatalogueVersion{});
    if (!version.ok()) return version.status();
    return HandOut("tag_version=" + std::to_string(*version) + ";", ppReply);
  });
}

int32 cc3_cmd_free(char* pReply) {
  std::free(pReply);
  return ZR3_OK;
}
