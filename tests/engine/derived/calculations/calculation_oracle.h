#pragma once

#include <cstdint>
#include <map>
#include <optional>
#include <set>
#include <utility>
#include <vector>

#include "api/words/value.h"

namespace zervane {

// A second implementation of calculation tags, as plain as can be: in every pass it asks each of
// them anew whether it is computed.
class CalculationOracle {
 public:
  struct Record {
    std::int64_t time_ms = kNoTime;
    double number = 0;
    bool is_good = false;
  };
  using Records = std::map<std::int64_t, Record>;  // by their times

  struct Rule {
    TagType type = TagType::kFloat64;
    bool is_polled = false;
    std::int64_t period_s = 1;
    TagId source = 0;
    // The first operand by the second; or the constant, and the factors by their operands.
    bool divides = false;
    double constant = 0;
    std::vector<std::pair<double, TagId>> terms;
  };

  explicit CalculationOracle(std::int64_t now_ms) : now_ms_(now_ms) {}

  // A commit of records of point tags, in their order; of a tag that is saved, or that goes.
  void Write(const std::vector<std::pair<TagId, Record>>& records);
  void Save(TagId tag, const Rule& rule);
  void Remove(TagId tag);
  // A record of that time is replaced.
  void Correct(TagId tag, const Record& record);

  // Everything that waits, and then what is due.
  void Work();
  // It is closed, whatever waits, and opened again.
  void Reopen();
  void SetClock(std::int64_t now_ms) { now_ms_ = now_ms; }

  const Records& RecordsOf(TagId tag) { return records_[tag]; }

 private:
  struct Commit {
    std::map<TagId, Record> values = {};
    std::map<TagId, Record> corrected = {};
    std::optional<std::pair<TagId, Rule>> saved = {};
    std::int64_t saved_ms = 0;
    TagId removed = 0;
  };
  struct Calculated {
    Rule rule;
    std::int64_t behind_ms = 0;  // it is polled at multiples behind this time
  };
  // What a pass asks for.
  struct Pass {
    std::set<TagId> changed = {};
    std::set<TagId> asked = {};
    std::int64_t polled_ms = kNoTime;
    std::map<TagId, bool> has_new_value = {};
  };

  void FollowTags(const Commit& commit);
  bool Notifies(TagId tag) const;
  void PollUpTo(std::int64_t now_ms);
  void Run(Pass pass);
  bool Decide(TagId tag, Pass& pass);
  bool Compute(TagId tag, std::int64_t polled_ms);
  Record ResultOf(const Rule& rule, std::int64_t time_ms) const;
  static std::set<TagId> TargetsOf(const Rule& rule);
  static std::set<TagId> TriggersOf(const Rule& rule);
  Record NewestOf(TagId tag) const;
  Record HeldBy(TagId tag) const;

  std::int64_t now_ms_;
  std::map<TagId, Records> records_;  // as they are stored
  Pass opening_;                      // what is asked for first
  std::set<TagId> unfollowed_;        // whose values were reasons to compute when it was closed
  std::vector<Commit> waiting_;
  std::map<TagId, Calculated> calculated_;
  std::map<TagId, Record> held_;  // as of the last commit that was followed
};

}  // namespace zervane
