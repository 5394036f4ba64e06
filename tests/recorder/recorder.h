// A client library that records instead of working: every function of the client API notes its name
// and its arguments and answers as the test has scripted it.
//
// A function of the library is one expression: Call(name), its arguments in order, the outputs it
// may fill, Status(). See sn3.cpp.
//
// Threads: any number; one lock guards log, script and lent blocks.
#ifndef ZERVANE_TESTS_RECORDER_RECORDER_H
#define ZERVANE_TESTS_RECORDER_RECORDER_H

#include <cstddef>
#include <cstdint>
#include <deque>
#include <functional>
#include <map>
#include <memory>
#include <mutex>
#include <string>
#include <vector>

#include "zervane.h"

namespace zervane::recorder {

// What an argument was. The numbers travel to the test's Java side.
enum class Kind : uint8_t {
  kNull = 0,     // a null pointer
  kInteger = 1,  // 8 bytes, little-endian: a scalar, widened by its own sign
  kText = 2,     // the bytes up to the terminator
  kBytes = 3,    // a record or array, as passed
};

struct Field {
  std::string name;
  Kind kind;
  std::string bytes;
};

struct RecordedCall {
  std::string function;
  std::vector<Field> fields;
};

// What a call is to answer: a status, and the bytes of the outputs that it is to fill. An output
// without bytes is left untouched.
struct Answer {
  int32 status = 0;
  std::map<std::string, std::string> outputs;
};

// The log, the script and the memory handed out.
class Recorder {
 public:
  static Recorder& Get();

  // Forgets everything and releases what is still lent.
  void Reset();

  // Appends an answer to a function's queue.
  void Script(const std::string& function, Answer answer);

  // Answers that no call has taken yet.
  int PendingAnswers() const;

  // The calls since the last time, in order.
  std::vector<RecordedCall> TakeCalls();

  // Logs a call and takes its function's next answer into *answer; false when none is scripted.
  bool Log(RecordedCall call, Answer* answer);

  // Hands out a copy of some bytes, as a library does with memory of its own.
  void* Lend(const std::string& bytes);

  // Takes a lent block back. Returns which one it was (1 is the first lent since Reset), 0 for
  // null, -1 for anything else, such as a block that was taken back before.
  int64_t TakeBack(const void* block);

 private:
  mutable std::mutex mutex_;
  std::vector<RecordedCall> calls_;
  std::map<std::string, std::deque<Answer>> script_;
  std::vector<std::unique_ptr<char[]>> lent_;
};

// How the buffers of value records are recognised.
enum class Buffers {
  kByType,     // STRING and BLOB records have one; the slot of the others holds no defined value
  kByPointer,  // records were zeroed first, so a pointer that is not null is a buffer
};

// One call under way.
class Call {
 public:
  explicit Call(const char* function) { call_.function = function; }

  // ---- arguments, in the order of the function's parameters ----

  Call& In(const char* name, int64_t value);
  Call& InText(const char* name, const char* text);
  Call& InBytes(const char* name, const void* bytes, size_t size);

  template <typename T>
  Call& InRecord(const char* name, const T* record) {
    return InBytes(name, record, sizeof(T));
  }

  template <typename T>
  Call& InArray(const char* name, const T* items, int32 count) {
    return InBytes(name, items, count > 0 ? static_cast<size_t>(count) * sizeof(T) : 0);
  }

  // Value records. A buffer's address is replaced by 1 (null stays 0); "name[i].payload" is its
  // content, and "name[i].offset" where it begins within the block of memory that it is a part of.
  Call& InRecords(const char* name, const ZR3Record* records, int32 count, Buffers buffers);

  // Where an output pointer points within a record: its offset in bytes, or -1 outside of it.
  template <typename T>
  Call& InPlace(const char* name, const void* pointer, const T* record) {
    return PlaceWithin(name, pointer, record, sizeof(T));
  }

  // A lent block that the call returns: see Recorder::TakeBack.
  Call& InLent(const char* name, const void* block);

  // ---- outputs ----

  // A scalar; zeroed when no answer is scripted, so that an unscripted call is deterministic.
  template <typename T>
  Call& Out(const char* name, T* output) {
    return OutBytes(name, output, sizeof(T), /*zero_by_default=*/true);
  }

  template <typename T>
  Call& OutArray(const char* name, T* items, int32 count) {
    return OutBytes(name, items, count > 0 ? static_cast<size_t>(count) * sizeof(T) : 0, false);
  }

  // Anything whose size the caller alone knows: as many bytes as are scripted.
  Call& OutSized(const char* name, void* output) { return OutBytes(name, output, SIZE_MAX, false); }

  // Value records: "name[i]" fills record i but for its buffer's address, "name[i].payload" the
  // buffer, as far as it reaches.
  Call& OutRecords(const char* name, ZR3Record* records, int32 count);

  // A block of memory lent to the caller.
  template <typename T>
  Call& OutLent(const char* name, T** block) {
    return OutBlock(name, [block](void* lent) { *block = static_cast<T*>(lent); });
  }

  // A lent array of value records, with lent buffers for those that have a payload.
  Call& OutLentRecords(const char* name, ZR3Record** records);

  // ---- both ways: an argument as it arrives, and an output ----

  template <typename T>
  Call& InOut(const char* name, T* value) {
    return In((std::string("*") + name).c_str(), *value).Out(name, value);
  }

  template <typename T>
  Call& InOutArray(const char* name, T* items, int32 count) {
    return InArray(name, items, count).OutArray(name, items, count);
  }

  Call& InOutRecords(const char* name, ZR3Record* records, int32 count) {
    return InRecords(name, records, count, Buffers::kByPointer).OutRecords(name, records, count);
  }

  // ---- the end ----

  // Logs the call, fills the outputs that its answer holds, and gives the answer's status.
  int32 Status();

 private:
  using Fill = std::function<void(const Answer*)>;

  Call& Add(std::string name, Kind kind, std::string bytes);
  Call& PlaceWithin(const char* name, const void* pointer, const void* record, size_t size);
  Call& OutBytes(const char* name, void* output, size_t capacity, bool zero_by_default);
  Call& OutBlock(const char* name, std::function<void(void*)> store);

  RecordedCall call_;
  std::vector<Fill> fills_;  // each gets the answer, null when none is scripted
};

}  // namespace zervane::recorder

#endif
