#include "engine/storage/sqlite/settings.h"

#include <spdlog/fmt/fmt.h>

namespace zervane::storage {
namespace {

constexpr char kPut[] = "INSERT OR REPLACE INTO settings (name, value) VALUES (?, ?)";
constexpr char kRead[] = "SELECT value FROM settings WHERE name = ?";

}  // namespace

Status PutSetting(Connection& connection, std::string_view name, std::string_view text) {
  Query put(connection, kPut);
  put.BindText(name);
  put.BindText(text);
  return put.Run();
}

Status PutSetting(Connection& connection, std::string_view name, std::int64_t number) {
  Query put(connection, kPut);
  put.BindText(name);
  put.Bind(number);
  return put.Run();
}

Result<std::string> TextSetting(Connection& connection, std::string_view name) {
  Query row(connection, kRead);
  row.BindText(name);
  if (row.Next()) return std::string(row.Bytes(0));
  if (!row.status().ok()) return row.status();
  return Status(ZR3_ERR_STORAGE_DAMAGED, fmt::format("the file has lost its setting {}", name));
}

Result<std::int64_t> NumberSetting(Connection& connection, std::string_view name) {
  Query row(connection, kRead);
  row.BindText(name);
  if (row.Next()) return row.Integer(0);
  if (!row.status().ok()) return row.status();
  return std::int64_t{0};
}

}  // namespace zervane::storage
