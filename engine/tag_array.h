#pragma once

#include <array>
#include <atomic>
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
  T* Find(TagId tag) { return Element(*this, tag); }
  const T* Find(TagId tag) const { return Element(*this, tag); }

  // Makes it when it is not there; it stays where it is.
  T& At(TagId tag) {
    if (T* found = Find(tag)) return *found;
    const std::size_t piece = tag >> kPieceBits;
    if (piece >= pieces_.size()) pieces_.resize(piece + 1);
    pieces_[piece] = std::make_unique<Piece>();
    while (unbroken_ < pieces_.size() && pieces_[unbroken_] != nullptr) ++unbroken_;
    return (*pieces_[piece])[tag & kMask];
  }

  // Whether all tags up to this one have been made, as far as that can be told at once: a tag whose
  // own piece is there, but not every one before it, does not count.
  bool HasAllUpTo(TagId tag) const { return tag >> kPieceBits < unbroken_; }

 private:
  static constexpr std::size_t kMask = (std::size_t{1} << kPieceBits) - 1;
  using Piece = std::array<T, kMask + 1>;

  template <typename Array>
  static auto Element(Array& array, TagId tag) -> decltype(&(*array.pieces_[0])[0]) {
    const std::size_t piece = tag >> kPieceBits;
    if (piece >= array.pieces_.size() || array.pieces_[piece] == nullptr) return nullptr;
    return &(*array.pieces_[piece])[tag & kMask];
  }

  std::vector<std::unique_ptr<Piece>> pieces_;
  std::size_t unbroken_ = 0;  // all pieces before it are there
};

// The same for an array that many threads look into while one makes elements. Pieces are found
// through a tree of two levels, which costs a single great identifier no more than 48 KiB.
//
// Threads: any may call Find; At is called by one thread at a time.
template <typename T, std::size_t kPieceBits = 10>
class SharedTagArray {
 public:
  SharedTagArray() = default;
  SharedTagArray(const SharedTagArray&) = delete;
  SharedTagArray& operator=(const SharedTagArray&) = delete;
  ~SharedTagArray() {
    for (const std::atomic<Branch*>& branch : branches_) delete branch.load();
  }

  // Null when nothing near the tag was ever made.
  T* Find(TagId tag) const {
    const Branch* branch = branches_[tag >> kBranchShift].load(std::memory_order_acquire);
    if (branch == nullptr) return nullptr;
    Piece* piece = branch->pieces[PieceOf(tag)].load(std::memory_order_acquire);
    return piece == nullptr ? nullptr : &(*piece)[tag & (piece->size() - 1)];
  }

  // Makes it when it is not there; it stays where it is.
  T& At(TagId tag) {
    if (T* found = Find(tag)) return *found;
    std::atomic<Branch*>& branch = branches_[tag >> kBranchShift];
    if (branch.load() == nullptr) branch.store(new Branch, std::memory_order_release);
    branch.load()->pieces[PieceOf(tag)].store(new Piece(), std::memory_order_release);
    return *Find(tag);
  }

 private:
  static constexpr std::size_t kBranchBits = (32 - kPieceBits) / 2;
  static constexpr std::size_t kBranchShift = kPieceBits + kBranchBits;

  using Piece = std::array<T, std::size_t{1} << kPieceBits>;
  struct Branch {
    ~Branch() {
      for (const std::atomic<Piece*>& piece : pieces) delete piece.load();
    }
    std::array<std::atomic<Piece*>, std::size_t{1} << kBranchBits> pieces{};
  };

  static std::size_t PieceOf(TagId tag) {
    return tag >> kPieceBits & ((std::size_t{1} << kBranchBits) - 1);
  }

  std::array<std::atomic<Branch*>, std::size_t{1} << (32 - kBranchShift)> branches_{};
};

}  // namespace zervane
