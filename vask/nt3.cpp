// nt3: the connection.

#include <cstdlib>
#include <memory>
#include <string>
#include <utility>

#include "engine/embedded.h"
#include "vask/address.h"
#include "vask/api.h"
#include "vask/call.h"
#include "vask/texts.h"

namespace zervane {
namespace {

std::string Variable(const char* name) {
  const char* value = std::getenv(name);
  return value == nullptr ? "" : value;
}

Environment ProcessEnvironment() {
  return {.zervane_home = Variable("ZERVANE_HOME"),
          .xdg_data_home = Variable("XDG_DATA_HOME"),
          .home = Variable("HOME")};
}

Result<Servers> ReadServers(const ZR3Connection& connection) {
  Result<Servers> servers =
      ParseServers(connection.szAddress, connection.nPort, connection.szBakAddress,
                   connection.nBakPort, ProcessEnvironment());
  if (!servers.ok()) return servers;
  servers->primary = Resolved(std::move(servers->primary));
  if (servers->standby) servers->standby = Resolved(*std::move(servers->standby));
  return servers;
}

Result<std::unique_ptr<Database>> OpenDatabase(const Target& target) {
  switch (target.kind) {
    case Target::Kind::kFolder:
      return OpenEmbeddedFolder(target.folder,
                                {.name = ProcessEncoding(), .decoder_of = TextDecoderOf});
    case Target::Kind::kMemory:
      return OpenVolatile();
    case Target::Kind::kServer:
      break;
  }
  return Status(ZR3_ERR_CONNECT_FAILED, "server " + target.host + ", port " +
                                            std::to_string(target.port) +
                                            ": this library has no network client");
}

}  // namespace
}  // namespace zervane

using zervane::Arguments;
using zervane::ArgumentsWithTexts;

int32 nt3_connect(const ZR3Connection* pConnection) {
  return zervane::StatusOfWork(__func__, [&]() -> zervane::Status {
    const Arguments arguments = ArgumentsWithTexts(ZR3_ERR_INVALID_ADDRESS)
                                    .Given(pConnection)
                                    .Text(pConnection, &ZR3Connection::szAddress)
                                    .Text(pConnection, &ZR3Connection::szBakAddress);
    if (!arguments.ok()) return {arguments.fault(), {}};
    const zervane::Result<zervane::Servers> servers = zervane::ReadServers(*pConnection);
    if (!servers.ok()) return servers.status();
    return zervane::ProcessSession().Connect(*servers, zervane::OpenDatabase);
  });
}

int32 nt3_disconnect() {
  return zervane::StatusOfWork(__func__, [] { return zervane::ProcessSession().Disconnect(); });
}
