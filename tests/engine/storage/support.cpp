#include "tests/engine/storage/support.h"

#include <sys/wait.h>
#include <unistd.h>

#include <bit>
#include <cstdlib>
#include <fstream>
#include <map>
#include <utility>

#include "engine/storage/codec/chunk_codec.h"
#include "engine/storage/codec/journal_entry.h"
#include "engine/storage/codec/summary_codec.h"
#include "engine/storage/sqlite/sqlite.h"

namespace zervane::storage {
namespace fs = std::filesystem;

namespace {

std::unique_ptr<Connection> OpenFile(const fs::path& folder) {
  auto connection = Connection::Open(folder / "zervane.db");
  EXPECT_TRUE(connection.ok()) << connection.status().message();
  if (!connection.ok()) std::abort();
  return *std::move(connection);
}

// What the chunks of a file say, by tag and first time.
using ChunkStatistics = std::map<std::pair<std::int64_t, std::int64_t>, RunStatistics>;

// Every summary is that of the chunk, or of the chunks, whose times it has.
void ExpectTrueSummaries(Connection& file, const ChunkStatistics& chunks) {
  Query rows(file, "SELECT tag, level, first_time, payload FROM summary");
  while (rows.Next()) {
    const Decoded<Summary> summary = DecodeSummary(rows.Bytes(3));
    ASSERT_TRUE(summary.ok()) << summary.damage().what;
    EXPECT_EQ(summary->tag, rows.Integer(0));
    EXPECT_EQ(static_cast<std::int64_t>(summary->level), rows.Integer(1));
    EXPECT_EQ(summary->run.first_ms, rows.Integer(2));
    auto chunk = chunks.find({summary->tag, summary->run.first_ms});
    ASSERT_NE(chunk, chunks.end()) << "a summary of no chunk";
    RunStatistics run = chunk->second;
    std::int64_t members = 1;
    while (++chunk != chunks.end() && chunk->first.first == summary->tag &&
           chunk->second.last_ms <= summary->run.last_ms) {
      ASSERT_EQ(chunk->second.course, run.course);
      Append(run, chunk->second);
      ++members;
    }
    ExpectSame(summary->run, run);
    if (summary->level == SummaryLevel::kGroup) {
      EXPECT_EQ(summary->member, members);
    }
  }
  EXPECT_TRUE(rows.status().ok());
}

}  // namespace

std::unique_ptr<Store> MustOpen(const fs::path& folder, const SqliteStoreOptions& options,
                                const TextEncoding& encoding) {
  Result<std::unique_ptr<Store>> store = OpenSqliteStore(folder, encoding, options);
  EXPECT_TRUE(store.ok()) << store.status().message();
  if (!store.ok()) std::abort();
  return *std::move(store);
}

bool Identical(const Sample& a, const Sample& b) {
  const auto bits = [](const Value& value) -> Value {
    if (value.kind() == Value::Kind::kFloat32) return std::bit_cast<std::int32_t>(value.float32());
    if (value.kind() == Value::Kind::kFloat64) {
      return std::to_string(std::bit_cast<std::uint64_t>(value.float64()));
    }
    return value;
  };
  return a.time_ms == b.time_ms && a.quality == b.quality && a.type == b.type &&
         a.value.kind() == b.value.kind() && bits(a.value) == bits(b.value);
}

void CopyAsAfterCrash(const fs::path& from, const fs::path& to) {
  fs::create_directories(to);
  for (const char* name : {"zervane.db", "zervane.db-wal"}) {
    if (!fs::exists(from / name)) continue;
    // Not by copy_file, which fails when the log starts over meanwhile and is cut.
    std::ifstream source(from / name, std::ios::binary);
    std::ofstream copy(to / name, std::ios::binary);
    if (source.peek() != std::ifstream::traits_type::eof()) copy << source.rdbuf();
    EXPECT_TRUE(copy.good() && !source.bad()) << (to / name);
  }
}

// While a reader has the file open, SQLite neither moves pages into it that came after the reader
// nor begins its log anew, so that the file and the log, copied in this order, belong together.
void CopyWhileOpen(const fs::path& from, const fs::path& to) {
  const auto file = OpenFile(from);
  const Transaction state(*file, Transaction::Kind::kRead);
  Query first_read(*file, "SELECT count(*) FROM settings");
  EXPECT_TRUE(state.status().ok() && first_read.Next());
  CopyAsAfterCrash(from, to);
}

void ExpectInChild(const std::function<void()>& body) {
  const pid_t child = fork();
  ASSERT_GE(child, 0);
  if (child == 0) {
    body();
    _exit(testing::Test::HasFailure() ? 1 : 0);
  }
  int status = 0;
  ASSERT_EQ(waitpid(child, &status, 0), child);
  EXPECT_TRUE(WIFEXITED(status)) << "ended by signal " << WTERMSIG(status);
  EXPECT_EQ(WEXITSTATUS(status), 0) << "an expectation failed in the child, see above";
}

void ExpectWholeFile(const fs::path& folder) {
  const auto file = OpenFile(folder);
  Query check(*file, "PRAGMA integrity_check");
  ASSERT_TRUE(check.Next());
  EXPECT_EQ(check.Bytes(0), "ok");
  std::map<std::int64_t, std::int64_t> last_ms;
  ChunkStatistics statistics;
  Query chunks(*file,
               "SELECT tag, first_time, last_time, count, payload FROM chunk "
               "ORDER BY tag, first_time");
  while (chunks.Next()) {
    const std::int64_t tag = chunks.Integer(0);
    const auto records = DecodeChunk(chunks.Bytes(4), {});
    ASSERT_TRUE(records.ok()) << records.damage().what;
    EXPECT_EQ(records->times().front(), chunks.Integer(1));
    EXPECT_EQ(records->times().back(), chunks.Integer(2));
    EXPECT_TRUE(std::cmp_equal(records->size(), chunks.Integer(3)));
    if (last_ms.contains(tag)) {
      EXPECT_LT(last_ms[tag], chunks.Integer(1)) << "of tag " << tag;
    }
    last_ms[tag] = chunks.Integer(2);
    statistics[{tag, chunks.Integer(1)}] = StatisticsOf(*records, 0, records->size());
  }
  ExpectTrueSummaries(*file, statistics);
  Query batches(*file, "SELECT payload FROM journal");
  while (batches.Next()) EXPECT_TRUE(DecodeEntry(batches.Bytes(0), {}).ok());
  Query values(*file, "SELECT payload FROM current");
  while (values.Next()) EXPECT_TRUE(DecodeChunk(values.Bytes(0), {}).ok());
  EXPECT_TRUE(chunks.status().ok() && batches.status().ok() && values.status().ok());
  EXPECT_EQ(NumberInFile(folder, "SELECT count(*) FROM damaged"), 0);
}

void EditFile(const fs::path& folder, const std::string& sql) {
  const Status status = OpenFile(folder)->Execute(sql.c_str());
  EXPECT_TRUE(status.ok()) << status.message();
}

std::int64_t NumberInFile(const fs::path& folder, const std::string& sql) {
  const auto file = OpenFile(folder);
  Query row(*file, sql);
  EXPECT_TRUE(row.Next()) << row.status().message();
  return row.Integer(0);
}

}  // namespace zervane::storage
