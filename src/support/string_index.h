// A hash index over strings that live elsewhere: from a string to its number in a table that the caller owns.
//
//   slots_   | hash 7f3a, number 2 | empty | hash 02b1, number 0 | ...     open addressing, a power of two, at most
//   table    0: "DT"  1: "NN"  2: "SENT"                                    half full
//
// It stands beside the sorted tables (tags, lemmas, word forms) and answers in one or two cache misses what a binary
// search needs about twenty for.
#pragma once

#include <bit>
#include <cstdint>
#include <cstring>
#include <string_view>
#include <vector>

namespace orvelle {

// 64-bit multiply-and-fold hash of a byte string; the high and the low half are both well mixed.
inline uint64_t hash_bytes(std::string_view text) {
  constexpr uint64_t Multiplier = 0x9E3779B97F4A7C15;  // 2^64 divided by the golden ratio
  const auto mix = [](uint64_t x) { return (x ^ (x >> 29)) * Multiplier; };
  uint64_t hash = text.size() * Multiplier;
  const char* p = text.data();
  size_t left = text.size();
  for (; left >= 8; p += 8, left -= 8) {
    uint64_t word;
    std::memcpy(&word, p, 8);
    hash = mix(hash ^ word);
  }
  uint64_t tail = 0;
  for (size_t i = 0; i < left; ++i) tail |= uint64_t{static_cast<unsigned char>(p[i])} << (8 * i);
  hash = mix(hash ^ tail);
  return hash ^ (hash >> 32);
}

class StringIndex {
 public:
  // Number of `text`, or -1. `key_at(i)` gives the string (as something comparable with string_view) of number i.
  template <class KeyAt>
  int find(std::string_view text, uint64_t hash, KeyAt key_at) const {
    if (slots_.empty()) return -1;
    for (size_t i = hash & mask_;; i = (i + 1) & mask_) {
      const slot_t& slot = slots_[i];
      if (slot.number < 0) return -1;
      if (slot.hash == static_cast<uint32_t>(hash >> 32) && key_at(slot.number) == text) return slot.number;
    }
  }
  template <class KeyAt>
  int find(std::string_view text, KeyAt key_at) const {
    return find(text, hash_bytes(text), key_at);
  }

  // Enters a string that is not in the index yet. `key_at` gives the strings entered so far, for growing.
  template <class KeyAt>
  void insert(uint64_t hash, int number, KeyAt key_at) {
    if (2 * (size_ + 1) > slots_.size()) grow(key_at);
    place(hash, number);
    ++size_;
  }

  // Makes room for `count` strings, so that the insertions up to there move nothing.
  void reserve(size_t count) { resize(std::bit_ceil(2 * count + 2)); }

  // Asks the memory for the slot that find will look at first.
  void prefetch(uint64_t hash) const { __builtin_prefetch(&slots_[hash & mask_]); }

  void clear() { *this = StringIndex(); }

 private:
  struct slot_t {
    uint32_t hash = 0;  // high half of the string's hash
    int32_t number = -1;
  };

  void resize(size_t slots) {
    slots_.assign(slots, slot_t{});
    mask_ = slots - 1;
  }

  void place(uint64_t hash, int number) {
    size_t i = hash & mask_;
    while (slots_[i].number >= 0) i = (i + 1) & mask_;
    slots_[i] = {static_cast<uint32_t>(hash >> 32), number};
  }

  template <class KeyAt>
  void grow(KeyAt key_at) {
    std::vector<slot_t> old = std::move(slots_);
    resize(old.empty() ? 64 : 2 * old.size());
    for (const slot_t& slot : old)
      if (slot.number >= 0) place(hash_bytes(key_at(slot.number)), slot.number);
  }

  std::vector<slot_t> slots_;
  size_t mask_ = 0;
  size_t size_ = 0;
};

}  // namespace orvelle
