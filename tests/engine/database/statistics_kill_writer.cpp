// The writing process of the kill test of statistics tags: it is also killed with windows still to
// be computed.
#include "tests/engine/database/statistics_kill_script.h"
#include "tests/engine/database/writing_process.h"

int main(int, char** arguments) {
  namespace script = zervane::statistics_kill;
  using zervane::DatabaseClient;
  return zervane::Run({.name = "statistics_kill_writer",
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
