// Readers beside changes: every image is whole, whatever changes meanwhile.

#include <gtest/gtest.h>

#include <atomic>
#include <string>
#include <thread>
#include <vector>

#include "engine/catalogue/catalogue_family.h"
#include "tests/engine/catalogue/fixture.h"

namespace zervane {
namespace {

class CatalogueThreads : public CatalogueFixture {};

// Each tag's descriptor says its name, in every image; a change replaces both.
TEST_F(CatalogueThreads, SeeNeverHalfAChange) {
  constexpr TagId kTags = 600;
  constexpr int kRounds = 3'000;
  Tag tag;
  for (TagId id = 1; id <= kTags; ++id) {
    tag.name = tag.descriptor = "T" + std::to_string(id);
    Add(tag);
  }
  std::atomic<bool> is_over{false};
  std::atomic<std::int64_t> seen{0};
  const auto read = [&] {
    const PropertyPlace descriptor = TagLayout::OfClass(0).common()[12];
    std::int64_t last_version = 0;
    do {
      const std::int64_t version = catalogue_->version();
      const TagImagePtr image = catalogue_->image();
      ASSERT_GE(image->version(), version) << "an image is never older than its version";
      ASSERT_GE(image->version(), last_version);
      last_version = image->version();
      std::int64_t count = 0;
      image->tags().VisitFrom(0, [&](const PackedTag& found) {
        EXPECT_EQ(found.name(), found.Text(descriptor));
        EXPECT_EQ(image->FindByName(found.name()), &found);
        ++count;
        return true;
      });
      ASSERT_EQ(count, image->CountOf(ZR3_TAG_CLASS_BASIC));
      seen.fetch_add(count);
    } while (!is_over);
  };
  std::vector<std::thread> readers;
  for (int i = 0; i < 3; ++i) readers.emplace_back(read);
  constexpr std::int64_t kNameAndDescriptor = 1 | 1 << ZR3_TAG_COL_COMM_PROP_DESCRIPTOR;
  for (int round = 0; round < kRounds; ++round) {
    const TagId id = 1 + static_cast<TagId>(round) * 7 % kTags;
    tag.name = tag.descriptor = "R" + std::to_string(round);
    if (round % 3 == 0) {
      Add(tag);
    } else if (round % 50 == 1) {
      (void)Remove(id);
    } else {
      (void)Modify(id, ZR3_TAG_CLASS_BASIC, tag, {kNameAndDescriptor, 0});
    }
  }
  is_over = true;
  for (std::thread& reader : readers) reader.join();
  EXPECT_GT(seen.load(), 0);
}

}  // namespace
}  // namespace zervane
