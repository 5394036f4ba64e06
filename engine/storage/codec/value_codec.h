#pragma once

#include <cstdint>
#include <span>

#include "api/words/value.h"
#include "engine/storage/codec/bytes.h"

namespace zervane::storage {

// One way to code the values of a chunk.
struct ValueCodec {
  // Stands before what the codec wrote, in files: never given to another one.
  std::uint8_t id;

  // Codes the values of at least one record, all of the codec's types. False, with nothing written,
  // when others suit them better.
  bool (*write)(std::span<const Sample> records, ByteWriter* out);

  // Sets the values of at least one record; false when what stands there is nothing of the codec's.
  // Whether a value is one of the record's type is left to CheckValue.
  bool (*read)(ByteReader* in, std::span<Sample> records);
};

// The codecs of a type, the most wanted first. The last one takes any values.
std::span<const ValueCodec> CodecsOf(TagType type);

}  // namespace zervane::storage
