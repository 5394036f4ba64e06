#include "engine/storage/codec/quality_column.h"

#include <algorithm>
#include <cstddef>

namespace zervane::storage {

void WriteQualities(std::span<const std::uint16_t> qualities, ByteWriter* out) {
  for (std::size_t begin = 0; begin < qualities.size();) {
    std::size_t end = begin + 1;
    while (end < qualities.size() && qualities[end] == qualities[begin]) ++end;
    out->Varint(end - begin);
    out->Varint(qualities[begin]);
    begin = end;
  }
}

bool ReadQualities(ByteReader* in, std::span<std::uint16_t> qualities) {
  while (!qualities.empty()) {
    const std::uint64_t length = in->Varint();
    const std::uint64_t quality = in->Varint();
    if (!in->ok() || length == 0 || length > qualities.size() || quality > 0xFFFF) return false;
    std::ranges::fill(qualities.first(length), static_cast<std::uint16_t>(quality));
    qualities = qualities.subspan(length);
  }
  return true;
}

}  // namespace zervane::storage
