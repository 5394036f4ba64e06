#include "engine/derived/calculations/history_progress.h"

#include <gtest/gtest.h>

#include <limits>
#include <optional>
#include <string>
#include <vector>

#include "engine/storage/cells.h"
#include "tests/support/case_name.h"

namespace zervane {
namespace {

using Format = RowFormat<HistoryProgress>;

std::optional<HistoryProgress> ReadBack(const Row& row) {
  std::vector<CellView> cells;
  for (const Cell& cell : row) {
    std::visit(
        [&](const auto& content) {
          if constexpr (std::is_same_v<std::decay_t<decltype(content)>, CellBytes>) {
            cells.emplace_back(std::string_view(content));
          } else {
            cells.emplace_back(content);
          }
        },
        cell);
  }
  return Format::FromRow(cells);
}

Row RowWith(const std::string& detail, std::int64_t tag = 7, std::int64_t until_ms = 90) {
  return {CellOf(std::string(Format::kTask)), Cell(tag), Cell(until_ms), CellOf(detail)};
}

TEST(HistoryProgressRow, ReadsBackToTheLastBit) {
  const double tiny = std::numeric_limits<double>::denorm_min();
  for (const std::optional<double> previous :
       {std::optional<double>(), std::optional(0.1 + 0.2), std::optional(-1e300),
        std::optional(tiny), std::optional(3.0)}) {
    const HistoryProgress progress = {.key = {.tag = 7, .until_ms = kMaxTimeMs},
                                      .from_ms = 1,
                                      .next_ms = 2,
                                      .previous = previous};
    EXPECT_EQ(ReadBack(Format::RowOf(progress)), progress);
  }
}

TEST(HistoryProgressRow, IsToldFromOthersByItsTask) {
  const HistoryProgress::Key key = {.tag = 7, .until_ms = 90};
  RowChange change = {.table = TableId::kProgress, .key = Format::KeyCells(key), .row = {}};
  EXPECT_EQ(StretchOf(change), key);
  change.key[0] = CellOf(std::string("alarm_action"));
  EXPECT_EQ(StretchOf(change), std::nullopt);
  change.key = Format::KeysOf(7);
  EXPECT_EQ(StretchOf(change), std::nullopt);
  change = {.table = TableId::kSettings, .key = Format::KeyCells(key), .row = {}};
  EXPECT_EQ(StretchOf(change), std::nullopt);
}

struct RowCase {
  const char* name;
  Row row;
};

class DamagedProgress : public testing::TestWithParam<RowCase> {};

TEST_P(DamagedProgress, IsNone) {
  ASSERT_TRUE(ReadBack(RowWith("10 20 1.5")));
  EXPECT_EQ(ReadBack(GetParam().row), std::nullopt);
}

INSTANTIATE_TEST_SUITE_P(
    HistoryProgressRow, DamagedProgress,
    testing::Values(RowCase{"Empty", RowWith("")}, RowCase{"OneNumber", RowWith("10")},
                    RowCase{"AWord", RowWith("10 x")}, RowCase{"FourNumbers", RowWith("10 20 1 2")},
                    RowCase{"ASpaceBehind", RowWith("10 20 ")},
                    RowCase{"ASpaceBefore", RowWith(" 10 20")}, RowCase{"ATab", RowWith("10\t20")},
                    RowCase{"NaN", RowWith("10 20 nan")}, RowCase{"Infinity", RowWith("10 20 inf")},
                    RowCase{"NoTag", RowWith("10 20", 0)},
                    RowCase{"ATagBeyondAll", RowWith("10 20", 0x100000000)},
                    RowCase{"AnEndBeyondAllTimes", RowWith("10 20", 7, kMaxTimeMs + 1)},
                    RowCase{"NextBeforeTheBeginning", RowWith("20 10")},
                    RowCase{"NextBehindTheEnd", RowWith("10 91")},
                    RowCase{"BeginsBeforeAllTimes", RowWith("0 20")},
                    RowCase{"ANumber",
                            {CellOf(std::string(Format::kTask)), Cell(std::int64_t{7}),
                             Cell(std::int64_t{90}), Cell(std::int64_t{10})}}),
    CaseName());

}  // namespace
}  // namespace zervane
