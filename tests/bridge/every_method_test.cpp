// What holds for every native method, row by row of the table of methods.
#include <gmock/gmock.h>

#include <fstream>
#include <set>

#include "harness/method.h"

namespace zervane::bridge_test {

Methods AllMethods() {
  Methods all;
  for (const auto& family : {AlarmGroupMethods,
                             AlarmHandlingMethods,
                             AlarmRecordMethods,
                             AlarmSubscriptionMethods,
                             AlarmTagMethods,
                             BulkPropertyMethods,
                             CalculationTagMethods,
                             ConnectionMethods,
                             CorrectionMethods,
                             InterpolatedHistoryMethods,
                             IteratorMethods,
                             PointTagMethods,
                             RawHistoryMethods,
                             RelayMethods,
                             SecurityMethods,
                             SettingsMethods,
                             SnapshotReadingMethods,
                             SnapshotSavingMethods,
                             SnapshotSubscriptionMethods,
                             SnapshotWritingMethods,
                             StatisticsMethods,
                             StatisticsTagMethods,
                             TagLookupMethods,
                             TagSearchMethods}) {
    for (const Method& method : family()) all.push_back(method);
  }
  return all;
}

namespace {

class EveryMethod : public testing::TestWithParam<Method> {
 protected:
  void SetUp() override { ResetScene(); }
  void TearDown() override { ResetScene(); }

  const Method& method() const { return GetParam(); }
};

size_t IndexOfFirst(const Lines& lines, const std::function<bool(const std::string&)>& matches) {
  size_t index = 0;
  while (index < lines.size() && !matches(lines[index])) ++index;
  return index;
}

std::string FunctionOf(const std::string& api_line) {
  return api_line.substr(0, api_line.find('('));
}

TEST_P(EveryMethod, SucceedsWithItsResult) { EXPECT_EQ(method().call(), method().result); }

TEST_P(EveryMethod, LooksItsClassesAndFieldsUpInOrder) {
  method().call();
  EXPECT_TRUE(SameLines(method().lookups, Log().Lookups()));
}

TEST_P(EveryMethod, LooksUpBeforeItUsesAnyObjectOrTheApi) {
  method().call();
  const Lines lines = Log().Of({Kind::kLookup, Kind::kObject, Kind::kApi});
  const auto is_lookup = [](const std::string& line) {
    return line.starts_with("FindClass") || line.starts_with("GetFieldID");
  };
  const size_t before_use = IndexOfFirst(lines, [&](const auto& line) { return !is_lookup(line); });
  EXPECT_EQ(before_use == method().lookups.size(), method().lookups_first);
}

TEST_P(EveryMethod, MakesItsApiCalls) {
  method().call();
  EXPECT_TRUE(SameLines(method().api, Log().Api()));
}

TEST_P(EveryMethod, LeavesAllocatedWhatItIsToLeak) {
  method().call();
  EXPECT_EQ(Left(), method().left);
}

TEST_P(EveryMethod, DoesItAllAgainOnTheNextCall) {
  method().call();
  const Lines first = Log().All();
  method().call();
  EXPECT_TRUE(SameLines(first, Log().All()));
}

TEST_P(EveryMethod, AnswersAFailureOfTheApi) {
  for (const Failure& failure : method().failures) {
    ResetScene();
    const std::string function = failure.of.empty() ? FunctionOf(method().api.back()) : failure.of;
    Api().Answer(function, kSomeError);
    SCOPED_TRACE(function);
    EXPECT_EQ(method().call(), failure.result);
    const Lines api = Log().Api();
    const size_t failed =
        IndexOfFirst(api, [&](const auto& line) { return FunctionOf(line) == function; });
    ASSERT_LT(failed, api.size());
    EXPECT_TRUE(SameLines(failure.after, Lines(api.begin() + failed + 1, api.end())));
    EXPECT_TRUE(SameLines(failure.writes, Log().Writes()));
    EXPECT_EQ(Left(), failure.left);
  }
}

INSTANTIATE_TEST_SUITE_P(Bridge, EveryMethod, testing::ValuesIn(AllMethods()),
                         [](const auto& row) { return row.param.name; });

std::set<std::string> ExportedMethods() {
  std::set<std::string> names;
  std::ifstream list(ZERVANE_EXPORTED_SYMBOLS);
  const std::string prefix = "Java_com_talvoro_zrjni_Jni_1Zervane_";
  for (std::string line; std::getline(list, line);) names.insert(line.substr(prefix.size()));
  return names;
}

TEST(TableOfMethods, HasARowForEveryExportedMethod) {
  std::set<std::string> rows;
  for (const Method& method : AllMethods()) {
    EXPECT_TRUE(rows.insert(method.name).second) << method.name << " has two rows";
  }
  EXPECT_THAT(rows, testing::ContainerEq(ExportedMethods()));
}

}  // namespace
}  // namespace zervane::bridge_test
