// What becomes of a database when memory runs out: in every kind of call each request for memory
// fails once. The call says so, or succeeds all the same; nothing that was answered is lost,
// nothing that was refused has happened, and with memory back everything works.

#include <gtest/gtest.h>
#include <unistd.h>

#include <algorithm>
#include <cstdint>
#include <memory>
#include <string>
#include <thread>
#include <vector>

#include "api/database.h"
#include "api/operation_table.h"
#include "tests/engine/short_memory.h"
#include "tests/support/case_name.h"
#include "tests/vask/memory_deeds.h"
#include "tests/vask/memory_world.h"

namespace zervane {
namespace {

using Kind = World::Kind;
using Lack = ShortMemory::Lack;
using Whose = ShortMemory::Whose;

// Then a test that hangs is ended: more than any takes where many others share the processor.
constexpr unsigned kPatienceSeconds = 1'200;
constexpr std::uint64_t kMostRequests = 20'000;

struct MemoryCase {
  const char* name;
  Kind kind;
  Lack lack;
};

class ShortOfMemory : public testing::TestWithParam<MemoryCase> {
 protected:
  ShortOfMemory() { alarm(kPatienceSeconds); }
  ~ShortOfMemory() override { alarm(0); }

  // Has `round(n)` tell whether a request failed, for n = 1, 2, ... until none did; or for every
  // `step`-th of them from `first` on.
  template <typename Round>
  static void ForEveryRequest(Round&& round, std::uint64_t first = 1, std::uint64_t step = 1) {
    bool has_failed = true;
    for (std::uint64_t nth = first; has_failed; nth += step) {
      SCOPED_TRACE("request " + std::to_string(nth));
      ASSERT_LT(nth, kMostRequests);
      has_failed = round(nth);
      ASSERT_FALSE(HasFailure());
    }
  }

  // What a call answers, made on a thread of its own, whose n-th request for memory fails.
  template <typename Call>
  static int32 StatusOf(Call&& call, std::uint64_t nth) {
    int32 status = ZR3_ERR_INTERNAL;
    std::thread([&] {
      const ShortMemory memory(nth, GetParam().lack);
      status = call();
    }).join();
    return status;
  }

  static void ExpectSuccessOrNoMemory(int32 status) {
    EXPECT_TRUE(status == ZR3_OK || status == ZR3_ERR_OUT_OF_MEMORY) << status;
  }

