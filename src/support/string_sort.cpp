// SPDX-License-Identifier: MIT
// Eight bytes at a time: the strings are sorted by their first eight bytes, carried along as one number; those that agree
// in them are sorted by the next eight, and so on. A string is looked at once for every eight bytes that it shares with
// another one, where comparing whole strings would look at it again for every comparison.
#include "support/string_sort.h"

#include <algorithm>
#include <cstddef>
#include <cstring>
#include <numeric>
#include <span>

namespace orvelle {

namespace {

constexpr size_t Piece = 8;  // bytes

struct key_t {
  uint64_t piece;   // eight bytes, big-endian, zeros behind the end of the string
  uint32_t number;  // index of the string
};

uint64_t piece_of(const char* s) {
  uint64_t piece = 0;
  for (size_t i = 0; i < Piece; ++i) {
    piece = piece << 8 | static_cast<unsigned char>(*s);
    if (*s != '\0') ++s;
  }
  return piece;
}

bool is_last(uint64_t piece) { return (piece & 0xFF) == 0; }

class StringSorter {
 public:
  explicit StringSorter(const std::vector<const char*>& strings) : strings_(strings) {}

  // Sorts strings that agree in their first `depth` bytes; as deep in calls as a line has pieces, at most.
  void sort(std::span<key_t> keys, size_t depth) const {
    for (key_t& key : keys) key.piece = piece_of(strings_[key.number] + depth);
    std::sort(keys.begin(), keys.end(), [](const key_t& a, const key_t& b) { return a.piece < b.piece; });
    for (auto first = keys.begin(); first != keys.end();) {
      const auto differs = [first](const key_t& key) { return key.piece != first->piece; };
      const auto last = std::find_if(first + 1, keys.end(), differs);
      if (last - first > 1 && !is_last(first->piece)) sort({first, last}, depth + Piece);
      first = last;
    }
  }

 private:
  const std::vector<const char*>& strings_;
};

}  // namespace

std::vector<uint32_t> sorted_order(const std::vector<const char*>& strings) {
  std::vector<uint32_t> order(strings.size());
  std::iota(order.begin(), order.end(), 0u);
  const auto descends = [](const char* a, const char* b) { return std::strcmp(a, b) > 0; };
  if (std::adjacent_find(strings.begin(), strings.end(), descends) == strings.end()) return order;

  std::vector<key_t> keys(strings.size());
  for (size_t i = 0; i < keys.size(); ++i) keys[i].number = static_cast<uint32_t>(i);
  StringSorter(strings).sort(keys, 0);
  for (size_t i = 0; i < keys.size(); ++i) order[i] = keys[i].number;
  return order;
}

std::vector<uint32_t> ranks_of(const std::vector<const char*>& strings) {
  std::vector<uint32_t> ranks(strings.size());
  uint32_t rank = 0;
  for (const uint32_t i : sorted_order(strings)) ranks[i] = rank++;
  return ranks;
}

}  // namespace orvelle
