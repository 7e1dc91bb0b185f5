// SPDX-License-Identifier: MIT
#pragma once

#include <cstddef>
#include <numeric>
#include <vector>

namespace orvelle {

// Sorts items by `key(item)`, a number from 0 on and less than `keys`; those with the same key stay in order. Takes a step
// for each item and each key, and room for the items once more.
template <class T, class Key>
void counting_sort(std::vector<T>& items, size_t keys, Key key) {
  std::vector<size_t> next(keys, 0);
  for (const T& item : items) ++next[static_cast<size_t>(key(item))];
  std::exclusive_scan(next.begin(), next.end(), next.begin(), size_t{0});
  std::vector<T> sorted(items.size());
  for (const T& item : items) sorted[next[static_cast<size_t>(key(item))]++] = item;
  items.swap(sorted);
}

}  // namespace orvelle
