// The writing process of the kill test of calculations: performs the script's steps from a number
// on, without end, and writes each answered step's number to file descriptor 3. Opens the database
// anew now and then, so that it is also killed while it closes and opens, with values still to be
// computed.
//
// calculation_kill_writer FOLDER SEED FIRST_STEP
#include <unistd.h>

#include <cstdio>
#include <string>
#include <utility>
#include <vector>

#include "engine/embedded.h"
#include "engine/storage/sqlite/sqlite_store.h"
#include "tests/engine/database/calculation_kill_script.h"
#include "tests/support/database_client.h"

namespace {

using zervane::DatabaseClient;
using zervane::Status;
using zervane::TagId;

constexpr int kAnswers = 3;
constexpr int kStepsPerOpen = 40;
constexpr zervane::SqliteStoreOptions kOptions{.pending_bytes = 60 * zervane::kPendingRecordBytes,
                                               .chunk_records = 8};

Status AddMissingTags(DatabaseClient& database) {
  for (TagId tag = 1; tag <= zervane::calculation_kill::kLastTag; ++tag) {
    if (database.GetTag(tag).ok()) continue;
    const auto added = database.AddTag(zervane::calculation_kill::TagNumber(tag), {});
    if (!added.ok()) return added.status();
  }
  return {};
}

Status Step(DatabaseClient& database, unsigned seed, std::int64_t number) {
  for (const auto& batch : zervane::calculation_kill::StepOf(seed, number)) {
    std::vector<std::int32_t> codes(batch.size());
    Status status = database.Write(batch, zervane::WriteOrder::kAnyOrder,
                                   zervane::WriteAnswer::kDurable, codes);
    if (!status.ok()) return status;
  }
  return {};
}

Status Work(DatabaseClient& database, unsigned seed, std::int64_t& number) {
  if (Status status = AddMissingTags(database); !status.ok()) return status;
  for (int i = 0; i < kStepsPerOpen; ++i, ++number) {
    if (Status status = Step(database, seed, number); !status.ok()) return status;
    if (write(kAnswers, &number, sizeof(number)) != sizeof(number)) {
      return {ZR3_ERR_INTERNAL, "nobody listens"};
    }
  }
  return database.Close();
}

}  // namespace

int main(int, char** arguments) {
  const std::string folder = arguments[1];
  const auto seed = static_cast<unsigned>(std::stoul(arguments[2]));
  std::int64_t number = std::stoll(arguments[3]);
  for (;;) {
    auto store = zervane::OpenSqliteStore(folder, {}, kOptions);
    Status status = store.status();
    if (store.ok()) {
      const auto database = zervane::OpenEmbedded(*std::move(store), zervane::SystemClock());
      status = database.status();
      if (database.ok()) {
        DatabaseClient client(**database);
        status = Work(client, seed, number);
      }
    }
    if (status.ok()) continue;
    std::fprintf(stderr, "calculation_kill_writer: %d %s\n", status.code(),
                 status.message().c_str());
    return 1;
  }
}
