// SPDX-License-Identifier: MIT
// An array of which few elements need be there: the others are all alike and take no memory.
#pragma once

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <utility>
#include <vector>

namespace orvelle {

template <class T>
class SparseTable {
 public:
  using Entry = std::pair<int, T>;  // an element with its index

  SparseTable() = default;
  // Requires: indexes ascending, each once, from 0 to size - 1.
  SparseTable(std::vector<Entry> entries, size_t size) : entries_(std::move(entries)), size_(size) {
    constexpr size_t Least_Near = 1024;
    near_.assign(std::min(size_, 8 * entries_.size() + Least_Near), 0);
    for (size_t i = 0; i < entries_.size() && static_cast<size_t>(entries_[i].first) < near_.size(); ++i)
      near_[static_cast<size_t>(entries_[i].first)] = static_cast<uint32_t>(i + 1);
  }

  size_t size() const { return size_; }

  // Without an entry it is T(). Requires: index < size().
  const T& operator[](size_t index) const {
    if (index < near_.size()) return near_[index] != 0 ? entries_[near_[index] - 1].second : empty_;
    const auto place = std::lower_bound(
        entries_.begin(), entries_.end(), index,
        [](const Entry& entry, size_t wanted) { return static_cast<size_t>(entry.first) < wanted; });
    return place != entries_.end() && static_cast<size_t>(place->first) == index ? place->second : empty_;
  }

  // What is there, by index.
  const std::vector<Entry>& entries() const { return entries_; }

 private:
  std::vector<Entry> entries_;
  std::vector<uint32_t> near_;  // of low indexes: place in entries_ plus 1; all of them where gaps are small
  size_t size_ = 0;
  T empty_{};
};

}  // namespace orvelle
