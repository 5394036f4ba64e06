// The writing process of the kill test: performs the script's steps from a number on, without end,
// and writes each answered step's number to file descriptor 3. Opens the store anew now and then,
// so that it is also killed while it closes and opens.
//
// kill_writer FOLDER SEED FIRST_STEP
#include <unistd.h>

#include <cstdio>
#include <string>

#include "engine/storage/sqlite/sqlite_store.h"
#include "tests/engine/storage/sqlite/kill_script.h"

namespace {

constexpr int kAnswers = 3;
constexpr int kStepsPerOpen = 25;
constexpr zervane::SqliteStoreOptions kOptions{.pending_bytes = 60 * zervane::kPendingRecordBytes,
                                               .chunk_records = 8};

int Fail(const zervane::Status& status) {
  std::fprintf(stderr, "kill_writer: %d %s\n", status.code(), status.message().c_str());
  return 1;
}

}  // namespace

int main(int, char** arguments) {
  const std::string folder = arguments[1];
  const auto seed = static_cast<unsigned>(std::stoul(arguments[2]));
  for (std::int64_t number = std::stoll(arguments[3]);;) {
    const auto store = zervane::OpenSqliteStore(folder, {}, kOptions);
    if (!store.ok()) return Fail(store.status());
    for (int i = 0; i < kStepsPerOpen; ++i, ++number) {
      const zervane::storage::KillStep step = zervane::storage::StepOf(seed, number);
      const zervane::Status status = zervane::storage::Perform(step, **store);
      if (!status.ok()) return Fail(status);
      if (write(kAnswers, &number, sizeof(number)) != sizeof(number)) return 2;
    }
  }
}
