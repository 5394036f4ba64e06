#pragma once

#include <algorithm>
#include <cstring>
#include <memory>
#include <random>
#include <type_traits>
#include <vector>

#include "zervane.h"

namespace zervane {

// Makes arguments of random bytes that are as hostile as a caller can be while its memory is its
// own: a pointer is null or leads to exactly kElements elements, counts go no further, and lengths
// tell the truth. Everything lasts until Forget.
class Chaos {
 public:
  static constexpr int32 kElements = 16;

  explicit Chaos(std::uint64_t seed) : random_(seed) {}

  template <typename T>
  T Make() {
    if constexpr (std::is_pointer_v<T>) {
      return MakePointer<std::remove_const_t<std::remove_pointer_t<T>>>();
    } else {
      T value;
      Scramble(&value);
      return value;
    }
  }

  void Forget() { memory_.clear(); }

 private:
  // A text or a block of name slots; elsewhere, room for whatever an iterator could yield.
  static constexpr std::size_t kTextBytes = std::size_t{kElements} * ZR3_LEN_TAG_NAME;

  template <typename T>
  T* MakePointer() {
    if (Chance(8)) return nullptr;
    if constexpr (std::is_void_v<T> || std::is_same_v<T, char>) {
      return reinterpret_cast<T*>(Bytes(kTextBytes));
    } else {
      T* elements = reinterpret_cast<T*>(Bytes(sizeof(T[kElements])));
      for (int32 i = 0; i < kElements; ++i) Repair(&elements[i]);
      return elements;
    }
  }

  char* Bytes(std::size_t size) {
    memory_.push_back(std::make_unique<char[]>(size));
    Fill(memory_.back().get(), size);
    return memory_.back().get();
  }

  template <typename T>
  void Scramble(T* value) {
    Fill(static_cast<void*>(value), sizeof *value);
    Repair(value);
  }

  // Random bytes; half of all fillings have runs of zeros, so that texts end.
  void Fill(void* to, std::size_t size) {
    const bool with_zeros = Chance(2);
    for (std::size_t i = 0; i < size; i += sizeof(std::uint64_t)) {
      std::uint64_t bytes = random_();
      if (with_zeros && bytes % 4 == 0) bytes = 0;
      std::memcpy(static_cast<char*>(to) + i, &bytes, std::min(sizeof bytes, size - i));
    }
  }

  // Makes pointers and lengths true, and some values likely enough to get past the first check.
  template <typename T>
  void Repair(T*) {}

  // A count as a rule.
  void Repair(int32* value) { *value = Pick(-3, kElements); }

  // An identifier as a rule; 1 is left in peace.
  void Repair(uint32* value) {
    if (Chance(2)) *value = static_cast<uint32>(Pick(0, 1) == 0 ? 0 : Pick(2, 9));
  }

  void Repair(ZR3Mask* value) {
    if (Chance(2)) *value = {.nCommMask = Pick(-1, 1), .nExtMask = Pick(-1, 1)};
  }

  void Repair(ZR3Time* value) {
    if (!Chance(4)) value->nMsec = static_cast<int16>(Pick(0, 999));
  }

  void Repair(ZR3TimeRegion* value) {
    Repair(&value->left);
    Repair(&value->right);
  }

  void Repair(ZR3Record* value) {
    if (!Chance(4)) value->nTagType = Pick(ZR3_TAG_TYPE_MIN, ZR3_TAG_TYPE_MAX);
    if (!Chance(4)) value->nMsec = static_cast<int16>(Pick(0, 999));
    value->value.strBlob.nLenBuf = static_cast<uint16>(Pick(0, 1200));
    value->value.strBlob.pBuf = Chance(4) ? nullptr : Bytes(value->value.strBlob.nLenBuf);
  }

  void Repair(ZR3FilterItemSet* value) {
    value->nSize = Pick(-1, kElements);
    value->pItem = MakePointer<ZR3FilterItem>();
  }

  void Repair(ZR3PageQueryTagParam* value) { Repair(&value->itemSet); }

  void Repair(ZR3StRelatedParam* value) {
    value->nTimeRegionNum = Pick(-1, kElements);
    value->pTimeRegions = MakePointer<ZR3TimeRegion>();
  }

  // Text that can be a tag's, often.
  void Repair(ZR3PtTagProp* value) {
    if (Chance(2)) std::memcpy(value->szTagName, "chaos", 6);
  }

  bool Chance(int one_in) { return Pick(1, one_in) == 1; }

  int32 Pick(int32 from, int32 to) {
    return from + static_cast<int32>(random_() % static_cast<std::uint64_t>(to - from + 1));
  }

  std::mt19937_64 random_;
  std::vector<std::unique_ptr<char[]>> memory_;
};

}  // namespace zervane
