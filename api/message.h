#pragma once

#include <cstdint>
#include <limits>
#include <optional>
#include <protozero/pbf_reader.hpp>
#include <protozero/pbf_writer.hpp>
#include <string>
#include <string_view>
#include <type_traits>
#include <utility>
#include <vector>

#include "api/fields.h"
#include "api/words/samples.h"
#include "api/words/secret.h"
#include "api/words/tag.h"
#include "api/words/value.h"

// Operations and replies as messages in the encoding of protocol buffers: field i of a struct's
// list has the number i + 1, unknown numbers are passed over, and a field that is left out keeps
// its default. So programs of different releases understand each other.
namespace zervane {

// What a message is made of. A reply that is no struct stands alone, as field 1.
template <typename T>
std::string EncodeMessage(const T& of);

// Reads into `to`, which holds the defaults. False when the bytes, which may be anything, are no
// such message; `to` is then of no use. Only what the bytes hold is allocated.
template <typename T>
bool DecodeMessage(std::string_view bytes, T* to);

// Words whose fields are listed elsewhere: tags in the tables of their columns, samples in their
// arrays.
void EncodeWord(const Tag& tag, protozero::pbf_writer& out);
void EncodeWord(const SampleColumns& samples, protozero::pbf_writer& out);
void EncodeWord(const Sample& sample, protozero::pbf_writer& out);
bool DecodeWord(protozero::pbf_reader in, Tag* tag);
bool DecodeWord(protozero::pbf_reader in, SampleColumns* samples);
bool DecodeWord(protozero::pbf_reader in, Sample* sample);

namespace message {

template <typename T>
concept Word =
    std::is_same_v<T, Tag> || std::is_same_v<T, SampleColumns> || std::is_same_v<T, Sample>;
template <typename T>
concept Integer = std::is_integral_v<T> || std::is_enum_v<T>;

template <typename T>
void EncodeFields(const T& of, protozero::pbf_writer& out);

// How a field of the type stands in a message; what comes otherwise is no such message.
template <typename T>
struct WireType {
  static constexpr auto kOf = Integer<T>                 ? protozero::pbf_wire_type::varint
                              : std::is_same_v<T, float> ? protozero::pbf_wire_type::fixed32
                              : std::is_same_v<T, double>
                                  ? protozero::pbf_wire_type::fixed64
                                  : protozero::pbf_wire_type::length_delimited;
};
template <typename T>
struct WireType<std::optional<T>> : WireType<T> {};

// ---- one field out ----

template <Integer T>
void Put(protozero::pbf_writer& out, protozero::pbf_tag_type number, const T& value) {
  out.add_sint64(number, static_cast<std::int64_t>(value));
}
inline void Put(protozero::pbf_writer& out, protozero::pbf_tag_type number, float value) {
  out.add_float(number, value);
}
inline void Put(protozero::pbf_writer& out, protozero::pbf_tag_type number, double value) {
  out.add_double(number, value);
}
inline void Put(protozero::pbf_writer& out, protozero::pbf_tag_type number,
                const std::string& value) {
  out.add_bytes(number, value);
}
inline void Put(protozero::pbf_writer& out, protozero::pbf_tag_type number, const Secret& value) {
  out.add_bytes(number, value.view().data(), value.view().size());
}
template <HasFields T>
void Put(protozero::pbf_writer& out, protozero::pbf_tag_type number, const T& value) {
  protozero::pbf_writer inner(out, number);
  EncodeFields(value, inner);
}
template <Word T>
void Put(protozero::pbf_writer& out, protozero::pbf_tag_type number, const T& value) {
  protozero::pbf_writer inner(out, number);
  EncodeWord(value, inner);
}
template <typename T>
void Put(protozero::pbf_writer& out, protozero::pbf_tag_type number,
         const std::optional<T>& value) {
  if (value) Put(out, number, *value);
}
template <typename T>
void Put(protozero::pbf_writer& out, protozero::pbf_tag_type number, const std::vector<T>& values) {
  if constexpr (Integer<T>) {
    std::vector<std::int64_t> numbers(values.begin(), values.end());
    out.add_packed_sint64(number, numbers.begin(), numbers.end());
  } else {
    for (const T& value : values) Put(out, number, value);
  }
}

template <typename T>
void EncodeFields(const T& of, protozero::pbf_writer& out) {
  protozero::pbf_tag_type number = 0;
  ForEachField(of, [&](const char*, const auto& value) { Put(out, ++number, value); });
}

// ---- one field in ----

template <typename T>
bool DecodeFields(protozero::pbf_reader in, T* to);

template <Integer T>
bool Narrow(std::int64_t number, T* to) {
  if constexpr (std::is_enum_v<T>) {
    std::underlying_type_t<T> value{};
    if (!Narrow(number, &value)) return false;
    *to = static_cast<T>(value);
    return true;
  } else if constexpr (std::is_same_v<T, bool>) {
    *to = number != 0;
    return number == 0 || number == 1;
  } else if constexpr (std::is_same_v<T, std::uint64_t>) {
    *to = static_cast<std::uint64_t>(number);
    return true;
  } else {
    *to = static_cast<T>(number);
    return std::in_range<T>(number);
  }
}

template <Integer T>
bool Get(protozero::pbf_reader& in, T* to) {
  return Narrow(in.get_sint64(), to);
}
inline bool Get(protozero::pbf_reader& in, float* to) {
  *to = in.get_float();
  return true;
}
inline bool Get(protozero::pbf_reader& in, double* to) {
  *to = in.get_double();
  return true;
}
inline bool Get(protozero::pbf_reader& in, std::string* to) {
  *to = in.get_bytes();
  return true;
}
inline bool Get(protozero::pbf_reader& in, Secret* to) {
  const protozero::data_view bytes = in.get_view();
  *to = Secret({bytes.data(), bytes.size()});
  return true;
}
template <HasFields T>
bool Get(protozero::pbf_reader& in, T* to) {
  return DecodeFields(in.get_message(), to);
}
template <Word T>
bool Get(protozero::pbf_reader& in, T* to) {
  return DecodeWord(in.get_message(), to);
}
template <typename T>
bool Get(protozero::pbf_reader& in, std::optional<T>* to) {
  return Get(in, &to->emplace());
}
template <typename T>
bool Get(protozero::pbf_reader& in, std::vector<T>* to) {
  if constexpr (Integer<T>) {
    for (const std::int64_t number : in.get_packed_sint64()) {
      if (!Narrow(number, &to->emplace_back())) return false;
    }
    return true;
  } else {
    return Get(in, &to->emplace_back());
  }
}

template <typename T>
bool DecodeFields(protozero::pbf_reader in, T* to) {
  bool is_well = true;
  while (is_well && in.next()) {
    protozero::pbf_tag_type number = 0;
    bool is_known = false;
    ForEachField(*to, [&](const char*, auto& value) {
      if (++number != in.tag() || is_known) return;
      is_known = true;
      is_well =
          in.wire_type() == WireType<std::remove_cvref_t<decltype(value)>>::kOf && Get(in, &value);
    });
    if (!is_known) in.skip();
  }
  return is_well;
}

}  // namespace message

template <typename T>
std::string EncodeMessage(const T& of) {
  std::string bytes;
  protozero::pbf_writer out(bytes);
  if constexpr (HasFields<T>) {
    message::EncodeFields(of, out);
  } else {
    message::Put(out, 1, of);
  }
  return bytes;
}

template <typename T>
bool DecodeMessage(std::string_view bytes, T* to) {
  try {
    protozero::pbf_reader in(bytes.data(), bytes.size());
    if constexpr (HasFields<T>) {
      return message::DecodeFields(in, to);
    } else {
      bool is_well = true;
      while (is_well && in.next()) {
        if (in.tag() == 1) {
          is_well = in.wire_type() == message::WireType<T>::kOf && message::Get(in, to);
        } else {
          in.skip();
        }
      }
      return is_well;
    }
  } catch (const protozero::exception&) {
    return false;
  }
}

}  // namespace zervane
