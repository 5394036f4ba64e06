#include <gtest/gtest.h>

#include <algorithm>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <string>
#include <vector>

#include "tests/fuzz/target.h"

namespace zervane {
namespace {

std::vector<std::filesystem::path> Inputs() {
  std::vector<std::filesystem::path> files;
  for (const auto& entry : std::filesystem::directory_iterator(ZERVANE_CORPUS)) {
    files.push_back(entry.path());
  }
  std::ranges::sort(files);
  return files;
}

TEST(Corpus, HoldsTensOfInputs) { EXPECT_GE(Inputs().size(), 10U); }

TEST(Corpus, IsReplayedWithoutAFault) {
  for (const std::filesystem::path& path : Inputs()) {
    std::ifstream file(path, std::ios::binary);
    ASSERT_TRUE(file) << path;
    const std::string bytes{std::istreambuf_iterator<char>(file), {}};
    SCOPED_TRACE(path.string());
    EXPECT_EQ(
        LLVMFuzzerTestOneInput(reinterpret_cast<const std::uint8_t*>(bytes.data()), bytes.size()),
        0);
  }
}

}  // namespace
}  // namespace zervane
