#pragma once

#include <utility>

#include "engine/assert.h"

namespace zervane {

// The right to change the store, of which there is one for a store: whoever holds it is alone. What
// runs on the thread that commits takes a Turn&, so that nothing else can call it.
//
//   Turn turn = Turn::Issue();             // once, when the store is opened
//   path.Load(turn);                       // there is no queue yet
//   path.Start(std::move(turn), limits);   // from now on the queue's
class Turn {
 public:
  static Turn Issue() { return {}; }
  Turn(Turn&& other) noexcept : is_held_(std::exchange(other.is_held_, false)) {}
  Turn& operator=(Turn&& other) noexcept {
    ZERVANE_ASSERT(!is_held_);  // else one would be lost, and nothing could be changed any more
    is_held_ = std::exchange(other.is_held_, false);
    return *this;
  }

  bool is_held() const { return is_held_; }
  // REQUIRES that it was not moved away.
  void AssertHeld() const { ZERVANE_ASSERT(is_held_); }

 private:
  Turn() = default;

  bool is_held_ = true;
};

}  // namespace zervane
