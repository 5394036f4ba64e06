#include "engine/derived/statistics_tags/statistics_tags.h"

#include <utility>

namespace zervane {

namespace {

class NoTags final : public TagClass {
 public:
  Result<TagLinks> Plan(const TagDraft&) override { return Status(ZR3_ERR_NOT_SUPPORTED, {}); }
  Status Follow(const TagLinks&, TagId, std::optional<std::string_view>, Tag&) override {
    return {};
  }
  bool Reads(std::size_t) const override { return true; }
};

class NoStage final : public Stage {
 public:
  Status Process(Turn&, const StagedRecords&, StoreBatch&) override { return {}; }
  Status PrepareTagChange(Turn&, TagId, StoreBatch&) override { return {}; }
  Status PrepareTagRemoval(Turn&, TagId, StoreBatch&) override { return {}; }
  Status PrepareRecord(Turn&, TagId, std::int64_t, std::uint8_t*, StoreBatch&) override {
    return {};
  }
  void Keep(Turn&) noexcept override {}
  void Discard(Turn&) noexcept override {}
};

}  // namespace

class StatisticsTags::Impl {
 public:
  NoTags tags;
  NoStage stage;
};

StatisticsTags::StatisticsTags(Store&, WritePath&, const Catalogue&, Clock)
    : impl_(std::make_unique<Impl>()) {}

StatisticsTags::~StatisticsTags() { Stop(); }

TagClass& StatisticsTags::tag_class() { return impl_->tags; }

Stage& StatisticsTags::stage() { return impl_->stage; }

Status StatisticsTags::Load(Turn&) { return {}; }

void StatisticsTags::Start(bool) {}

void StatisticsTags::Stop() noexcept {}

Status StatisticsTags::Work() { return {}; }

}  // namespace zervane
