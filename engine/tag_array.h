#pragma once

#include <array>
#include <cstddef>
#include <memory>
#include <vector>

#include "api/words/value.h"

namespace zervane {

// Something for every tag, found by its identifier in a few instructions. Identifiers count up from
// 1, so it is an array, in pieces of 2^kPieceBits elements that are made when one of theirs is
// first asked for; a single great identifier costs 8 bytes for each piece before its own.
//
// Threads: as a container.
template <typename T, std::size_t kPieceBits = 10>
class TagArray {
 public:
  // Null when nothing near the tag was ever made.
  T* Find(TagId tag) {
    const std::size_t piece = tag >> kPieceBits;
    if (piece >= pieces_.size() || pieces_[piece] == nullptr) return nullptr;
    return &(*pieces_[piece])[tag & kMask];
  }

  // Makes it when it is not there; it stays where it is.
  T& At(TagId tag) {
    if (T* found = Find(tag)) return *found;
    const std::size_t piece = tag >> kPieceBits;
    if (piece >= pieces_.size()) pieces_.resize(piece + 1);
    pieces_[piece] = std::make_unique<Piece>();
    return (*pieces_[piece])[tag & kMask];
  }

 private:
  static constexpr std::size_t kMask = (std::size_t{1} << kPieceBits) - 1;
  using Piece = std::array<T, kMask + 1>;

  std::vector<std::unique_ptr<Piece>> pieces_;
};

}  // namespace zervane
