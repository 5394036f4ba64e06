#include <filesystem>
#include <fstream>
#include <iostream>
#include <map>
#include <random>
#include <string>
#include <vector>

#include "engine/storage/codec/journal_entry.h"
#include "tests/engine/storage/codec/codec_cases.h"
#include "tests/engine/storage/codec/codec_format_1_cases.h"

// Writes the inputs that a fuzzer starts from, into FOLDER/<target>/: blocks of the records that
// the suites of the codecs use, expressions, and texts of alarms.
namespace zervane::storage {
namespace {

using Blocks = std::map<std::string, std::string>;

std::vector<Sample> FullPrecision() {
  std::mt19937_64 random(1);
  std::vector<Sample> samples;
  for (int i = 0; i < 80; ++i) {
    samples.push_back(
        At(std::int64_t{i} * 100, 192, TagType::kFloat64, 1.0 / static_cast<double>(random())));
  }
  return samples;
}

// Two decimals, and now and then none: exceptions of a scaled column.
std::vector<Sample> WithExceptions() {
  std::vector<Sample> samples = SlowWalk(100, 2);
  samples[10].value = -0.0;
  samples[70].value = std::numeric_limits<double>::quiet_NaN();
  return samples;
}

std::vector<Sample> Outliers() {
  std::vector<Sample> samples;
  for (int i = 0; i < 100; ++i) {
    samples.push_back(At(i, 192, TagType::kInt32, i % 30 == 7 ? 0x1234567 : i % 3));
  }
  return samples;
}

std::vector<Sample> Texts() {
  std::vector<Sample> samples;
  for (int i = 0; i < 30; ++i) {
    samples.push_back(At(i, 192, TagType::kString, "pump " + std::to_string(i) + " is running"));
  }
  return samples;
}

std::map<std::string, std::vector<Sample>> Records() {
  std::map<std::string, std::vector<Sample>> records = {
      {"alternating", Alternating()},   {"slow-walk", SlowWalk(100, 1)},
      {"exceptions", WithExceptions()}, {"full-precision", FullPrecision()},
      {"outliers", Outliers()},         {"texts", Texts()},
      {"one-record", SlowWalk(1, 1)}};
  for (const ValuesCase& row : kValues) records[row.name] = SamplesOf(row);
  return records;
}

Blocks Chunks() {
  Blocks blocks;
  for (const auto& [name, samples] : Records()) blocks[name] = Chunk(samples);
  for (const OldChunk& old : kOldChunks) {
    blocks[std::string("format-1-") + old.name] = Bytes(old.hex);
  }
  for (const char* const name : {"String", "texts"}) {
    blocks[std::string("format-2-") + name] = OfFormat(2, BlockKind::kChunk, blocks[name]);
  }
  return blocks;
}

RecordBatch OfOneTag(const std::vector<Sample>& samples) {
  std::vector<MarkedSample> records;
  for (const Sample& sample : samples) records.push_back({.tag = 7, .sample = sample});
  return BatchOf(records);
}

Blocks Batches() {
  Blocks blocks = {{"nothing", Batch({})}, {"compressed", Bytes(kOldBatch)}};
  for (const ValuesCase& row : kValues) {
    blocks[std::string("marks-") + row.name] = Batch(MarkedBatchOf(row));
  }
  for (const auto& [name, samples] : Records()) blocks[name] = Batch(OfOneTag(samples));
  for (const char* const name : {"marks-String", "texts", "slow-walk"}) {
    blocks[std::string("format-1-") + name] = OfFormat(1, BlockKind::kBatch, blocks[name]);
  }
  return blocks;
}

// Batches behind each other, with and without emptied tags before them.
Blocks Entries() {
  Blocks blocks = Batches();
  ByteWriter out;
  EncodeEntry(std::vector<TagId>{5, 300}, {}, &out);
  const std::string list(out.bytes());
  blocks["emptied"] = list;
  for (const ValuesCase& row : kValues) {
    const std::string batch = Batch(MarkedBatchOf(row));
    blocks[std::string("emptied-") + row.name] = list + batch;
    blocks[std::string("twice-") + row.name] = batch + batch;
  }
  return blocks;
}

// Of every kind of operator, function and operand, and of texts that are none.
Blocks Expressions() {
  return {{"limits", "value > 50 && quality >= 192"},
          {"or", "value<-1||value!=value||0"},
          {"choice", "quality < 192 ? 0 : time > 1.7e9 ? 1 : 'LIC 7.SP' <= 3"},
          {"precedence", "-2^2 + 3 * 4 / 5 - 6 == 7 >= +8"},
          {"exponents", "2^-1^.5 + 3.^2 + 1.5E+2 + 4.9e-324"},
          {"circle", "sin(_pi)*cos(1)+tan(1)+asin(1)+acos(1)+atan(1)+atan2(1,-2)"},
          {"hyperbolas", "sinh(1)+cosh(1)+tanh(1)+asinh(1)+acosh(_e)+atanh(.5)"},
          {"logarithms", "exp(1)+ln(2)+log(3)+log2(4)+log10(5)+sqrt(6)+cbrt(7)"},
          {"steps", "abs(-1)+sign(value)+rint(2.5)+floor(1.5)+ceil(1.5)+trunc(-1.5)"},
          {"lists", "min(1, value)+max(time)+sum(1,2,3)+avg(1,2,3,4)"},
          {"tags", "'FIC101.PV' * 'it''s' - '\xc3\xa9'"},
          {"brackets", "(((value)))/((0))"},
          {"blanks", " \t( 1 )\r\n+ avg ( 1 , 2 ) "},
          {"64-deep", std::string(64, '(') + "1" + std::string(64, ')')},
          {"65-deep", std::string(65, '-') + "1"},
          {"511-bytes", "1" + std::string(510, ' ')},
          {"512-bytes", "1" + std::string(511, ' ')},
          {"unknown-word", "value > limit"},
          {"open-bracket", "max(1, (2"},
          {"open-quote", "1 + 'FIC"},
          {"out-of-range", "1e309 + 1e-400"}};
}

// Tests and actions, and texts that are neither.
Blocks AlarmTexts() {
  return {{"high", "HIGH > 90"},
          {"hihi", "hihi>=95 priority 1"},
          {"low", " LOW  <=  -1.5e+1 PRIORITY 4 "},
          {"lolo", "LOLO<.5"},
          {"equal", "HIGH = +1."},
          {"not-equal", "LOW<>0"},
          {"change", "CHANGE"},
          {"change-least", "Change 0.5 Priority 2"},
          {"change-priority", "CHANGE\tPRIORITY\n3"},
          {"set", "SET 'PUMP.RUN' 1"},
          {"set-quote", "set'O''Hara''s'-12e-1"},
          {"blanks", " \t\r\n"},
          {"longer-word", "HIGHER > 5"},
          {"no-space", "CHANGE5"},
          {"no-comparison", "HIGH 90"},
          {"no-number", "HIGH > "},
          {"two-points", "HIGH > 1.2.3"},
          {"out-of-range", "HIGH > 1e309"},
          {"priority-five", "HIGH > 90 PRIORITY 5"},
          {"negative-least", "CHANGE -1"},
          {"open-quote", "SET 'x'' 1"},
          {"empty-name", "SET '' 1"},
          {"long", "LOW <" + std::string(1000, ' ') + std::string(1000, '0')}};
}

bool WriteAll(const std::filesystem::path& folder, const Blocks& blocks) {
  std::filesystem::create_directories(folder);
  for (const auto& [name, bytes] : blocks) {
    std::ofstream file(folder / name, std::ios::binary);
    if (!(file << bytes)) return false;
  }
  return true;
}

bool WriteSeeds(const std::filesystem::path& folder) {
  return WriteAll(folder / "chunk_block", Chunks()) &&
         WriteAll(folder / "chunk_sealed", Chunks()) &&
         WriteAll(folder / "batch_block", Batches()) &&
         WriteAll(folder / "batch_sealed", Batches()) &&
         WriteAll(folder / "entry_sealed", Entries()) &&
         WriteAll(folder / "expression", Expressions()) &&
         WriteAll(folder / "alarm_text", AlarmTexts()) &&
         WriteAll(folder / "records_to_chunks", Batches());
}

}  // namespace
}  // namespace zervane::storage

int main(int argc, char** argv) {
  if (argc == 2 && zervane::storage::WriteSeeds(argv[1])) return 0;
  std::cerr << "usage: fuzz_seeds FOLDER (that can be written)\n";
  return 1;
}
