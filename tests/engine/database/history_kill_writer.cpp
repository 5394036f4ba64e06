// The writing process of the kill test of calculated history: performs the script's steps from a
// number on, without end, and writes each answered step's number to file descriptor 3. Opens the
// database anew now and then, so that it is also killed while it closes and opens, with a past that
// is not computed yet.
//
// history_kill_writer FOLDER SEED FIRST_STEP
#include <unistd.h>

#include <cstdio>
#include <string>
#include <utility>
#include <vector>

#include "engine/embedded.h"
#include "engine/storage/sqlite/sqlite_store.h"
#include "tests/engine/database/history_kill_script.h"
#include "tests/support/database_client.h"

namespace {

namespace script = zervane::history_kill;
using zervane::DatabaseClient;
using zervane::Status;
using zervane::TagId;
using zervane::TagSample;

constexpr int kAnswers = 3;
constexpr int kStepsPerOpen = 10;

Status Write(DatabaseClient& database, const std::vector<TagSample>& records) {
  std::vector<std::int32_t> codes(records.size());
  return database.Write(records, zervane::WriteOrder::kAnyOrder, zervane::WriteAnswer::kDurable,
                        codes);
}

Status AddMissingTags(DatabaseClient& database) {
  for (TagId tag = script::kOperand; tag <= script::kNotified; ++tag) {
    if (database.GetTag(tag).ok()) continue;
    // Before the second tag, so that it is there once that is.
    if (tag == script::kBusy) {
      if (Status status = Write(database, script::OperandRecords()); !status.ok()) return status;
    }
    const auto added = database.AddTag(script::TagWith(tag, 0), {});
    if (!added.ok()) return added.status();
  }
  return {};
}

Status Perform(DatabaseClient& database, unsigned seed, std::int64_t number) {
  const TagId tag = script::TagOfStep(number);
  Status status = database.ModifyTag(tag, ZR3_TAG_CLASS_CALC,
                                     script::TagWith(tag, script::FactorOf(number)), {0, -1});
  for (int left = script::BatchesOf(seed, number); left > 0 && status.ok(); --left) {
    zervane::Sample sample;
    sample.time_ms = script::kFirstMs + number * 1'000 + left;
    sample.value = 1.0;
    status = Write(database, {{script::kBusy, sample}});
  }
  return status;
}

Status Work(DatabaseClient& database, unsigned seed, std::int64_t& number) {
  if (Status status = AddMissingTags(database); !status.ok()) return status;
  for (int i = 0; i < kStepsPerOpen; ++i, ++number) {
    if (Status status = Perform(database, seed, number); !status.ok()) return status;
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
    auto store = zervane::OpenSqliteStore(folder);
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
    std::fprintf(stderr, "history_kill_writer: %d %s\n", status.code(), status.message().c_str());
    return 1;
  }
}
