#include "api/message.h"

#include <algorithm>
#include <cstddef>
#include <cstring>
#include <span>

#include "api/words/tag_columns.h"

namespace zervane {
namespace {

// A column as its bytes: the fields of samples are arrays, and to look at every number would take
// longer than all else. Numbers are little-endian, as on every machine that this runs on.
template <typename T>
void PutColumn(protozero::pbf_writer& out, protozero::pbf_tag_type number,
               std::span<const T> column) {
  out.add_bytes(number, reinterpret_cast<const char*>(column.data()), column.size_bytes());
}

template <typename T>
bool GetColumn(protozero::data_view bytes, std::span<T> column) {
  if (bytes.size() != column.size_bytes()) return false;
  if (!column.empty()) std::memcpy(column.data(), bytes.data(), bytes.size());
  return true;
}

// The class whose own properties follow, behind all numbers that columns have.
constexpr protozero::pbf_tag_type kOwnClass = 10'000;

// Null when the tag has no such property.
const PropertyColumn* ColumnOfField(protozero::pbf_tag_type number, const Tag& tag) {
  for (const auto columns : {CommonColumns(), OwnColumns(ClassOf(tag.own))}) {
    if (columns.empty()) continue;
    const auto first = static_cast<protozero::pbf_tag_type>(columns.front().column + 1);
    if (number >= first && number - first < columns.size()) return &columns[number - first];
  }
  return nullptr;
}

enum SamplesField : protozero::pbf_tag_type {
  kTimes = 1,
  kValues,
  kQualities,
  kTypes,
  kTexts,
};
constexpr std::size_t kSamplesFields = 5;

// Sample by sample, so that nothing is left that points outside the texts.
bool AddChecked(std::string_view texts, TagType type, std::uint64_t value, std::int64_t time_ms,
                std::uint16_t quality, SampleColumns* samples) {
  if (!IsText(type)) {
    samples->AddNumber(time_ms, quality, type, value);
    return true;
  }
  const std::uint64_t offset = SampleColumns::OffsetOf(value);
  const std::uint64_t length = SampleColumns::LengthOf(value);
  if (offset > texts.size() || length > texts.size() - offset) return false;
  samples->AddText(time_ms, quality, type, SampleColumns::TextIn(texts, value));
  return true;
}

}  // namespace

// ---- tags ----

// A property's field has the number of its column and one more, since there is no field 0.
void EncodeWord(const Tag& tag, protozero::pbf_writer& out) {
  out.add_sint64(kOwnClass, ClassOf(tag.own));
  ForEachColumn(tag, [&](const PropertyColumn& column) {
    const auto number = static_cast<protozero::pbf_tag_type>(column.column + 1);
    VisitProperty(column, tag, [&](const auto& value) { message::Put(out, number, value); });
  });
}

bool DecodeWord(protozero::pbf_reader in, Tag* tag) {
  bool is_well = true;
  while (is_well && in.next()) {
    if (in.tag() == kOwnClass) {
      std::int32_t tag_class = 0;
      is_well = in.wire_type() == protozero::pbf_wire_type::varint && message::Get(in, &tag_class);
      if (is_well) tag->own = DefaultOwnProperties(tag_class);
    } else if (const PropertyColumn* column = ColumnOfField(in.tag(), *tag)) {
      is_well = VisitProperty(*column, *tag, [&]<typename T>(T& value) {
        return in.wire_type() == message::WireType<T>::kOf && message::Get(in, &value);
      });
    } else {
      in.skip();
    }
  }
  return is_well;
}

// ---- samples ----

void EncodeWord(const SampleColumns& samples, protozero::pbf_writer& out) {
  PutColumn(out, kTimes, samples.times());
  PutColumn(out, kValues, samples.values());
  PutColumn(out, kQualities, samples.qualities());
  PutColumn(out, kTypes, samples.types());
  out.add_bytes(kTexts, samples.texts().data(), samples.texts().size());
}

bool DecodeWord(protozero::pbf_reader in, SampleColumns* samples) {
  protozero::data_view columns[kSamplesFields + 1] = {};
  while (in.next()) {
    if (in.tag() > kSamplesFields) {
      in.skip();
    } else if (in.wire_type() != protozero::pbf_wire_type::length_delimited) {
      return false;
    } else {
      const protozero::pbf_tag_type column = in.tag();  // to get the field ends it
      columns[column] = in.get_view();
    }
  }
  const std::size_t count = columns[kTypes].size();
  std::vector<std::int64_t> times(std::min(count, columns[kTimes].size()));
  std::vector<std::uint64_t> values(times.size());
  std::vector<std::uint16_t> qualities(times.size());
  std::vector<TagType> types(times.size());
  const bool is_whole = times.size() == count && GetColumn(columns[kTimes], std::span(times)) &&
                        GetColumn(columns[kValues], std::span(values)) &&
                        GetColumn(columns[kQualities], std::span(qualities)) &&
                        GetColumn(columns[kTypes], std::span(types));
  if (!is_whole) return false;
  samples->Clear();
  samples->Reserve(count);
  const std::string_view texts(columns[kTexts].data(), columns[kTexts].size());
  std::size_t text_bytes = 0;  // no two samples share a text, or a short message could ask for much
  for (std::size_t at = 0; at < count; ++at) {
    if (IsText(types[at])) text_bytes += SampleColumns::LengthOf(values[at]);
    const bool is_well =
        text_bytes <= texts.size() &&
        AddChecked(texts, types[at], values[at], times[at], qualities[at], samples);
    if (!is_well) return false;
  }
  return true;
}

void EncodeWord(const Sample& sample, protozero::pbf_writer& out) {
  SampleColumns one;
  one.Add(sample);
  EncodeWord(one, out);
}

bool DecodeWord(protozero::pbf_reader in, Sample* sample) {
  SampleColumns one;
  if (!DecodeWord(in, &one) || one.size() != 1) return false;
  *sample = one.At(0);
  return true;
}

}  // namespace zervane
