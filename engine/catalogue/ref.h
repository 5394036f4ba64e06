#pragma once

#include <atomic>
#include <cstdint>
#include <utility>

namespace zervane {

// Counts those who share an object that is made with new and owned by Ref.
class Counted {
 public:
  Counted() = default;
  Counted(const Counted&) {}  // the copy is nobody's yet
  Counted& operator=(const Counted&) = delete;

 private:
  template <typename T>
  friend class Ref;
  mutable std::atomic<std::uint32_t> owners_{0};
};

// A share of an object, which goes with its last share. It costs the room of a pointer: images of
// the catalogue share millions of objects. Threads: as std::shared_ptr.
template <typename T>
class Ref {
 public:
  Ref() = default;
  explicit Ref(T* object) : object_(object) { Join(); }
  Ref(const Ref& other) noexcept : object_(other.object_) { Join(); }
  Ref(Ref&& other) noexcept : object_(std::exchange(other.object_, nullptr)) {}
  Ref& operator=(Ref other) noexcept {
    std::swap(object_, other.object_);
    return *this;
  }
  ~Ref() {
    if (object_ != nullptr && object_->owners_.fetch_sub(1, std::memory_order_acq_rel) == 1) {
      delete object_;
    }
  }

  T* get() const { return object_; }
  T& operator*() const { return *object_; }
  T* operator->() const { return object_; }
  explicit operator bool() const { return object_ != nullptr; }

  // Whether nobody else has a share, nor can get one but from this.
  bool IsOnly() const { return object_->owners_.load(std::memory_order_acquire) == 1; }

 private:
  void Join() {
    if (object_ != nullptr) object_->owners_.fetch_add(1, std::memory_order_relaxed);
  }

  T* object_ = nullptr;
};

}  // namespace zervane
