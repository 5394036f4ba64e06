#pragma once

#include <cstdint>
#include <filesystem>
#include <map>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "api/words/value.h"
#include "zervane.h"

namespace zervane {

// Records and what goes with them, as the exported functions take and fill them.
struct RecordBlock {
  static constexpr std::size_t kRecords = 32;

  uint32 ids[kRecords] = {};
  ZR3Record records[kRecords] = {};
  char texts[kRecords][ZR3_LEN_VALUE] = {};
  int32 codes[kRecords] = {};
  int32 count = 0;

  // A record to be written.
  void Add(uint32 id, const Sample& sample);
  // A place for a record to be read.
  void AddEmpty(uint32 id, TagType type);
  // A place for each of kRecords records of any type.
  void Empty();
  // As the domain has it.
  Sample Read(std::size_t i) const;
};

// What one tag must hold.
struct ExpectedTag {
  std::string name;
  TagType type = TagType::kFloat64;
  std::map<std::int64_t, Sample> archive;
  // What may be there as well: of it nobody was told whether it is.
  std::map<std::int64_t, Sample> perhaps;
  std::optional<Sample> current;

  // A record that was answered as stored, by a tag without filters.
  void Wrote(const Sample& sample);
};

// A database behind the exported functions, and what it must hold. All that its functions do is
// expected to succeed.
class World {
 public:
  enum class Kind {
    kFolder,
    kSmallFolder,  // a store that brings every few records into chunks, of a few records each
    kVolatile,
  };

  explicit World(Kind kind);
  ~World();

  // The status of connecting, which is not expected.
  int32 TryConnect();
  void Connect();
  void Disconnect();
  // Whether a database of the kind is still there when it is opened again.
  bool IsKept() const { return kind_ != Kind::kVolatile; }

  // The folder as another kind has it, once it is connected again.
  void Become(Kind kind) { kind_ = kind; }
  // Copies what is in the folder at the moment, as if the process were killed then, to be put back
  // by Restore as often as wanted; without a copy that empties the folder.
  void KeepCopy();
  void Restore();

  // A tag of a new name. With filters, the records at 1, 2 and 3 s leave the first in the archive
  // and hold the others.
  uint32 AddTag(TagType type = TagType::kFloat64);
  uint32 AddHoldingTag();
  static std::vector<Sample> HeldRecords();
  std::string NewName();
  void Write(uint32 id, const std::vector<Sample>& samples);

  ExpectedTag& Tag(uint32 id) { return tags_[id]; }
  void Forget(uint32 id) { tags_.erase(id); }
  // Of a database that has gone.
  void ForgetAll();
  uint32 last_id() const { return last_id_; }
  void Added(uint32 id, const std::string& name, TagType type);

  // Whether the database holds of the tag what it must, and nothing else; of a forgotten one,
  // nothing at all.
  void Check(uint32 id) const;
  void CheckAll() const;

 private:
  Kind kind_;
  std::filesystem::path folder_;  // empty when there is none
  std::filesystem::path copy_;    // likewise
  std::map<uint32, ExpectedTag> tags_;
  uint32 last_id_ = 0;
  int names_ = 0;
};

}  // namespace zervane
