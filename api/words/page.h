#pragma once

#include <optional>
#include <vector>

#include "api/fields.h"
#include "api/words/value.h"

namespace zervane {

// Part of a query's answer, and the key with which the next page begins: none after the last item.
// Who goes on from the key sees every item at most once, in order; what was deleted meanwhile is
// passed over, what was added behind the key comes. A key may turn out to have nothing behind it: go
// on while there is a next, and take an empty page for no end.
template <typename Item, typename Key = TagId>
struct Page {
  std::vector<Item> items;
  std::optional<Key> next;

  static auto Fields(auto& self) {
    return FieldList(Field{"items", self.items}, Field{"next", self.next});
  }
  friend bool operator==(const Page&, const Page&) = default;
};

// A page is full with so many items.
constexpr std::int32_t kMaxPageItems = 1'000;

}  // namespace zervane
