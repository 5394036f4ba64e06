// The writing process of the kill test of calculated history: it is also killed with a past that is
// not computed yet.
#include "tests/engine/database/history_kill_script.h"
#include "tests/engine/database/writing_process.h"

namespace zervane {
namespace {

namespace script = history_kill;

Status Prepare(DatabaseClient& database) {
  for (TagId tag = script::kOperand; tag <= script::kNotified; ++tag) {
    if (database.GetTag(tag).ok()) continue;
    // Before the second tag, so that it is there once that is.
    if (tag == script::kBusy) {
      if (Status status = WriteDurably(database, script::OperandRecords(), WriteOrder::kAnyOrder);
          !status.ok())
        return status;
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
    Sample sample;
    sample.time_ms = script::kFirstMs + number * 1'000 + left;
    sample.value = 1.0;
    status = WriteDurably(database, {{script::kBusy, sample}}, WriteOrder::kAnyOrder);
  }
  return status;
}

}  // namespace
}  // namespace zervane

int main(int, char** arguments) {
  return zervane::Run({.name = "history_kill_writer",
                       .options = {},
                       .steps_per_open = 10,
                       .prepare = zervane::Prepare,
                       .step = zervane::Perform},
                      arguments);
}
