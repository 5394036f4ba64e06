#include "engine/derived/statistics_tags/statistics_tags.h"

#include <utility>
#include <vector>

#include "engine/derived/statistics_tags/statistics_book.h"
#include "engine/derived/statistics_tags/statistics_stage.h"
#include "engine/derived/statistics_tags/statistics_tag_class.h"
#include "engine/derived/statistics_tags/statistics_worker.h"
#include "engine/derived/statistics_tags/window_values.h"

namespace zervane {

class StatisticsTags::Impl {
 public:
  Impl(Store& store, WritePath& writes, const Catalogue& all_tags, const Clock& clock)
      : catalogue(all_tags),
        book(clock),
        tags(book),
        stage(store, all_tags.tags(), book),
        worker(book, stage, WindowValues(store, all_tags.tags(), writes.current_values(), clock),
               writes, clock) {}

  const Catalogue& catalogue;
  StatisticsBook book;
  StatisticsTagClass tags;
  StatisticsStage stage;
  StatisticsWorker worker;
};

StatisticsTags::StatisticsTags(Store& store, WritePath& writes, const Catalogue& catalogue,
                               Clock clock)
    : impl_(std::make_unique<Impl>(store, writes, catalogue, clock)) {}

StatisticsTags::~StatisticsTags() { Stop(); }

TagClass& StatisticsTags::tag_class() { return impl_->tags; }

Stage& StatisticsTags::stage() { return impl_->stage; }

Status StatisticsTags::Load(Turn& turn) {
  const Catalogue& catalogue = impl_->catalogue;
  Result<std::vector<StatisticsRule>> rules =
      StatisticsRulesOf(*catalogue.image(), [&](TagId id) { return catalogue.LinksOf(id); });
  if (!rules.ok()) return rules.status();
  return impl_->stage.Load(turn, *std::move(rules));
}

void StatisticsTags::Start(bool by_thread) {
  if (by_thread) impl_->worker.Start();
}

void StatisticsTags::Stop() noexcept { impl_->worker.Stop(); }

Status StatisticsTags::Work() { return impl_->worker.Work(); }

}  // namespace zervane
