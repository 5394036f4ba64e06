#include "api/words/samples.h"

#include <algorithm>
#include <bit>
#include <cstring>
#include <limits>
#include <utility>

namespace zervane {
namespace {

constexpr std::size_t kSampleBytes =
    sizeof(std::int64_t) + sizeof(std::uint64_t) + sizeof(std::uint16_t) + sizeof(TagType);

// The arrays' places in one piece of memory: the widest first, so that all are aligned.
template <typename T>
T* Carve(std::byte*& from, std::size_t count) {
  T* const array = reinterpret_cast<T*>(from);
  from += count * sizeof(T);
  return array;
}

template <typename T>
void CopyColumn(const T* from, std::size_t count, T* to) {
  if (count > 0) std::memcpy(to, from, count * sizeof(T));
}

template <typename Number>
bool Fits(std::int32_t number) {
  return number >= std::numeric_limits<Number>::min() &&
         number <= std::numeric_limits<Number>::max();
}

}  // namespace

ValueFault CheckValue(const SampleColumns& samples, std::size_t at) {
  const auto number = static_cast<std::int32_t>(samples.values()[at]);
  switch (samples.types()[at]) {
    case TagType::kInt8:
    case TagType::kDigital:
      return Fits<std::int8_t>(number) ? ValueFault::kNone : ValueFault::kWrongType;
    case TagType::kInt16:
      return Fits<std::int16_t>(number) ? ValueFault::kNone : ValueFault::kWrongType;
    case TagType::kInt32:
    case TagType::kFloat32:
    case TagType::kFloat64:
      return ValueFault::kNone;
    case TagType::kString: {
      const std::string_view text = samples.TextAt(at);
      if (text.size() > kMaxStringBytes) return ValueFault::kTooLong;
      return text.find('\0') == text.npos ? ValueFault::kNone : ValueFault::kEmbeddedNul;
    }
    case TagType::kBlob:
      return samples.TextAt(at).size() > kMaxBlobBytes ? ValueFault::kTooLong : ValueFault::kNone;
  }
  return ValueFault::kWrongType;
}

Sample SampleColumns::At(std::size_t at) const {
  Sample sample{
      .time_ms = times_[at], .quality = qualities_[at], .type = types_[at], .value = Value()};
  sample.value =
      IsText(types_[at]) ? Value(std::string(TextAt(at))) : NumberOf(types_[at], values_[at]);
  return sample;
}

void SampleColumns::Reserve(std::size_t samples, std::size_t text_bytes) {
  if (samples > capacity_) Move(samples);
  if (text_bytes > texts_.capacity()) texts_.reserve(text_bytes);
}

void SampleColumns::ReserveMore(std::size_t samples, std::size_t text_bytes) {
  if (samples > capacity_ - size_) Grow(size_ + samples);
  const std::size_t texts = texts_.size() + text_bytes;
  if (texts > texts_.capacity()) texts_.reserve(std::max(texts, 2 * texts_.capacity()));
}

void SampleColumns::Add(const Sample& sample) {
  if (sample.value.kind() == Value::Kind::kText) {
    AddText(sample.time_ms, sample.quality, sample.type, sample.value.text().str());
  } else {
    AddNumber(sample.time_ms, sample.quality, sample.type, BitsOf(sample.value));
  }
}

void SampleColumns::AddText(std::int64_t time_ms, std::uint16_t quality, TagType type,
                            std::string_view text) {
  if (size_ == capacity_) Grow(size_ + 1);
  const std::size_t length = std::min<std::size_t>(text.size(), kMaxLength);  // checks refuse it
  const std::uint64_t place = PlaceOf(texts_.size(), length);
  texts_.append(text.substr(0, length));
  Put(size_++, time_ms, quality, type, place);
}

void SampleColumns::AddFrom(const SampleColumns& from, std::size_t at) {
  if (IsText(from.types_[at])) {
    AddText(from.times_[at], from.qualities_[at], from.types_[at], from.TextAt(at));
  } else {
    AddNumber(from.times_[at], from.qualities_[at], from.types_[at], from.values_[at]);
  }
}

// Where there are texts, sample by sample: only those that are wanted are copied.
void SampleColumns::AddRange(const SampleColumns& from, std::size_t begin, std::size_t end) {
  const std::size_t count = end - begin;
  ReserveMore(count);
  if (!from.texts_.empty()) {
    for (std::size_t at = begin; at < end; ++at) AddFrom(from, at);
    return;
  }
  CopyColumn(from.times_ + begin, count, times_ + size_);
  CopyColumn(from.values_ + begin, count, values_ + size_);
  CopyColumn(from.qualities_ + begin, count, qualities_ + size_);
  CopyColumn(from.types_ + begin, count, types_ + size_);
  size_ += count;
}

void SampleColumns::ReplaceFrom(std::size_t at, const SampleColumns& from, std::size_t from_at) {
  std::uint64_t value = from.values_[from_at];
  if (IsText(from.types_[from_at])) {
    const std::string_view text = from.TextAt(from_at);
    value = PlaceOf(texts_.size(), text.size());
    texts_.append(text);
  }
  Put(at, from.times_[from_at], from.qualities_[from_at], from.types_[from_at], value);
}

void SampleColumns::Assign(std::size_t samples, TagType type, std::string texts) {
  size_ = 0;
  Reserve(samples);
  size_ = samples;
  std::fill_n(qualities_, samples, std::uint16_t{ZR3_QUALITY_GOOD});
  std::fill_n(types_, samples, type);
  texts_ = std::move(texts);
}

bool operator==(const SampleColumns& a, const SampleColumns& b) {
  if (a.size() != b.size()) return false;
  for (std::size_t at = 0; at < a.size(); ++at) {
    if (a.At(at) != b.At(at)) return false;
  }
  return true;
}

void SampleColumns::Swap(SampleColumns& other) noexcept {
  std::swap(memory_, other.memory_);
  std::swap(times_, other.times_);
  std::swap(values_, other.values_);
  std::swap(qualities_, other.qualities_);
  std::swap(types_, other.types_);
  std::swap(size_, other.size_);
  std::swap(capacity_, other.capacity_);
  std::swap(texts_, other.texts_);
}

void SampleColumns::Grow(std::size_t samples) {
  constexpr std::size_t kFirst = 8;
  Move(std::max({samples, 2 * capacity_, kFirst}));
}

void SampleColumns::Move(std::size_t capacity) {
  // Not cleared: every element is written before it is read.
  std::unique_ptr<std::byte[]> memory(new std::byte[capacity * kSampleBytes]);
  std::byte* next = memory.get();
  auto* const times = Carve<std::int64_t>(next, capacity);
  auto* const values = Carve<std::uint64_t>(next, capacity);
  auto* const qualities = Carve<std::uint16_t>(next, capacity);
  auto* const types = Carve<TagType>(next, capacity);
  CopyColumn(times_, size_, times);
  CopyColumn(values_, size_, values);
  CopyColumn(qualities_, size_, qualities);
  CopyColumn(types_, size_, types);
  memory_ = std::move(memory);
  times_ = times;
  values_ = values;
  qualities_ = qualities;
  types_ = types;
  capacity_ = capacity;
}

}  // namespace zervane
