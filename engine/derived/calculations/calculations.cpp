#include "engine/derived/calculations/calculations.h"

#include <utility>
#include <vector>

#include "engine/derived/calculations/calculation_history.h"
#include "engine/derived/calculations/calculation_rules.h"
#include "engine/derived/calculations/calculation_stage.h"
#include "engine/derived/calculations/calculation_tags.h"
#include "engine/derived/calculations/calculation_worker.h"
#include "engine/work_thread.h"

namespace zervane {

class Calculations::Impl {
 public:
  Impl(Store& store, WritePath& writes, const Catalogue& catalogue, const Clock& clock)
      : store_(store),
        catalogue_(catalogue),
        tags_(rules_),
        history_(store, writes, catalogue.tags(), clock),
        stage_(rules_, history_, writes.current_values(), clock),
        worker_(stage_, history_, writes, clock),
        thread_({.what = "calculations",
                 .work = [this] { return Work(); },
                 .next_deadline_ms = [this] { return worker_.next_deadline_ms(); }},
                clock) {
    stage_.OnNews([this] { thread_.Wake(); });
  }

  TagClass& tags() { return tags_; }
  Stage& stage() { return stage_; }

  Status Load(Turn& turn) {
    const Result<std::vector<CalculationPtr>> rules =
        CalculationsOf(*catalogue_.image(), [this](TagId id) { return catalogue_.LinksOf(id); });
    if (!rules.ok()) return rules.status();
    rules_.Load(*rules);
    if (Status status = stage_.Load(turn, store_); !status.ok()) return status;
    worker_.Load(*rules, stage_.unfollowed());
    return history_.Load(turn, *rules);
  }

  void Start(bool by_thread) {
    worker_.Start();
    if (by_thread) thread_.Start();
  }
  void Stop() noexcept { thread_.Stop(); }
  Status Work() {
    return worker_.Work([this] { return thread_.is_stopping(); });
  }

 private:
  Store& store_;
  const Catalogue& catalogue_;
  CalculationRules rules_;
  CalculationTags tags_;
  CalculationHistory history_;
  CalculationStage stage_;
  CalculationWorker worker_;
  WorkThread thread_;  // goes first, for it uses all of the above
};

Calculations::Calculations(Store& store, WritePath& writes, const Catalogue& catalogue, Clock clock)
    : impl_(std::make_unique<Impl>(store, writes, catalogue, clock)) {}

Calculations::~Calculations() { Stop(); }

TagClass& Calculations::tag_class() { return impl_->tags(); }

Stage& Calculations::stage() { return impl_->stage(); }

Status Calculations::Load(Turn& turn) { return impl_->Load(turn); }

void Calculations::Start(bool by_thread) { impl_->Start(by_thread); }

void Calculations::Stop() noexcept { impl_->Stop(); }

Status Calculations::Work() { return impl_->Work(); }

}  // namespace zervane
