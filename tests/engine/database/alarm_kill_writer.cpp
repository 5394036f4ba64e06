// The writing process of the alarms' kill test: it is also killed with actions still to be written.
#include "tests/engine/database/alarm_kill_script.h"
#include "tests/engine/database/writing_process.h"

int main(int, char** arguments) {
  namespace script = zervane::alarm_kill;
  using zervane::DatabaseClient;
  return zervane::Run({.name = "alarm_kill_writer",
                       .prepare =
                           [](DatabaseClient& database) {
                             return zervane::AddMissingTags(database, script::kLastTag,
                                                            script::TagNumber);
                           },
                       .step =
                           [](DatabaseClient& database, unsigned seed, std::int64_t number) {
                             return zervane::WriteDurably(database, script::StepOf(seed, number),
                                                          zervane::WriteOrder::kInOrder);
                           }},
                      arguments);
}
