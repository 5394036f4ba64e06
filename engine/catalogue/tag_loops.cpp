#include "engine/catalogue/tag_loops.h"

#include <spdlog/fmt/fmt.h>

#include <algorithm>
#include <cstddef>
#include <optional>
#include <unordered_map>
#include <utility>

#include "engine/assert.h"

namespace zervane {
namespace {

// So many tags of either end of a loop are told.
constexpr std::size_t kMostNamesOfAnEnd = 10;

// A walk along what tags read, into the depth.
class LoopWalk {
 public:
  explicit LoopWalk(const ReadTags& reads) : reads_(reads) {}

  // Walks on from a tag. The one that closes a loop, which lies on the way that was come; none when
  // there is no loop behind the tag.
  std::optional<TagId> WalkFrom(TagId tag) {
    if (is_on_way_.contains(tag)) return std::nullopt;
    Enter(tag);
    while (!way_.empty()) {
      const std::optional<TagId> next = NextOf(way_.back());
      if (!next) {
        Leave();
        continue;
      }
      const auto known = is_on_way_.find(*next);
      if (known == is_on_way_.end()) {
        Enter(*next);
      } else if (known->second) {
        return next;
      }
    }
    return std::nullopt;
  }

  // The way from that tag to where the walk has ended, and the tag once more.
  std::vector<TagId> LoopOf(TagId closing) const {
    auto at = std::ranges::find(way_, closing, &Step::tag);
    std::vector<TagId> loop;
    for (; at != way_.end(); ++at) loop.push_back(at->tag);
    loop.push_back(closing);
    return loop;
  }

 private:
  struct Step {
    TagId tag = 0;
    TagLinks reads;  // those that were not looked at yet, the next one last
  };

  void Enter(TagId tag) {
    TagLinks reads = reads_(tag);
    std::erase(reads, TagId{0});
    std::ranges::reverse(reads);
    way_.push_back({.tag = tag, .reads = std::move(reads)});
    is_on_way_[tag] = true;
  }
  void Leave() {
    is_on_way_[way_.back().tag] = false;
    way_.pop_back();
  }
  static std::optional<TagId> NextOf(Step& step) {
    if (step.reads.empty()) return std::nullopt;
    const TagId next = step.reads.back();
    step.reads.pop_back();
    return next;
  }

  const ReadTags& reads_;
  std::vector<Step> way_;
  std::unordered_map<TagId, bool> is_on_way_;  // of all tags that were entered
};

}  // namespace

std::vector<TagId> FindLoop(std::span<const TagId> from, const ReadTags& reads) {
  LoopWalk walk(reads);
  for (const TagId tag : from) {
    if (const std::optional<TagId> closing = walk.WalkFrom(tag)) return walk.LoopOf(*closing);
  }
  return {};
}

std::string TextOfLoop(std::span<const TagId> loop,
                       const std::function<std::string_view(TagId)>& name_of) {
  ZERVANE_ASSERT(loop.size() >= 2);
  const bool is_long = loop.size() > 2 * kMostNamesOfAnEnd;
  std::string text;
  for (std::size_t at = 0; at < loop.size(); ++at) {
    if (at > 0) text += " reads ";
    text += fmt::format("'{}'", name_of(loop[at]));
    if (is_long && at + 1 == kMostNamesOfAnEnd) {
      const std::size_t next = loop.size() - kMostNamesOfAnEnd;
      text += fmt::format(" reads ({} more)", next - at - 1);
      at = next - 1;
    }
  }
  return text;
}

}  // namespace zervane
