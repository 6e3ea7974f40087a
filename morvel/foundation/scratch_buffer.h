#pragma once

#include <array>
#include <cstddef>
#include <vector>

namespace trova::foundation {

/// Room for `size` values: on the stack up to `StackSize`, on the heap above. For tables that are
/// small in every ordinary case but may not overrun in the others. Contents start uninitialised on
/// the stack and zeroed on the heap.
template <class T, std::size_t StackSize>
class ScratchBuffer {
 public:
  explicit ScratchBuffer(std::size_t size) {
    if (size > StackSize) heap_.resize(size);
    data_ = size > StackSize ? heap_.data() : stack_.data();
  }
  ScratchBuffer(const ScratchBuffer&) = delete;
  ScratchBuffer& operator=(const ScratchBuffer&) = delete;

  T* data() { return data_; }
  T& operator[](std::size_t i) { return data_[i]; }

 private:
  std::array<T, StackSize> stack_;
  std::vector<T> heap_;
  T* data_;
};

}  // namespace trova::foundation
