#include "api/describe.h"

#include <gtest/gtest.h>

#include <string>

#include "api/operation_table.h"

namespace zervane {
namespace {

template <typename Op>
std::string LineOf(const Op& operation) {
  return Describe(Op::kNumber, &operation);
}

TEST(Describe, NamesAnOperationWithItsFields) {
  EXPECT_EQ(LineOf(DeleteTag{.id = 7}), "delete tag(id: 7)");
  EXPECT_EQ(LineOf(ReadClock{}), "read clock()");
  EXPECT_EQ(LineOf(FindTagId{"FIC101.PV"}), "find tag identifier(name: 'FIC101.PV')");
  EXPECT_EQ(LineOf(CountTags{{.class_mask = 1, .conditions = {{0, 6, "*.PV"}}}}),
            "count tags(query: (class_mask: 1, conditions: [(column: 0, relation: 6, value: "
            "'*.PV')]))");
}

TEST(Describe, TellsOnlyHowMuchOfWhatIsLong) {
  WriteSamples write;
  write.batch.Add(1, {.time_ms = 1, .value = 2.0});
  write.batch.tags = {1, 2, 3, 4};
  EXPECT_EQ(LineOf(write),
            "write samples(batch: (tags: 4 items, samples: 1 samples), order: 0, answer: 0)");
  EXPECT_EQ(LineOf(FindTagId{std::string(39, 'x') + "\xE6\xB5\x8B"}),
            "find tag identifier(name: '" + std::string(39, 'x') + "...')");
  EXPECT_EQ(LineOf(FindTagId{std::string(50, 'x')}),
            "find tag identifier(name: '" + std::string(40, 'x') + "...')");
}

TEST(Describe, LeavesOutWhatWouldBreakALine) {
  EXPECT_EQ(LineOf(FindTagId{"a\nb\x7F"}), "find tag identifier(name: 'a?b?')");
}

TEST(Describe, NamesASampleByItsTime) {
  EXPECT_EQ(LineOf(CorrectRecord{.id = 7, .sample = {.time_ms = 1500, .value = 2.5}}),
            "correct record(id: 7, sample: one at 1500 ms)");
}

}  // namespace
}  // namespace zervane
