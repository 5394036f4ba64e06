#pragma once

#include <cstdint>
#include <memory>
#include <utility>

#include "vask/call.h"
#include "vask/paged_iterator.h"

namespace zervane {

// Hands an iterator over the pages of the operation out, which begins at its key; the session
// outlives its handles, and with them the iterator.
template <typename Item, typename Key, typename Op>
Status Iterate(Session& session, Op operation, Key (*key_of)(const Item&),
               void (*fill)(const Item&, void*), ZR3HANDLE* handle) {
  const Key from = operation.from;
  auto fetch = [&session, operation = std::move(operation)](const Key& key,
                                                            std::int32_t limit) mutable {
    operation.from = key;
    operation.limit = limit;
    return session.Do(operation);
  };
  Result<std::unique_ptr<ItemIterator>> iterator = PagedIterator<Item, Key>::Make(
      {.fetch = std::move(fetch), .key_of = key_of, .fill = fill}, from);
  if (!iterator.ok()) return iterator.status();
  return Deliver(session.handles().Add(*std::move(iterator)), handle);
}

}  // namespace zervane
