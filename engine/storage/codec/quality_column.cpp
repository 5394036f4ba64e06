#include "engine/storage/codec/quality_column.h"

#include <cstddef>
#include <cstdint>

namespace zervane::storage {

void WriteQualities(std::span<const Sample> records, ByteWriter* out) {
  for (std::size_t begin = 0; begin < records.size();) {
    std::size_t end = begin + 1;
    while (end < records.size() && records[end].quality == records[begin].quality) ++end;
    out->Varint(end - begin);
    out->Varint(records[begin].quality);
    begin = end;
  }
}

bool ReadQualities(ByteReader* in, std::span<Sample> records) {
  while (!records.empty()) {
    const std::uint64_t length = in->Varint();
    const std::uint64_t quality = in->Varint();
    if (!in->ok() || length == 0 || length > records.size() || quality > 0xFFFF) return false;
    for (Sample& record : records.first(length)) {
      record.quality = static_cast<std::uint16_t>(quality);
    }
    records = records.subspan(length);
  }
  return true;
}

}  // namespace zervane::storage
