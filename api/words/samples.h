#pragma once

#include <bit>
#include <cstddef>
#include <cstdint>
#include <memory>
#include <span>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "api/words/value.h"

namespace zervane {

// Samples as columns: element i of every array belongs to sample i. This is how samples travel,
// from the client API down to the chunks and back, for a loop over an array of one thing is several
// times as fast as one over an array of objects.
//
// A number's value is its bits (an int32 or a float in the low half); a STRING's or BLOB's is where
// its bytes stand among texts().
//
//   SampleColumns columns;
//   columns.Add(sample);
//   for (std::int64_t time_ms : columns.times()) ...
//
// Threads: as a container.
class SampleColumns {
 public:
  SampleColumns() = default;
  SampleColumns(const SampleColumns& other) { AddAll(other); }
  SampleColumns(SampleColumns&& other) noexcept { Swap(other); }
  SampleColumns& operator=(SampleColumns other) noexcept {
    Swap(other);
    return *this;
  }

  std::size_t size() const { return size_; }
  std::size_t capacity() const { return capacity_; }
  bool empty() const { return size_ == 0; }

  std::span<const std::int64_t> times() const { return {times_, size_}; }  // as Sample::time_ms
  std::span<const std::uint64_t> values() const { return {values_, size_}; }
  std::span<const std::uint16_t> qualities() const { return {qualities_, size_}; }
  std::span<const TagType> types() const { return {types_, size_}; }
  // Those of all samples, in any order, and of samples that are there no more.
  std::string_view texts() const { return texts_; }

  // For those who fill or change them in place.
  std::span<std::int64_t> times() { return {times_, size_}; }
  std::span<std::uint64_t> values() { return {values_, size_}; }
  std::span<std::uint16_t> qualities() { return {qualities_, size_}; }

  // Of a STRING or BLOB, until the columns change.
  std::string_view TextAt(std::size_t at) const { return TextIn(texts_, values_[at]); }
  Sample At(std::size_t at) const;

  // Room for so many in all; what is added up to there cannot fail.
  void Reserve(std::size_t samples, std::size_t text_bytes = 0);
  // Room for so many more, growing by doubling, so that many small requests cost no more than one.
  void ReserveMore(std::size_t samples, std::size_t text_bytes = 0);

  void Add(const Sample& sample);
  void AddNumber(std::int64_t time_ms, std::uint16_t quality, TagType type, std::uint64_t bits) {
    if (size_ == capacity_) Grow(size_ + 1);
    Put(size_++, time_ms, quality, type, bits);
  }
  void AddText(std::int64_t time_ms, std::uint16_t quality, TagType type, std::string_view text);
  void AddFrom(const SampleColumns& from, std::size_t at);
  void AddAll(const SampleColumns& from) { AddRange(from, 0, from.size()); }
  void AddRange(const SampleColumns& from, std::size_t begin, std::size_t end);

  // Puts another sample in the place of one. The bytes of a text that was there stay.
  void ReplaceFrom(std::size_t at, const SampleColumns& from, std::size_t from_at);

  // Makes it so many samples of the type and of good quality, whose times and values are any, and
  // to be filled in; the texts are those given.
  void Assign(std::size_t samples, TagType type, std::string texts = {});

  // The texts among which the values, which are to say where, have theirs.
  void SetTexts(std::string texts) noexcept { texts_ = std::move(texts); }

  void Cut(std::size_t samples) noexcept { size_ = samples; }
  void Clear() noexcept {
    size_ = 0;
    texts_.clear();
  }

  // A text's bytes within `texts`, and the value that stands for it.
  static std::string_view TextIn(std::string_view texts, std::uint64_t value) {
    return texts.substr(OffsetOf(value), LengthOf(value));
  }
  static std::uint64_t OffsetOf(std::uint64_t value) { return value >> kLengthBits; }
  static std::uint64_t LengthOf(std::uint64_t value) { return value & kMaxLength; }
  static std::uint64_t PlaceOf(std::size_t offset, std::size_t length) {
    return static_cast<std::uint64_t>(offset) << kLengthBits | length;
  }

  friend void swap(SampleColumns& a, SampleColumns& b) noexcept { a.Swap(b); }

  // Sample by sample, values as numbers (NaNs equal nothing).
  friend bool operator==(const SampleColumns& a, const SampleColumns& b);

 private:
  static constexpr unsigned kLengthBits = 16;
  static constexpr std::uint64_t kMaxLength = (std::uint64_t{1} << kLengthBits) - 1;

  void Swap(SampleColumns& other) noexcept;
  void Grow(std::size_t samples);  // to at least so many, by doubling
  void Move(std::size_t capacity);
  void Put(std::size_t at, std::int64_t time_ms, std::uint16_t quality, TagType type,
           std::uint64_t bits) noexcept {
    times_[at] = time_ms;
    values_[at] = bits;
    qualities_[at] = quality;
    types_[at] = type;
  }

  // One piece of memory for all arrays but the texts.
  std::unique_ptr<std::byte[]> memory_;
  std::int64_t* times_ = nullptr;
  std::uint64_t* values_ = nullptr;
  std::uint16_t* qualities_ = nullptr;
  TagType* types_ = nullptr;
  std::size_t size_ = 0;
  std::size_t capacity_ = 0;
  std::string texts_;
};

// Whether values of the type are texts: STRING or BLOB.
constexpr bool IsText(TagType type) { return type == TagType::kString || type == TagType::kBlob; }

// A number as the 8 bytes that columns hold, and back. `type` is one of numbers.
inline std::uint64_t BitsOf(const Value& number) {
  switch (number.kind()) {
    case Value::Kind::kInteger:
      return static_cast<std::uint32_t>(number.integer());
    case Value::Kind::kFloat32:
      return std::bit_cast<std::uint32_t>(number.float32());
    case Value::Kind::kFloat64:
      return std::bit_cast<std::uint64_t>(number.float64());
    case Value::Kind::kText:
      break;
  }
  return 0;
}
inline Value NumberOf(TagType type, std::uint64_t bits) {
  if (type == TagType::kFloat64) return std::bit_cast<double>(bits);
  const auto low = static_cast<std::uint32_t>(bits);
  if (type == TagType::kFloat32) return std::bit_cast<float>(low);
  return static_cast<std::int32_t>(low);
}

// The same for columns as CheckValue for a Value: whether sample `at` has a value that its type
// allows.
ValueFault CheckValue(const SampleColumns& samples, std::size_t at);

// Samples of many tags: tags[i] is that of sample i.
struct SampleBatch {
  std::vector<TagId> tags;
  SampleColumns samples;

  std::size_t size() const { return tags.size(); }
  bool empty() const { return tags.empty(); }
  void Add(TagId tag, const Sample& sample) {
    tags.push_back(tag);
    samples.Add(sample);
  }
  void Clear() noexcept {
    tags.clear();
    samples.Clear();
  }

  static auto Fields(auto& self) {
    return FieldList(Field{"tags", self.tags}, Field{"samples", self.samples});
  }
  friend bool operator==(const SampleBatch&, const SampleBatch&) = default;
};

}  // namespace zervane
