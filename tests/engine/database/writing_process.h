#pragma once

#include <unistd.h>

#include <cstdio>
#include <string>
#include <utility>
#include <vector>

#include "engine/embedded.h"
#include "engine/storage/sqlite/sqlite_store.h"
#include "tests/support/database_client.h"

namespace zervane {

// The writing process of a kill test, which performs the steps of a script from a number on,
// without end, and writes each answered step's number to file descriptor 3. It opens the database
// anew now and then, so that it is also killed while it closes and opens.
struct WritingProcess {
  const char* name;
  // Small generations and chunks, so that much of what the store does in the background is met.
  SqliteStoreOptions options = {.pending_bytes = 60 * kPendingRecordBytes, .chunk_records = 8};
  int steps_per_open = 40;
  Caller caller = {};
  // Whenever it was opened, before the first step.
  Status (*prepare)(DatabaseClient& database);
  Status (*step)(DatabaseClient& database, unsigned seed, std::int64_t number);
};

// Adds those of the script's tags, with identifiers from 1 on, that are missing.
template <typename TagNumber>
Status AddMissingTags(DatabaseClient& database, TagId last, TagNumber tag_number) {
  for (TagId tag = 1; tag <= last; ++tag) {
    if (database.GetTag(tag).ok()) continue;
    const auto added = database.AddTag(tag_number(tag), {});
    if (!added.ok()) return added.status();
  }
  return {};
}

inline Status WriteDurably(DatabaseClient& database, const std::vector<TagSample>& records,
                           WriteOrder order) {
  std::vector<std::int32_t> codes(records.size());
  return database.Write(records, order, WriteAnswer::kDurable, codes);
}

inline Status PerformSteps(const WritingProcess& process, DatabaseClient& database, unsigned seed,
                           std::int64_t& number) {
  constexpr int kAnswers = 3;
  if (Status status = process.prepare(database); !status.ok()) return status;
  for (int i = 0; i < process.steps_per_open; ++i, ++number) {
    if (Status status = process.step(database, seed, number); !status.ok()) return status;
    if (write(kAnswers, &number, sizeof(number)) != sizeof(number)) {
      return {ZR3_ERR_INTERNAL, "nobody listens"};
    }
  }
  return database.Close();
}

// As main, whose arguments are: NAME FOLDER SEED FIRST_STEP.
inline int Run(const WritingProcess& process, char** arguments) {
  const std::string folder = arguments[1];
  const auto seed = static_cast<unsigned>(std::stoul(arguments[2]));
  std::int64_t number = std::stoll(arguments[3]);
  for (;;) {
    auto store = OpenSqliteStore(folder, {}, process.options);
    Status status = store.status();
    if (store.ok()) {
      const auto database = OpenEmbedded(*std::move(store), SystemClock());
      status = database.status();
      if (database.ok()) {
        DatabaseClient client(**database, process.caller);
        status = PerformSteps(process, client, seed, number);
      }
    }
    if (status.ok()) continue;
    std::fprintf(stderr, "%s: %d %s\n", process.name, status.code(), status.message().c_str());
    return 1;
  }
}

}  // namespace zervane
