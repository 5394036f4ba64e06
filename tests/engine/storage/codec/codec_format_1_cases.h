#pragma once

#include <string>
#include <vector>

#include "tests/engine/storage/codec/codec_cases.h"

// Blocks that the first release wrote: its chunks, and its batches where it compressed them.
namespace zervane::storage {

struct OldChunk {
  const char* name;
  std::vector<Sample> samples;
  const char* hex;
};

inline const OldChunk kOldChunks[] = {
    {"Integers",
     {At(1000, 192, TagType::kInt16, 5), At(2000, 192, TagType::kInt16, 3),
      At(2001, 0, TagType::kInt16, 300)},
     "5a43010001000000030000000e0000000064dd14"
     "e807e80701"
     "02c0010100"
     "0a03d204"},
    {"Float32",
     {At(0, 192, TagType::kFloat32, 1.0F), At(1, 192, TagType::kFloat32, -2.5F)},
     "5a43010003000000020000000d0000001fb9e7eb"
     "0001"
     "02c001"
     "0000000080203fc0"},
    {"Float64",
     {At(kMaxTimeMs - 1, 65535, TagType::kFloat64, 1.0),
      At(kMaxTimeMs, 65535, TagType::kFloat64, -2.5)},
     "5a43010004000000020000001b000000686daa75"
     "feffffffff7c01"
     "02ffff03"
     "000000000000000000000000f0043fc0"},
    {"Blob",
     {At(7, 64, TagType::kBlob, std::string("a\0b", 3)), At(8, 64, TagType::kBlob, std::string())},
     "5a4301000700000002000000090000004d379aca"
     "0701"
     "0240"
     "0361006200"},
    {"Compressed", Alternating(),
     "5a43010105000000280000007a00000051abfab0"
     "28b52ffd207a9500004800e80728c0010002010200c05332d40d01"},
};

// Alternating() of tag 7, archived and current.
inline constexpr char kOldBatch[] =
    "5a4201010000000028000000c7000000661e04e0"
    "28b52ffd20c7a50000681d0e00001d00d00f021d00d00f0100b752e50b";

}  // namespace zervane::storage
