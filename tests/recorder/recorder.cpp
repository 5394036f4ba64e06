#include "recorder.h"

#include <algorithm>
#include <cstring>
#include <utility>

#include "allocation_watch.h"

namespace zervane::recorder {
namespace {

std::string Element(const std::string& name, int32 index) {
  return name + "[" + std::to_string(index) + "]";
}

std::string PayloadOf(const std::string& element) { return element + ".payload"; }

std::string IntegerBytes(int64_t value) {
  return std::string(reinterpret_cast<const char*>(&value), sizeof(value));
}

// Null when there is no answer or the answer leaves that output untouched.
const std::string* Scripted(const Answer* answer, const std::string& name) {
  if (answer == nullptr) return nullptr;
  const auto found = answer->outputs.find(name);
  return found == answer->outputs.end() ? nullptr : &found->second;
}

bool HasBuffer(const ZR3Record& record, Buffers buffers) {
  const bool wired = record.value.strBlob.pBuf != nullptr;
  if (buffers == Buffers::kByPointer) return wired;
  return wired && record.nTagType >= ZR3_TAG_TYPE_STRING && record.nTagType <= ZR3_TAG_TYPE_BLOB;
}

// Fills a record but for the address of its buffer, which is the caller's.
void FillRecord(const std::string& bytes, const std::string* payload, ZR3Record* record) {
  const ZR3StrBlob buffer = record->value.strBlob;
  std::memcpy(record, bytes.data(), std::min(bytes.size(), sizeof(*record)));
  record->value.strBlob.pBuf = buffer.pBuf;
  if (payload != nullptr && buffer.pBuf != nullptr) {
    std::memcpy(buffer.pBuf, payload->data(), std::min<size_t>(payload->size(), buffer.nLenBuf));
  }
}

}  // namespace

// ---- Recorder ----

Recorder& Recorder::Get() {
  static Recorder recorder;
  return recorder;
}

void Recorder::Reset() {
  const std::lock_guard<std::mutex> lock(mutex_);
  calls_.clear();
  script_.clear();
  lent_.clear();
}

void Recorder::Script(const std::string& function, Answer answer) {
  const std::lock_guard<std::mutex> lock(mutex_);
  script_[function].push_back(std::move(answer));
}

int Recorder::PendingAnswers() const {
  const std::lock_guard<std::mutex> lock(mutex_);
  size_t pending = 0;
  for (const auto& [function, answers] : script_) pending += answers.size();
  return static_cast<int>(pending);
}

std::vector<RecordedCall> Recorder::TakeCalls() {
  const std::lock_guard<std::mutex> lock(mutex_);
  return std::exchange(calls_, {});
}

bool Recorder::Log(RecordedCall call, Answer* answer) {
  const std::lock_guard<std::mutex> lock(mutex_);
  std::deque<Answer>& answers = script_[call.function];
  calls_.push_back(std::move(call));
  if (answers.empty()) return false;
  *answer = std::move(answers.front());
  answers.pop_front();
  return true;
}

void* Recorder::Lend(const std::string& bytes) {
  auto block = std::make_unique<char[]>(bytes.size() + 1);  // an empty block has an address, too
  std::memcpy(block.get(), bytes.data(), bytes.size());
  const std::lock_guard<std::mutex> lock(mutex_);
  lent_.push_back(std::move(block));
  return lent_.back().get();
}

int64_t Recorder::TakeBack(const void* block) {
  if (block == nullptr) return 0;
  const std::lock_guard<std::mutex> lock(mutex_);
  const auto found = std::find_if(lent_.begin(), lent_.end(),
                                  [block](const auto& lent) { return lent.get() == block; });
  if (found == lent_.end()) return -1;
  found->reset();
  return found - lent_.begin() + 1;
}

// ---- Call: arguments ----

Call& Call::Add(std::string name, Kind kind, std::string bytes) {
  call_.fields.push_back({std::move(name), kind, std::move(bytes)});
  return *this;
}

Call& Call::In(const char* name, int64_t value) {
  return Add(name, Kind::kInteger, IntegerBytes(value));
}

Call& Call::InText(const char* name, const char* text) {
  return text == nullptr ? Add(name, Kind::kNull, {}) : Add(name, Kind::kText, text);
}

Call& Call::InBytes(const char* name, const void* bytes, size_t size) {
  if (bytes == nullptr) return Add(name, Kind::kNull, {});
  return Add(name, Kind::kBytes, std::string(static_cast<const char*>(bytes), size));
}

Call& Call::InRecords(const char* name, const ZR3Record* records, int32 count, Buffers buffers) {
  if (records == nullptr) return Add(name, Kind::kNull, {});
  std::vector<ZR3Record> copies(records, records + std::max(count, 0));
  for (ZR3Record& copy : copies) {
    if (HasBuffer(copy, buffers)) copy.value.strBlob.pBuf = reinterpret_cast<char*>(uintptr_t{1});
  }
  InArray(name, copies.data(), count);
  if (copies.empty()) call_.fields.back() = {name, Kind::kBytes, {}};
  for (int32 i = 0; i < count; ++i) {
    if (!HasBuffer(records[i], buffers)) continue;
    const ZR3StrBlob& buffer = records[i].value.strBlob;
    InBytes(PayloadOf(Element(name, i)).c_str(), buffer.pBuf, buffer.nLenBuf);
    In((Element(name, i) + ".offset").c_str(), zervane_offset_in_block(buffer.pBuf));
  }
  return *this;
}

Call& Call::PlaceWithin(const char* name, const void* pointer, const void* record, size_t size) {
  if (pointer == nullptr) return Add(name, Kind::kNull, {});
  const auto offset = static_cast<const char*>(pointer) - static_cast<const char*>(record);
  return In(name, offset >= 0 && static_cast<size_t>(offset) < size ? offset : -1);
}

Call& Call::InLent(const char* name, const void* block) {
  return In(name, Recorder::Get().TakeBack(block));
}

// ---- Call: outputs ----

Call& Call::OutBytes(const char* name, void* output, size_t capacity, bool zero_by_default) {
  fills_.emplace_back([=](const Answer* answer) {
    if (output == nullptr) return;
    if (const std::string* bytes = Scripted(answer, name); bytes != nullptr) {
      std::memcpy(output, bytes->data(), std::min(bytes->size(), capacity));
    } else if (answer == nullptr && zero_by_default) {
      std::memset(output, 0, capacity);
    }
  });
  return *this;
}

Call& Call::OutRecords(const char* name, ZR3Record* records, int32 count) {
  fills_.emplace_back([=](const Answer* answer) {
    for (int32 i = 0; i < count; ++i) {
      const std::string element = Element(name, i);
      if (const std::string* bytes = Scripted(answer, element); bytes != nullptr) {
        FillRecord(*bytes, Scripted(answer, PayloadOf(element)), &records[i]);
      }
    }
  });
  return *this;
}

Call& Call::OutBlock(const char* name, std::function<void(void*)> store) {
  fills_.emplace_back([name, store = std::move(store)](const Answer* answer) {
    if (const std::string* bytes = Scripted(answer, name); bytes != nullptr) {
      store(Recorder::Get().Lend(*bytes));
    } else if (answer == nullptr) {
      store(nullptr);
    }
  });
  return *this;
}

Call& Call::OutLentRecords(const char* name, ZR3Record** records) {
  fills_.emplace_back([=](const Answer* answer) {
    std::string bytes;
    for (int32 i = 0;; ++i) {
      const std::string* record = Scripted(answer, Element(name, i));
      if (record == nullptr) break;
      bytes += *record;
    }
    if (bytes.empty() && Scripted(answer, name) == nullptr) {
      if (answer == nullptr) *records = nullptr;
      return;
    }
    *records = static_cast<ZR3Record*>(Recorder::Get().Lend(bytes));
    for (size_t i = 0; i < bytes.size() / sizeof(ZR3Record); ++i) {
      const std::string* payload =
          Scripted(answer, PayloadOf(Element(name, static_cast<int32>(i))));
      if (payload == nullptr) continue;
      (*records)[i].value.strBlob.pBuf = static_cast<char*>(Recorder::Get().Lend(*payload));
    }
  });
  return *this;
}

int32 Call::Status() {
  Answer answer;
  const bool scripted = Recorder::Get().Log(std::move(call_), &answer);
  for (const Fill& fill : fills_) fill(scripted ? &answer : nullptr);
  return answer.status;
}

}  // namespace zervane::recorder
