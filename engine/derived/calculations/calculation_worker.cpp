#include "engine/derived/calculations/calculation_worker.h"

#include <algorithm>
#include <limits>
#include <optional>

#include "engine/assert.h"
#include "engine/guard.h"
#include "engine/log.h"

namespace zervane {
namespace {

// Whether the same may succeed later: it is not about what is written.
bool IsWorthAnotherTry(ZR3_STATUS code) {
  return code == ZR3_ERR_STORAGE_FAILED || code == ZR3_ERR_STORAGE_FULL ||
         code == ZR3_ERR_STORAGE_READ_ONLY || code == ZR3_ERR_STORAGE_DAMAGED ||
         code == ZR3_ERR_OUT_OF_MEMORY || code == ZR3_ERR_INTERNAL || code == ZR3_ERR_NOT_CONNECTED;
}

bool IsPolled(const CalculationGraph::Node& node) {
  return node.rule->mode == Calculation::Mode::kPoll;
}

bool IsPolledEvery(const CalculationGraph::Node* node, std::int64_t period_s) {
  return node != nullptr && node->rule != nullptr && IsPolled(*node) &&
         node->rule->period_s == period_s;
}

// While it lives, the stage leaves out calculation tags.
class OwnWrite {
 public:
  OwnWrite(CalculationStage& stage, std::uint64_t through) : stage_(stage) {
    stage_.BeginWriting(through);
  }
  OwnWrite(const OwnWrite&) = delete;
  OwnWrite& operator=(const OwnWrite&) = delete;
  ~OwnWrite() { stage_.EndWriting(); }

