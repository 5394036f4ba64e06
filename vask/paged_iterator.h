#pragma once

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <functional>
#include <limits>
#include <memory>
#include <optional>
#include <utility>
#include <vector>

#include "api/words/page.h"
#include "api/words/status.h"
#include "engine/assert.h"
#include "vask/handle_table.h"

namespace zervane {

// The items of a query that is answered in pages: what comes after a page is asked for when that
// runs out, by its key, so that the database holds nothing for an iterator, and items that come or
// go meanwhile disturb none.
//
// The functions: Result<Page<Item, Key>> fetch(key, limit), the key of an item, and what fills the
// caller's record.
template <typename Item, typename Key = TagId>
class PagedIterator : public ItemIterator {
 public:
  struct Functions {
    std::function<Result<Page<Item, Key>>(const Key& from, std::int32_t limit)> fetch;
    Key (*key_of)(const Item& item);
    std::function<void(const Item& item, void* record)> fill;
  };
  static constexpr std::int64_t kNoLimit = std::numeric_limits<std::int64_t>::max();

  // The items from `from` on, at most `limit` of them. The first page is fetched here, so that what
  // is wrong with the query is the status of the query.
  static Result<std::unique_ptr<ItemIterator>> Make(Functions functions, Key from,
                                                    std::int64_t limit = kNoLimit) {
    std::unique_ptr<PagedIterator> made(new PagedIterator(std::move(functions), from, limit));
    Status status = made->FetchPage();
    if (!status.ok()) return status;
    return std::unique_ptr<ItemIterator>(std::move(made));
  }

  Status Next(void* record) override {
    // A page may be empty and yet have another one behind it.
    while (at_ == page_.items.size()) {
      if (!page_.next || left_ <= 0) return {ZR3_ERR_END_OF_ITERATION, {}};
      if (Status status = FetchPage(); !status.ok()) return status;
    }
    if (left_ <= 0) return {ZR3_ERR_END_OF_ITERATION, {}};
    functions_.fill(page_.items[at_], record);
    ++at_;
    --left_;
    return {};
  }

  void Forget() noexcept override {
    if (at_ < page_.items.size()) page_.next = functions_.key_of(page_.items[at_]);
    std::vector<Item>().swap(page_.items);  // assigning an empty one would keep the memory
    at_ = 0;
  }

  // For how many items it keeps memory.
  std::size_t capacity() const { return page_.items.capacity(); }

 private:
  PagedIterator(Functions functions, Key from, std::int64_t limit)
      : functions_(std::move(functions)), left_(limit) {
    page_.next = from;
  }

  // REQUIRES a key to go on from, and something to fetch.
  Status FetchPage() {
    ZERVANE_ASSERT(page_.next.has_value() && left_ > 0);
    const auto limit = static_cast<std::int32_t>(std::min<std::int64_t>(left_, kMaxPageItems));
    Result<Page<Item, Key>> page = functions_.fetch(*page_.next, limit);
    if (!page.ok()) return page.status();
    page_ = *std::move(page);
    at_ = 0;
    return {};
  }

  const Functions functions_;
  Page<Item, Key> page_;
  std::size_t at_ = 0;  // of the next item in the page
  std::int64_t left_;   // items that may still be handed out
};

}  // namespace zervane