  // With the n-th request of the call failing, and again if that was answered.
  static bool TryTwice(World& world, const Deed& deed, std::uint64_t nth) {
    const Attempt attempt = deed.prepare(world);
    const int32 status = StatusOf(attempt.call, nth);
    const bool has_failed = ShortMemory::Failed() > 0;
    if (status != attempt.expected) {
      EXPECT_EQ(status, ZR3_ERR_OUT_OF_MEMORY);
      EXPECT_TRUE(has_failed);
      for (const uint32 id : attempt.tags) world.Check(id);
      EXPECT_EQ(attempt.call(), attempt.expected);
    }
    attempt.done();
    for (const uint32 id : attempt.tags) world.Check(id);
    return has_failed;
  }
};

// Some tags with records, of which a part is held back.
void Populate(World& world) {
  std::vector<Sample> numbers;
  std::vector<Sample> texts;
  for (std::int64_t time_ms = 1000; time_ms <= 10'000; time_ms += 1000) {
    numbers.push_back({.time_ms = time_ms, .value = 0.25});
    texts.push_back({.time_ms = time_ms, .type = TagType::kString, .value = std::string("on")});
  }
  world.Write(world.AddTag(), numbers);
  world.Write(world.AddTag(TagType::kString), texts);
  world.AddHoldingTag();
}

constexpr MemoryCase kFolderCases[] = {{"FolderOnce", Kind::kFolder, Lack::kOne},
                                       {"FolderFromThenOn", Kind::kFolder, Lack::kRest}};
constexpr MemoryCase kSmallFolderCases[] = {
    {"SmallFolderOnce", Kind::kSmallFolder, Lack::kOne},
    {"SmallFolderFromThenOn", Kind::kSmallFolder, Lack::kRest}};
constexpr MemoryCase kVolatileCases[] = {{"VolatileOnce", Kind::kVolatile, Lack::kOne},
                                         {"VolatileFromThenOn", Kind::kVolatile, Lack::kRest}};

// ---- calls ----

using CallShortOfMemory = ShortOfMemory;

TEST_P(CallShortOfMemory, IsAnsweredAndLeavesEverythingUsable) {
  World world(GetParam().kind);
  for (const Deed& deed : AllDeeds()) {
    SCOPED_TRACE(deed.name);
    ForEveryRequest([&](std::uint64_t nth) { return TryTwice(world, deed, nth); });
    if (world.IsKept()) {
      world.Disconnect();
      world.Connect();
    }
    world.CheckAll();
    ASSERT_FALSE(HasFailure());
  }
}

TEST_P(CallShortOfMemory, ClosesADatabaseWithAllThatWasAnswered) {
  World world(GetParam().kind);
  ForEveryRequest([&](std::uint64_t nth) {
    Populate(world);
    ExpectSuccessOrNoMemory(StatusOf(nt3_disconnect, nth));
    const bool has_failed = ShortMemory::Failed() > 0;
    world.Connect();
    if (!world.IsKept()) world.ForgetAll();
    world.CheckAll();
    return has_failed;
  });
}

INSTANTIATE_TEST_SUITE_P(Folder, CallShortOfMemory, testing::ValuesIn(kFolderCases), CaseName());
INSTANTIATE_TEST_SUITE_P(SmallFolder, CallShortOfMemory, testing::ValuesIn(kSmallFolderCases),
                         CaseName());
INSTANTIATE_TEST_SUITE_P(Volatile, CallShortOfMemory, testing::ValuesIn(kVolatileCases),
                         CaseName());

// ---- connecting ----

class ConnectionShortOfMemory : public ShortOfMemory {
 protected:
  // Connecting asks for memory more than a thousand times, and each round takes milliseconds: half
  // of the requests fail alone, and the other half with all that follow. Under sanitizers, where a
  // round takes ten times as long, a tenth of them.
  template <typename Round>
  static void ForShareOfTheRequests(Round&& round) {
    ForEveryRequest(round, GetParam().lack == Lack::kOne ? 1 : 1 + kStep / 2, kStep);
  }
#if defined(__SANITIZE_ADDRESS__) || defined(__SANITIZE_THREAD__)
  static constexpr std::uint64_t kStep = 20;
#else
  static constexpr std::uint64_t kStep = 2;
#endif

  // Each time to the folder as it was.
  static void ConnectTwice(World& world, std::uint64_t nth) {
    if (world.IsKept()) world.Restore();
    ExpectSuccessOrNoMemory(StatusOf([&] { return world.TryConnect(); }, nth));
    world.Connect();
  }
};

TEST_P(ConnectionShortOfMemory, IsMadeAgainToANewDatabase) {
  World world(GetParam().kind);
  world.Disconnect();
  ForShareOfTheRequests([&](std::uint64_t nth) {
    world.ForgetAll();
    ConnectTwice(world, nth);
    const bool has_failed = ShortMemory::Failed() > 0;
    world.AddTag();
    world.CheckAll();
    world.Disconnect();
    return has_failed;
  });
}

// A volatile one is gone then.
class ReconnectionShortOfMemory : public ConnectionShortOfMemory {};

TEST_P(ReconnectionShortOfMemory, IsMadeAgainToADatabaseThatWasNotClosed) {
  World world(Kind::kSmallFolder);
  Populate(world);
  world.Disconnect();  // with chunks
  world.Become(GetParam().kind);
  world.Connect();
  Populate(world);  // with a journal
  world.KeepCopy();
  world.Disconnect();
  ForShareOfTheRequests([&](std::uint64_t nth) {
    ConnectTwice(world, nth);
    const bool has_failed = ShortMemory::Failed() > 0;
    world.CheckAll();
    world.Disconnect();
    return has_failed;
  });
}

INSTANTIATE_TEST_SUITE_P(Folder, ConnectionShortOfMemory, testing::ValuesIn(kFolderCases),
                         CaseName());
INSTANTIATE_TEST_SUITE_P(Folder, ReconnectionShortOfMemory, testing::ValuesIn(kFolderCases),
                         CaseName());
INSTANTIATE_TEST_SUITE_P(Volatile, ConnectionShortOfMemory, testing::ValuesIn(kVolatileCases),
                         CaseName());

// ---- the engine's own threads ----

class ThreadsShortOfMemory : public ShortOfMemory {
 protected:
  struct Tags {
    uint32 number;
    uint32 text;
    uint32 queued;
    uint32 removed;
  };

