#pragma once

#include <cstddef>
#include <cstdint>
#include <span>

#include "api/words/samples.h"
#include "engine/storage/codec/bytes.h"

namespace zervane::storage {

// One way to code the values of a chunk.
struct ValueCodec {
  // Stands before what the codec wrote, in files: never given to another one.
  std::uint8_t id;

  // Codes the values from `begin` to before `end`, at least one, all of the codec's types. False,
  // with nothing written, when others suit them better.
  bool (*write)(const SampleColumns& samples, std::size_t begin, std::size_t end, ByteWriter* out);

  // Sets the values, and texts, of all the samples, at least one; false when what stands there is
  // nothing of the codec's. Whether a value is one of its sample's type is left to CheckValue.
  bool (*read)(ByteReader* in, SampleColumns* samples);
};

// The codecs of a type, the most wanted first. The last one takes any values.
std::span<const ValueCodec> CodecsOf(TagType type);

// What says where `lengths` texts stand, one behind the other, in place of the lengths; false when
// one is longer than a text may be. `size` becomes the length of all.
bool PlaceTexts(std::span<std::uint64_t> lengths, std::size_t* size);

}  // namespace zervane::storage
