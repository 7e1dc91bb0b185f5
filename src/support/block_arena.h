// SPDX-License-Identifier: MIT
// Memory for many small arrays.
#pragma once

#include <algorithm>
#include <cstddef>
#include <memory>
#include <utility>
#include <vector>

namespace orvelle {

// Hands out arrays that live as long as it does and stay where they are when it is moved.
template <class T>
class BlockArena {
 public:
  // Room for `count` values, which are not set.
  T* take(size_t count) {
    if (blocks_.empty() || blocks_.back().room < count) add_block(count);
    block_t& block = blocks_.back();
    block.room -= count;
    return std::exchange(block.next, block.next + count);
  }

 private:
  static constexpr size_t First_Size = (1 << 12) / sizeof(T), Largest_Size = (1 << 18) / sizeof(T);

  struct block_t {
    std::unique_ptr<T[]> values;
    T* next;
    size_t room;  // values left at next
  };

  void add_block(size_t least) {
    const size_t size = std::max(next_size_, least);
    auto values = std::make_unique_for_overwrite<T[]>(size);
    T* const first = values.get();
    blocks_.push_back({std::move(values), first, size});
    next_size_ = std::min(4 * next_size_, Largest_Size);
  }

  std::vector<block_t> blocks_;
  size_t next_size_ = First_Size;
};

}  // namespace orvelle
