#include "engine/write/write_path.h"

#include <spdlog/fmt/fmt.h>

#include <algorithm>
#include <functional>
#include <limits>
#include <utility>

#include "engine/assert.h"
#include "engine/guard.h"
#include "engine/write/acceptance.h"

namespace zervane {
namespace {

// Of records as they wait in the queue, or more.
std::size_t BytesOf(const SampleBatch& batch) {
  return batch.size() * WriteGroup::kRecordBytes + batch.samples.texts().size();
}

bool IsSystem(const Caller& caller) { return caller.session == Caller::System().session; }

// The answer to a batch that is not stored: records that were refused keep their codes.
void Fail(ZR3_STATUS code, std::size_t records, WriteSamples::Reply& reply) {
  reply.status = code;
  reply.codes.resize(records, ZR3_OK);
  std::replace(reply.codes.begin(), reply.codes.end(), std::int32_t{ZR3_OK}, code);
}

// Looks for any record.
class AnyRecord : public ScanVisitor {
 public:
  Wants Offer(const RunSummary& run) override {
    is_found_ = is_found_ || run.count > 0;
    return is_found_ ? Wants::kStop : Wants::kNext;
  }
  bool Show(const SampleColumns&, std::size_t, std::size_t) override { return false; }

  bool is_found() const { return is_found_; }

 private:
  bool is_found_ = false;
};

}  // namespace

WritePath::WritePath(Store& store, const TagIndex& tags, Clock clock)
    : store_(store),
      tags_(tags),
      committer_(store, tags, current_values_, feed_),
      admission_(tags, current_values_, std::move(clock)) {}

WritePath::~WritePath() = default;

Status WritePath::Start(Turn turn, const WriteQueue::Limits& limits) {
  return Guarded([&] {
    if (Status status = committer_.Start(turn); !status.ok()) return status;
    if (Status status = LoadCurrentValues(turn); !status.ok()) return status;
    WriteQueue::Owner& owner = *this;
    queue_.emplace(owner, std::move(turn), limits);
    return Status();
  });
}

// Unlocked: there is neither a queue nor another thread yet.
Status WritePath::LoadCurrentValues(Turn& turn) NO_THREAD_SAFETY_ANALYSIS {
  const Result<SampleBatch> stored = store_.ReadCurrent(1, std::numeric_limits<TagId>::max());
  if (!stored.ok()) return stored.status();
  for (std::size_t at = 0; at < stored->size(); ++at) {
    const TagId tag = stored->tags[at];
    const ZR3_STATUS code = JudgeStored(stored->samples, at, tags_.Find(tag));
    if (code != ZR3_OK) {
      return {ZR3_ERR_STORAGE_DAMAGED,
              fmt::format("the stored current value of tag {}: {}", tag, zr3_status_text(code))};
    }
    admission_.NoteStored(tag, stored->samples.times()[at]);
    current_values_.Put(turn, current_values_.Prepare(turn, tag, stored->samples, at));
  }
  return {};
}

Result<WriteSamples::Reply> WritePath::Write(const Caller& caller, const WriteSamples& write) {
  const WriteRules rules = {.order = write.order, .is_system = IsSystem(caller)};
  return Send(write.batch, rules,
              {.answer = write.answer, .session = caller.session, .bytes = BytesOf(write.batch)});
}

Result<WriteSamples::Reply> WritePath::WriteAsSystem(const SampleBatch& batch,
                                                     std::vector<RowChange> rows) {
  ZERVANE_ASSERT(!batch.empty());
  const WriteRules rules = {.order = WriteOrder::kAnyOrder, .is_system = true, .is_whole = true};
  return Send(batch, rules,
              {.answer = WriteAnswer::kDurable,
               .session = Caller::System().session,
               .bytes = BytesOf(batch),
               .rows = rows});
}

Result<WriteSamples::Reply> WritePath::Send(const SampleBatch& batch, const WriteRules& rules,
                                            const WriteQueue::Offer& offer) {
  if (batch.tags.size() != batch.samples.size()) {
    return Status(ZR3_ERR_INVALID_COUNT,
                  fmt::format("{} tags, {} samples", batch.tags.size(), batch.samples.size()));
  }
  if (!HasAllTexts(batch.samples)) {
    return Status(ZR3_ERR_INVALID_ARGUMENT, "a text outside of its batch");
  }
  WriteSamples::Reply reply;
  // At once, so that a batch that is answered when queued is not promised what cannot be.
  if (committer_.is_lost() && !batch.empty()) {
    Fail(ZR3_ERR_STORAGE_FAILED, batch.size(), reply);
    return reply;
  }
  const auto admit = [&](RecordBatch& records) {
    queue_->mutex().AssertHeld();
    admission_.Admit(batch, rules, records, reply.codes);
  };
  const auto [stored, lost] = queue_->Write(offer, std::cref(admit));
  if (stored.code() == ZR3_ERR_NOT_CONNECTED) return stored;
  if (!stored.ok()) {
    Fail(stored.code(), batch.size(), reply);
    return reply;
  }
  reply.status = reply.codes.empty() ? ZR3_OK : ZR3_ERR_SOME_RECORDS_FAILED;
  if (!lost.ok()) reply.status = lost.code();
  return reply;
}

Status WritePath::Change(const Committer::Plan& plan, const Committer::Adopt& adopt) {
  const auto change = [&](Turn& turn) { return committer_.Change(turn, plan, adopt); };
  return queue_->Run(std::cref(change));
}

// The store is asked too: a damaged one may have lost the current value alone.
Result<bool> WritePath::HoldsRecords(Turn& turn, TagId tag) {
  queue_->PauseAdmission(turn);
  {
    const MutexLock lock(queue_->mutex());
    if (admission_.HoldsRecords(tag)) return true;
  }
  AnyRecord archived;
  if (Status status = store_.Scan(tag, {}, Direction::kBackward, archived); !status.ok()) {
    return status;
  }
  if (archived.is_found()) return true;
  const Result<std::optional<Sample>> held = store_.ReadHeld(tag);
  if (!held.ok()) return held.status();
  return held->has_value();
}

Status WritePath::Close() {
  if (!queue_) return {};  // it never started
  queue_->Close();
  feed_.Close();
  return queue_->TellAnyLost();
}

CommitAnswer WritePath::Commit(Turn& turn, RecordBatch& records, std::span<const RowChange> rows) {
  return committer_.Commit(turn, records, rows);
}

void WritePath::FallBackToStored(const RecordBatch& settled) noexcept {
  queue_->mutex().AssertHeld();
  admission_.FallBackToStored(settled);
}

void WritePath::CountQueued(const RecordBatch& queued) noexcept {
  queue_->mutex().AssertHeld();
  admission_.CountQueued(queued);
}

}  // namespace zervane
