#include <gtest/gtest.h>

#include <cstdlib>
#include <filesystem>
#include <memory>
#include <string>
#include <utility>
#include <vector>

#include "engine/embedded.h"
#include "tests/engine/records.h"
#include "tests/support/database_client.h"

namespace zervane {
namespace {

class EmbeddedFolder : public testing::Test {
 protected:
  EmbeddedFolder() {
    std::string pattern = (std::filesystem::temp_directory_path() / "zervane-XXXXXX").string();
    if (mkdtemp(pattern.data()) != nullptr) parent_ = pattern;
  }
  ~EmbeddedFolder() override {
    database_.reset();
    if (!parent_.empty()) std::filesystem::remove_all(parent_);
  }

  void Open() {
    ASSERT_FALSE(parent_.empty());
    auto opened = OpenEmbeddedFolder(parent_ / "made" / "when missing");
    ASSERT_TRUE(opened.ok()) << opened.status().message();
    database_ = *std::move(opened);
  }

  std::filesystem::path parent_;
  DatabaseClient database_;
};

TEST_F(EmbeddedFolder, HoldsItsTagsAndRecordsFromRunToRun) {
  ASSERT_NO_FATAL_FAILURE(Open());
  Tag tag;
  tag.name = "a";
  tag.creation_date = tag.change_date = 7;
  ASSERT_EQ(*database_->AddTag(tag, {}), 1U);
  std::vector<std::int32_t> codes(2);
  ASSERT_TRUE(database_
                  ->Write({{1, NumberAt(10, 1.5)}, {1, NumberAt(20, 2.5)}}, WriteOrder::kInOrder,
                          WriteAnswer::kQueued, codes)
                  .ok());
  database_.reset();

  ASSERT_NO_FATAL_FAILURE(Open());
  tag.id = 1;
  tag.creator = tag.changer = "admin";
  EXPECT_EQ(*database_->GetTag(1), tag);
  EXPECT_EQ(*database_->CatalogueVersion(), 1);
  EXPECT_EQ(*database_->ReadCurrent(1), NumberAt(20, 2.5));
  EXPECT_EQ(*database_->ReadRecords(1, {}, Direction::kForward, 10),
            (std::vector{NumberAt(10, 1.5), NumberAt(20, 2.5)}));
}

TEST_F(EmbeddedFolder, NeverUsesAnIdentifierAgain) {
  ASSERT_NO_FATAL_FAILURE(Open());
  Tag tag;
  tag.name = "a";
  ASSERT_EQ(*database_->AddTag(tag, {}), 1U);
  ASSERT_TRUE(database_->DeleteTag(1).ok());
  database_.reset();
  ASSERT_NO_FATAL_FAILURE(Open());
  EXPECT_EQ(*database_->AddTag(tag, {}), 2U);
  EXPECT_EQ(*database_->CatalogueVersion(), 3);
}

TEST_F(EmbeddedFolder, IsOpenOnce) {
  ASSERT_NO_FATAL_FAILURE(Open());
  EXPECT_EQ(OpenEmbeddedFolder(parent_ / "made" / "when missing").code(), ZR3_ERR_DATABASE_IN_USE);
}

}  // namespace
}  // namespace zervane
