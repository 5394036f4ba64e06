#pragma once

#include <cstdint>
#include <string>
#include <string_view>

#include "api/words/status.h"
#include "engine/storage/sqlite/sqlite.h"
#include "engine/storage/tables.h"

// The rows of the table of settings that the store itself keeps.
namespace zervane::storage {

// The highest number of a commit that was removed from the journal.
constexpr std::string_view kLastCommitSetting = "last_commit";

// Within the caller's transaction.
Status PutSetting(Connection& connection, std::string_view name, std::string_view text);
Status PutSetting(Connection& connection, std::string_view name, std::int64_t number);

// ZR3_ERR_STORAGE_DAMAGED when it is missing.
Result<std::string> TextSetting(Connection& connection, std::string_view name);

// 0 when it is missing.
Result<std::int64_t> NumberSetting(Connection& connection, std::string_view name);

}  // namespace zervane::storage