  // What a write of one tag was answered. What was not refused may be there, whatever the answer.
  static bool Save(World& world, uint32 id, const std::vector<Sample>& samples,
                   WriteAnswer answer) {
    auto block = std::make_unique<RecordBlock>();
    for (const Sample& sample : samples) block->Add(id, sample);
    const auto save =
        answer == WriteAnswer::kDurable ? sn3_save_snapshots : sn3_save_snapshots_nowait;
    const int32 status = save(block->count, block->ids, block->records, block->codes);
    ExpectSuccessOrNoMemory(status);
    const bool is_stored =
        answer == WriteAnswer::kDurable &&
        std::count(block->codes, block->codes + block->count, ZR3_OK) == block->count;
    for (const Sample& sample : samples) {
      world.Tag(id).perhaps[sample.time_ms] = sample;
      if (is_stored) world.Tag(id).Wrote(sample);
    }
    return status == ZR3_OK;
  }
};

std::vector<Sample> SamplesFrom(std::int64_t from_ms, TagType type) {
  std::vector<Sample> samples;
  for (std::int64_t time_ms = from_ms; time_ms < from_ms + 6000; time_ms += 1000) {
    samples.push_back({.time_ms = time_ms, .type = type, .value = 0.25});
    if (type == TagType::kString) samples.back().value = std::string(100, 't');
  }
  return samples;
}

TEST_P(ThreadsShortOfMemory, LoseNothingThatWasAnswered) {
  World world(GetParam().kind);
  ForEveryRequest([&](std::uint64_t nth) {
    const Tags tags = {world.AddTag(), world.AddTag(TagType::kString), world.AddTag(),
                       world.AddHoldingTag()};
    bool all_well = true;
    {
      const ShortMemory memory(nth, GetParam().lack, Whose::kOtherThreads);
      for (std::int64_t from_ms = 1000; from_ms <= 15'000; from_ms += 7000) {
        all_well &=
            Save(world, tags.queued, SamplesFrom(from_ms, TagType::kFloat64), WriteAnswer::kQueued);
        all_well &= Save(world, tags.number, SamplesFrom(from_ms, TagType::kFloat64),
                         WriteAnswer::kDurable);
        all_well &=
            Save(world, tags.text, SamplesFrom(from_ms, TagType::kString), WriteAnswer::kDurable);
      }
      // It waits for the chunks that are being written.
      if (tag3_delete_tag(tags.removed) == ZR3_OK) world.Forget(tags.removed);
    }
    const bool has_failed = ShortMemory::Failed() > 0;
    all_well &=
        Save(world, tags.number, SamplesFrom(30'000, TagType::kFloat64), WriteAnswer::kDurable);
    // A loss of what was queued is told once by a write that waits.
    const auto queued = world.Tag(tags.queued).perhaps;
    for (const auto& [time_ms, sample] : queued) {
      if (all_well) world.Tag(tags.queued).Wrote(sample);
    }
    for (const uint32 id : {tags.number, tags.text, tags.queued, tags.removed}) world.Check(id);
    world.Write(tags.number, SamplesFrom(40'000, TagType::kFloat64));
    world.Check(tags.number);
    return has_failed;
  });
  world.Disconnect();
  world.Connect();
  world.CheckAll();
}

// All that the journal has is brought into chunks then.
TEST_P(ThreadsShortOfMemory, LoseNothingOfADatabaseThatIsClosed) {
  World world(Kind::kFolder);
  Populate(world);
  world.KeepCopy();
  world.Disconnect();
  world.Become(GetParam().kind);
  ForEveryRequest([&](std::uint64_t nth) {
    world.Restore();
    world.Connect();
    {
      const ShortMemory memory(nth, GetParam().lack, Whose::kOtherThreads);
      ExpectSuccessOrNoMemory(nt3_disconnect());
    }
    const bool has_failed = ShortMemory::Failed() > 0;
    world.Connect();
    world.CheckAll();
    world.Disconnect();
    return has_failed;
  });
}

INSTANTIATE_TEST_SUITE_P(SmallFolder, ThreadsShortOfMemory, testing::ValuesIn(kSmallFolderCases),
                         CaseName());

}  // namespace
}  // namespace zervane
