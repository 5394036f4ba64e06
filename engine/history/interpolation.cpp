#include "engine/history/interpolation.h"

#include <algorithm>
#include <bit>
#include <cmath>
#include <numeric>
#include <string>
#include <utility>
#include <vector>

#include "engine/history/instant_walk.h"

namespace zervane {
namespace {

// Products of a value and a time, which need more than 64 bits.
__extension__ using Wide = __int128;

// numerator / denominator, which is positive, to the nearest whole number.
std::int64_t RoundedQuotient(Wide numerator, Wide denominator) {
  const Wide magnitude = numerator < 0 ? -numerator : numerator;
  const Wide rounded = (2 * magnitude + denominator) / (2 * denominator);
  return static_cast<std::int64_t>(numerator < 0 ? -rounded : rounded);
}

// Some instants of a request, in order of time.
class OrderedInstants final : public Instants {
 public:
  OrderedInstants(std::span<const std::int64_t> times_ms, std::vector<std::uint32_t> order)
      : times_ms_(times_ms), order_(std::move(order)) {
    const auto time = [&](std::uint32_t at) { return times_ms_[at]; };
    if (!std::ranges::is_sorted(order_, {}, time)) std::ranges::sort(order_, {}, time);
  }

  std::size_t size() const override { return order_.size(); }
  std::int64_t At(std::size_t at) const override { return times_ms_[order_[at]]; }
  // Where the request has it.
  std::size_t PlaceOf(std::size_t at) const { return order_[at]; }

 private:
  const std::span<const std::int64_t> times_ms_;
  std::vector<std::uint32_t> order_;
};

// Writes what the values are to where the request has their instants. The bytes of a text that many
// instants share stand in the reply once.
class ReplyWriter final : public InstantSink {
 public:
  ReplyWriter(const OrderedInstants& instants, TagType type, Interpolated& reply)
      : instants_(instants), type_(type), reply_(reply) {}

  void Miss(std::size_t begin, std::size_t end) override {
    for (std::size_t at = begin; at < end; ++at) {
      reply_.codes[instants_.PlaceOf(at)] = ZR3_ERR_NO_RECORD;
    }
  }
  void Match(std::size_t begin, std::size_t end, const SampleColumns& records,
             std::size_t at) override {
    const std::uint64_t value =
        IsText(type_) ? PlaceOfText(records.times()[at], records.TextAt(at)) : records.values()[at];
    WriteAll(begin, end, value, records.qualities()[at]);
  }
  void Hold(std::size_t begin, std::size_t end, const Held& held, std::uint16_t quality) override {
    const std::uint64_t value = IsText(type_) ? PlaceOfText(held.point.time_ms, held.text)
                                              : BitsOfNumber(type_, held.point.value);
    WriteAll(begin, end, value, quality);
  }
  void Line(std::size_t begin, std::size_t end, const RunStatistics::Point& from,
            const RunStatistics::Point& to, std::uint16_t quality) override {
    for (std::size_t at = begin; at < end; ++at) {
      const double value = ValueBetween(type_, from, to, instants_.At(at));
      WriteAll(at, at + 1, BitsOfNumber(type_, value), quality);
    }
  }

  std::string& texts() { return texts_; }
  bool has_too_many_texts() const { return has_too_many_texts_; }

 private:
  std::uint64_t PlaceOfText(std::int64_t time_ms, std::string_view text) {
    has_too_many_texts_ = has_too_many_texts_ || texts_.size() + text.size() > kMaxReplyTexts;
    if (has_too_many_texts_) return 0;
    if (time_ms != text_ms_) {
      text_place_ = SampleColumns::PlaceOf(texts_.size(), text.size());
      text_ms_ = time_ms;
      texts_ += text;
    }
    return text_place_;
  }

  void WriteAll(std::size_t begin, std::size_t end, std::uint64_t value, std::uint16_t quality) {
    for (std::size_t at = begin; at < end; ++at) {
      const std::size_t place = instants_.PlaceOf(at);
      reply_.codes[place] = ZR3_OK;
      reply_.samples.values()[place] = value;
      reply_.samples.qualities()[place] = quality;
    }
  }

  const OrderedInstants& instants_;
  const TagType type_;
  Interpolated& reply_;
  std::string texts_;
  std::int64_t text_ms_ = kNoTime;  // of the record whose text came last
  std::uint64_t text_place_ = 0;
  bool has_too_many_texts_ = false;
};

// Where the request has instants that can have a value; the others get their codes.
std::vector<std::uint32_t> PlacesToAnswer(std::span<const std::int64_t> times_ms,
                                          std::int64_t now_ms, std::vector<std::int32_t>& codes) {
  std::vector<std::uint32_t> places;
  places.reserve(times_ms.size());
  for (std::size_t at = 0; at < times_ms.size(); ++at) {
    const bool is_time = times_ms[at] >= 0 && times_ms[at] <= kMaxTimeMs;
    codes[at] = is_time ? ZR3_ERR_NO_RECORD : ZR3_ERR_INVALID_TIME;
    if (is_time && times_ms[at] <= now_ms) places.push_back(static_cast<std::uint32_t>(at));
  }
  return places;
}

}  // namespace

Result<Interpolated> Interpolate(const TagPoints& points, InterpolationMode mode,
                                 std::span<const std::int64_t> times_ms) {
  Interpolated reply;
  reply.samples.Assign(times_ms.size(), points.type());
  std::ranges::copy(times_ms, reply.samples.times().begin());
  std::ranges::fill(reply.samples.values(), 0);
  reply.codes.resize(times_ms.size());
  const OrderedInstants instants(times_ms, PlacesToAnswer(times_ms, points.now_ms(), reply.codes));
  ReplyWriter writer(instants, points.type(), reply);
  if (Status status = InterpolateAt(points, mode, instants, writer); !status.ok()) return status;
  if (writer.has_too_many_texts()) return Status(ZR3_ERR_OUT_OF_MEMORY, "texts beyond 1 GiB");
  reply.samples.SetTexts(std::move(writer.texts()));
  return reply;
}

// Of whole numbers in whole numbers, so that a half is one.
double ValueBetween(TagType type, const RunStatistics::Point& from, const RunStatistics::Point& to,
                    std::int64_t time_ms) {
  const std::int64_t passed_ms = time_ms - from.time_ms;
  const std::int64_t length_ms = to.time_ms - from.time_ms;
  if (type == TagType::kFloat64 || type == TagType::kFloat32) {
    const double share = static_cast<double>(passed_ms) / static_cast<double>(length_ms);
    return std::lerp(from.value, to.value, share);
  }
  const auto first = static_cast<Wide>(from.value);
  const auto last = static_cast<Wide>(to.value);
  return static_cast<double>(
      RoundedQuotient(first * length_ms + (last - first) * passed_ms, length_ms));
}

std::uint64_t BitsOfNumber(TagType type, double number) {
  if (type == TagType::kFloat64) return std::bit_cast<std::uint64_t>(number);
  if (type == TagType::kFloat32) return std::bit_cast<std::uint32_t>(static_cast<float>(number));
  return static_cast<std::uint32_t>(static_cast<std::int32_t>(number));
}

}  // namespace zervane
