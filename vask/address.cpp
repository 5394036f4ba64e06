#include "vask/address.h"

#include <algorithm>
#include <system_error>
#include <utility>

#include "api/words/ascii.h"

namespace zervane {
namespace {

constexpr std::string_view kEmbedded = "embedded:";
constexpr std::string_view kMemory = "memory:";

Status InvalidAddress(std::string_view address, const char* reason) {
  return {ZR3_ERR_INVALID_ADDRESS, "address '" + std::string(address) + "': " + reason};
}

Result<Target> Folder(std::filesystem::path folder) {
  return Target{.kind = Target::Kind::kFolder, .folder = std::move(folder)};
}

Result<Target> DefaultFolder(const Environment& environment) {
  if (!environment.zervane_home.empty()) return Folder(environment.zervane_home);
  if (!environment.xdg_data_home.empty()) {
    return Folder(std::filesystem::path(environment.xdg_data_home) / "zervane");
  }
  if (!environment.home.empty()) {
    return Folder(std::filesystem::path(environment.home) / ".local/share/zervane");
  }
  return InvalidAddress("", "none of ZERVANE_HOME, XDG_DATA_HOME and HOME is set");
}

// Blanks, control characters and slashes stand in no host name: more likely a path was meant.
bool CanBeHost(std::string_view host) {
  return std::none_of(host.begin(), host.end(), [](char c) {
    const auto byte = static_cast<unsigned char>(c);
    return byte <= ' ' || byte == 0x7F || byte == '/';
  });
}

}  // namespace

Result<Target> ParseAddress(std::string_view address, std::uint16_t port,
                            const Environment& environment) {
  if (address.empty()) return DefaultFolder(environment);
  if (address.starts_with(kEmbedded)) {
    const std::string_view folder = address.substr(kEmbedded.size());
    if (folder.empty()) return InvalidAddress(address, "no folder is named");
    return Folder(folder);
  }
  if (address == kMemory) return Target{.kind = Target::Kind::kMemory};
  if (address.starts_with(kMemory)) {
    return InvalidAddress(address, "a volatile database has no name");
  }
  if (!CanBeHost(address)) return InvalidAddress(address, "not a host name");

  return Target{.kind = Target::Kind::kServer, .host = FoldAscii(address), .port = port};
}

Result<Servers> ParseServers(std::string_view address, std::uint16_t port,
                             std::string_view standby_address, std::uint16_t standby_port,
                             const Environment& environment) {
  Result<Target> primary = ParseAddress(address, port, environment);
  if (!primary.ok()) return primary.status();
  Servers servers{.primary = *std::move(primary), .standby = std::nullopt};
  if (standby_address.empty()) return servers;

  Result<Target> standby = ParseAddress(standby_address, standby_port, environment);
  if (!standby.ok()) return standby.status();
  if (servers.primary.kind == Target::Kind::kServer) servers.standby = *std::move(standby);
  return servers;
}

Target Resolved(Target target) {
  if (target.kind != Target::Kind::kFolder) return target;
  std::error_code error;
  const std::filesystem::path absolute = std::filesystem::absolute(target.folder, error);
  if (error) return target;
  std::filesystem::path canonical = std::filesystem::weakly_canonical(absolute, error);
  if (error) return target;
  if (!canonical.has_filename()) canonical = canonical.parent_path();  // a trailing slash
  target.folder = std::move(canonical);
  return target;
}

}  // namespace zervane