 private:
  CalculationStage& stage_;
};

}  // namespace

void CalculationWorker::Start() {
  const std::int64_t now_ms = clock_();
  opened_ms_ = now_ms;
  graph_.Visit([&](Node& node) { graph_.Set(CurrentOf(node.tag)); });
  graph_.Visit([&](Node& node) {
    if (node.rule == nullptr) return;
    node.since_ms = now_ms;
    if (IsPolled(node)) schedule_.Add(node.tag, node.rule->period_s, now_ms);
  });
}

Status CalculationWorker::Work(const std::function<bool()>& is_stopping) {
  return Guarded([&]() -> Status {
    if (Status status = history_.Begin(opened_ms_); !status.ok()) return status;
    for (;;) {
      if (Status status = Write(); !status.ok()) return status;
      if (is_stopping()) return {};
      const bool has_opened = ComputeOpening();
      const Result<bool> has_followed = ComputeNews();
      if (!has_followed.ok()) return has_followed.status();
      const bool was_due = ComputeDue();
      if (has_opened || *has_followed || was_due) continue;
      const Result<bool> has_past = ComputePast();
      if (!has_past.ok()) return has_past.status();
      if (!*has_past) return {};
    }
  });
}

bool CalculationWorker::ComputeOpening() {
  if (!is_opening_) return false;
  std::vector<Node*> first;
  graph_.Visit([&](Node& node) {
    if (node.rule == nullptr) return;
    const bool is_behind = std::ranges::any_of(node.targets, [&](const Node* target) {
      return node.rule->IsTriggeredBy(target->tag) && target->time_ms > node.time_ms;
    });
    if (is_behind) first.push_back(&node);
  });
  for (const TagId tag : unfollowed_) {
    if (const Node* const node = graph_.Find(tag)) AddTriggered(*node, first);
  }
  Run(first, kNoTime);
  has_rows_done_ = !unfollowed_.empty();
  is_opening_ = false;
  return true;
}

Result<bool> CalculationWorker::ComputeNews() {
  if (news_.empty()) news_ = stage_.queue().TakeAll();
  if (news_.empty()) return false;
  while (!news_.empty() && unwritten_.size() < kMostUnwritten) {
    const CalculationNews& news = news_.front();
    if (Status status = Follow(news); !status.ok()) return status;
    followed_ = news.number;
    has_rows_done_ = has_rows_done_ || news.notifies;
    news_.pop_front();
  }
  return true;
}

bool CalculationWorker::ComputeDue() {
  const std::int64_t now_ms = clock_();
  const std::optional<PollSchedule::Due> due = schedule_.DueAt(now_ms);
  if (const std::int64_t passed_over = schedule_.TakePassedOver(); passed_over > 0) {
    LogError("calculations: {} polled instants are too late and are passed over", passed_over);
  }
  if (!due) return false;
  std::vector<Node*> first;
  for (const TagId tag : due->tags) {
    Node* const node = graph_.Find(tag);
    ZERVANE_ASSERT(node != nullptr && node->rule != nullptr);
    // It was saved, or the database opened, before the clock was set back.
    if (node->since_ms > now_ms + PollSchedule::kMostSetBackMs) node->since_ms = kNoTime;
    if (node->since_ms < due->time_ms) first.push_back(node);
  }
  Run(first, due->time_ms);
  schedule_.SetDone(*due);
  return true;
}

// When nothing is to be computed live. What is newest by then is what a live value follows.
Result<bool> CalculationWorker::ComputePast() {
  if (!history_.HasWork()) return false;
  const Result<TagId> tag = history_.Step();
  if (!tag.ok()) return tag.status();
  if (*tag != 0) graph_.Set(CurrentOf(*tag));
  return true;
}

// ---- news ----

Status CalculationWorker::Follow(const CalculationNews& news) {
  FollowSaved(news);
  for (const TagId tag : news.removed) FollowRemoval(tag);
  std::vector<Node*> triggered;
  for (const OperandValue& value : news.values) FollowValue(value, triggered);
  Run(triggered, kNoTime);
  return news.corrects ? AskForCorrected() : Status();
}

// To do it twice is as to do it once, for what fails for want of memory is done again.
void CalculationWorker::FollowSaved(const CalculationNews& news) {
  for (const CalculationPtr& rule : news.saved) {
    const Node* const before = graph_.Find(rule->tag);
    const bool is_polled = rule->mode == Calculation::Mode::kPoll;
    const bool goes_on = is_polled && IsPolledEvery(before, rule->period_s);
    if (!goes_on && before != nullptr && before->rule != nullptr && IsPolled(*before)) {
      schedule_.Remove(rule->tag, before->rule->period_s);
    }
    if (!goes_on && is_polled) schedule_.Add(rule->tag, rule->period_s, news.saved_ms);
    Node& node = graph_.Put(rule);
    if (!goes_on) node.since_ms = news.saved_ms;
  }
  // What calculation tags hold is known already, and may be newer than what is stored.
  for (const OperandValue& value : news.found) {
    const Node* const node = graph_.Find(value.tag);
    if (node != nullptr && node->rule == nullptr) graph_.Set(value);
  }
}

void CalculationWorker::FollowRemoval(TagId tag) {
  const Node* const node = graph_.Find(tag);
  if (node != nullptr && node->rule != nullptr && IsPolled(*node)) {
    schedule_.Remove(tag, node->rule->period_s);
  }
  graph_.Remove(tag);
}

// Nothing may come behind it that has the stage tell it. It is followed before anything is polled.
Status CalculationWorker::AskForCorrected() {
  const auto plan = [this](Turn& turn, StoreBatch&) {
    stage_.PrepareCorrected(turn);
    return Status();
  };
  Status status = writes_.Change(plan, [](Turn&) {});
  news_.splice(news_.end(), stage_.queue().TakeAll());
  return status;
}

void CalculationWorker::FollowValue(const OperandValue& value, std::vector<Node*>& triggered) {
  Node* const node = graph_.Find(value.tag);
  if (node == nullptr) return;
  graph_.Set(value);
  AddTriggered(*node, triggered);
}

void CalculationWorker::AddTriggered(const Node& node, std::vector<Node*>& triggered) {
  for (Node* const reader : node.readers) {
    if (reader->rule->IsTriggeredBy(node.tag)) triggered.push_back(reader);
  }
}

OperandValue CalculationWorker::CurrentOf(TagId tag) const {
  const std::optional<Sample> sample = writes_.current_values().Find(tag);
  if (!sample) return {.tag = tag, .number = std::numeric_limits<double>::quiet_NaN()};
  return {.tag = tag, .number = OperandOf(*sample), .time_ms = sample->time_ms};
}

// ---- results ----

void CalculationWorker::Run(const std::vector<Node*>& first, std::int64_t time_ms) {
  const std::size_t before = unwritten_.size();
  try {
    pass_.Run(first, time_ms, unwritten_);
  } catch (...) {
    unwritten_.tags.resize(before);
    unwritten_.samples.Cut(before);
    throw;
  }
}

Status CalculationWorker::Write() {
  while (!unwritten_.empty()) {
    std::vector<RowChange> rows;
    if (has_rows_done_) rows.push_back(NotifyRows::AllDone());
    const OwnWrite own(stage_, followed_);
    const Result<WriteSamples::Reply> reply = writes_.WriteAsSystem(unwritten_, std::move(rows));
    if (!reply.ok()) return reply.status();
    if (reply->status == ZR3_OK) {
      unwritten_.Clear();
      has_rows_done_ = false;
    } else if (Status status = DropRefused(*reply); !status.ok()) {
      return status;
    }
  }
  return has_rows_done_ ? WriteDone() : Status();
}

// Nothing came of what was followed.
Status CalculationWorker::WriteDone() {
  const auto plan = [this](Turn& turn, StoreBatch& batch) {
    batch.rows.push_back(NotifyRows::AllDone());
    stage_.PrepareDone(turn, followed_, batch);
    return Status();
  };
  Status status = writes_.Change(plan, [](Turn&) {});
  if (status.ok()) has_rows_done_ = false;
  return status;
}

// A tag that went meanwhile, or whose type is another now, takes no record; the others are to have
// theirs.
Status CalculationWorker::DropRefused(const WriteSamples::Reply& reply) {
  SampleBatch left;
  for (std::size_t at = 0; at < unwritten_.size(); ++at) {
    const ZR3_STATUS code = at < reply.codes.size() ? reply.codes[at] : reply.status;
    if (IsWorthAnotherTry(code)) return {code, zr3_status_text(code)};
    if (code == ZR3_OK) {
      left.Add(unwritten_.tags[at], unwritten_.samples.At(at));
    } else if (code != ZR3_ERR_TAG_NOT_FOUND) {
      LogError("a record of calculation tag {} is refused: {}", unwritten_.tags[at],
               zr3_status_text(code));
    }
  }
  unwritten_ = std::move(left);
  return {};
}

}  // namespace zervane
