#include "engine/derived/calculations/calculations.h"

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

class Calculations::Impl {
 public:
  NoTags tags;
  NoStage stage;
};

Calculations::Calculations(Store&, WritePath&, const Catalogue&, Clock)
    : impl_(std::make_unique<Impl>()) {}

Calculations::~Calculations() { Stop(); }

TagClass& Calculations::tag_class() { return impl_->tags; }

Stage& Calculations::stage() { return impl_->stage; }

Status Calculations::Load(Turn&) { return {}; }

void Calculations::Start(bool) {}

void Calculations::Stop() noexcept {}

Status Calculations::Work() { return {}; }

}  // namespace zervane
