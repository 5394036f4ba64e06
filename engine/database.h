#pragma once

#include <cstddef>
#include <cstdint>
#include <span>
#include <string_view>
#include <vector>

#include "api/words/status.h"
#include "api/words/tag.h"
#include "api/words/value.h"

namespace zervane {

// In what order of time a write's records may come.
enum class WriteOrder {
  kInOrder,   // none older than its tag's current value
  kAnyOrder,  // any; the current value only moves forward
};

// When a write is answered.
enum class WriteAnswer {
  kDurable,  // when it is stored and readable
  kQueued,   // when it is queued; it becomes readable in its turn
};

// A process database: what the client API needs of one, in terms of the domain. The embedded engine
// and the network client implement it, so whatever runs on one runs on both.
//
// Every method validates its arguments, throws nothing but std::bad_alloc, and may be called from
// any number of threads; after Close all answer ZR3_ERR_NOT_CONNECTED. Statuses are those of
// zr3Enum.h. Batches fill one code per element.
class Database {
 public:
  virtual ~Database() = default;

  // ---- catalogue ----

  // Creates a tag from the selected properties, the others taking their defaults (the name always
  // counts; an id is ignored). Returns its identifier. Creation and change (date, user) are stamped
  // by the database unless the mask selects them with a value other than 0 or empty.
  virtual Result<TagId> AddTag(const Tag& properties, PropertyMask mask) = 0;

  // Changes the selected properties of a tag of the class; the identifier and the class's own
  // column never change. Stamps the change as above.
  virtual Status ModifyTag(TagId id, std::int32_t tag_class, const Tag& properties,
                           PropertyMask mask) = 0;

  // Deletes a tag of any class with its current value and its archive.
  virtual Status DeleteTag(TagId id) = 0;

  virtual Result<Tag> GetTag(TagId id) = 0;

  // The type of the tag's values, when the answer is ZR3_OK. A few nanoseconds and no lock, and
  // therefore nothing but a code: it is asked twice for every record.
  virtual ZR3_STATUS GetTagType(TagId id, TagType* type) = 0;

  // Without regard to ASCII case.
  virtual Result<TagId> FindTag(std::string_view name) = 0;

  // Goes up by one with every change of the catalogue.
  virtual Result<std::int64_t> CatalogueVersion() = 0;

  // ---- current values ----

  // Writes records in the order given. A record of time 0 takes the database's clock. Refused
  // records have their code in codes[i] and change nothing; the others are carried out. The result
  // is 0, ZR3_ERR_SOME_RECORDS_FAILED, or the status of the store (then nothing of the batch was
  // carried out, and the codes of those not refused hold that status). The samples are taken out of
  // the batch, whose memory stays with the caller.
  //
  // Order is judged when the records are queued, against those accepted before. A queued batch that
  // cannot be stored later is logged, and its status is the result of the next durable write or of
  // Close; the codes then tell what became of that write's own records.
  virtual Status Write(std::vector<TagSample>&& batch, WriteOrder order, WriteAnswer answer,
                       std::span<std::int32_t> codes) = 0;

  // The current value: ZR3_ERR_TAG_NOT_FOUND, ZR3_ERR_NO_RECORD.
  virtual Result<Sample> ReadCurrent(TagId id) = 0;

  // ---- archive ----

  // An empty range holds no records.
  virtual Result<std::int64_t> CountRecords(TagId id, TimeRange range) = 0;

  // Up to `limit` archived records of the range: the oldest ones ascending, or (backward) the
  // newest ones descending.
  virtual Result<std::vector<Sample>> ReadRecords(TagId id, TimeRange range, Direction direction,
                                                  std::size_t limit) = 0;

  // ---- the database itself ----

  // Its clock, in milliseconds since 1970-01-01 UTC.
  virtual Result<std::int64_t> ServerTimeMs() = 0;

  // Stores what is still queued and stops accepting calls; the destructor does the same, silently.
  // The status of queued records that could not be stored, unless it was answered before.
  virtual Status Close() = 0;
};

}  // namespace zervane
