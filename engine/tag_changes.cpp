#include "engine/tag_changes.h"

#include <spdlog/fmt/fmt.h>

#include <optional>

namespace zervane {
namespace {

Result<Nothing> NothingOr(const Result<TagId>& changed) {
  if (!changed.ok()) return changed.status();
  return Nothing{};
}

}  // namespace

Result<TagId> TagChanges::Handle(const Caller& caller, const AddTag& operation) {
  return Change([&](StoreBatch& batch) {
    return catalogue_.PlanAdd(operation.tag, operation.mask, StampOf(caller), batch);
  });
}

Result<Nothing> TagChanges::Handle(const Caller& caller, const ModifyTag& operation) {
  return NothingOr(Change([&](StoreBatch& batch) {
    return catalogue_.PlanModify(operation.id, operation.tag_class, operation.tag, operation.mask,
                                 StampOf(caller), batch);
  }));
}

Result<Nothing> TagChanges::Handle(const Caller&, const DeleteTag& operation) {
  return NothingOr(
      Change([&](StoreBatch& batch) { return catalogue_.PlanRemove(operation.id, batch); }));
}

Result<TagId> TagChanges::Change(const Plan& plan) {
  std::optional<CatalogueChange> change;
  const auto prepare = [&](Turn& turn, StoreBatch& batch) -> Status {
    Result<CatalogueChange> planned = plan(batch);
    if (!planned.ok()) return planned.status();
    change = *std::move(planned);
    return CheckType(turn, *change);
  };
  const auto adopt = [&](Turn&) { catalogue_.Adopt(*change); };
  if (Status status = writes_.Change(prepare, adopt); !status.ok()) return status;
  return change->id();
}

Status TagChanges::CheckType(Turn& turn, const CatalogueChange& change) {
  if (!change.changes_type()) return {};
  const Result<bool> holds_records = writes_.HoldsRecords(turn, change.id());
  if (!holds_records.ok()) return holds_records.status();
  if (!*holds_records) return {};
  return {ZR3_ERR_TAG_HAS_RECORDS, fmt::format("tag {} keeps its type", change.id())};
}

}  // namespace zervane
