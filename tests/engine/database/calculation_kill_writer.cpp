// The writing process of the kill test of calculations: it is also killed with values still to be
// followed.
#include "tests/engine/database/calculation_kill_script.h"
#include "tests/engine/database/writing_process.h"

int main(int, char** arguments) {
  namespace script = zervane::calculation_kill;
  using zervane::DatabaseClient;
  return zervane::Run(
      {.name = "calculation_kill_writer",
       .prepare =
           [](DatabaseClient& database) {
             return zervane::AddMissingTags(database, script::kLastTag, script::TagNumber);
           },
       .step =
           [](DatabaseClient& database, unsigned seed, std::int64_t number) {
             zervane::Status status;
             for (const auto& batch : script::StepOf(seed, number)) {
               if (!status.ok()) break;
               status = zervane::WriteDurably(database, batch, zervane::WriteOrder::kAnyOrder);
             }
             return status;
           }},
      arguments);
}
