// SPDX-License-Identifier: MIT
// A hash index over strings that live elsewhere: from a string to its number in a table that the caller owns.
//
//   slots_   | hash 7f3a, number 2 | empty | hash 02b1, number 0 | ...     open addressing, a power of two, at most
//   table    0: "DT"  1: "NN"  2: "SENT"                                    half full
//
// It stands beside the sorted tables (tags, lemmas, word forms) and answers in one or two cache misses what a binary
// search needs about twenty for. A string that finds no place near the slot of its hash, as nearly none does unless strings
// were made to share theirs, goes to a sorted map: no input makes more than Longest_Probe and the logarithm of their number
// of comparisons.
#pragma once

#include <bit>
#include <cstdint>
#include <cstring>
#include <functional>
#include <map>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

namespace orvelle {

// Multiply-and-fold hash of a byte string. The last word may overlap the one before it, so that no string needs a loop
// over single bytes.
inline uint32_t hash_bytes(std::string_view text) {
  constexpr uint64_t Multiplier = 0x9E3779B97F4A7C15;  // 2^64 divided by the golden ratio
  const auto mix = [](uint64_t x) { return (x ^ (x >> 32)) * Multiplier; };
  const auto load = [](const char* p, auto word) {
    std::memcpy(&word, p, sizeof word);
    return uint64_t{word};
  };
  const char* p = text.data();
  const size_t size = text.size();
  uint64_t hash = size * Multiplier;
  if (size >= 8) {
    const char* last = p + size - 8;
    for (; p < last; p += 8) hash = mix(hash ^ load(p, uint64_t{}));
    hash = mix(hash ^ load(last, uint64_t{}));
  } else if (size >= 4) {
    hash = mix(hash ^ (load(p, uint32_t{}) << 32 | load(p + size - 4, uint32_t{})));
  } else if (size > 0) {
    hash = mix(hash ^ (load(p, uint8_t{}) << 16 | load(p + size / 2, uint8_t{}) << 8 |
                       load(p + size - 1, uint8_t{})));
  }
  return static_cast<uint32_t>(mix(hash) >> 32);
}

// Whether a key of an index is the text looked for. Keys are strings that end in a NUL, or views.
inline bool is_same(const char* key, std::string_view text) {
  return std::strncmp(key, text.data(), text.size()) == 0 && key[text.size()] == '\0';
}
inline bool is_same(std::string_view key, std::string_view text) { return key == text; }

class StringIndex {
 public:
  // Number of `text`, or -1. `key_at(i)` gives the key of number i, a `const char*` or a string_view.
  template <class KeyAt>
  int find(std::string_view text, uint32_t hash, KeyAt key_at) const {
    if (slots_.empty()) return -1;
    for (size_t i = hash; i != hash + Longest_Probe; ++i) {
      const slot_t& slot = slots_[i & mask_];
      if (slot.number < 0) return -1;
      if (slot.hash == hash && is_same(key_at(slot.number), text)) return slot.number;
    }
    return find_crowded(text);
  }
  template <class KeyAt>
  int find(std::string_view text, KeyAt key_at) const {
    return find(text, hash_bytes(text), key_at);
  }

  // Enters a string that is not in the index yet.
  void insert(std::string_view text, uint32_t hash, int number) {
    if (2 * (size_ + 1) > slots_.size()) grow();
    if (!place({hash, number})) crowded_.emplace(text, slot_t{hash, number});
    ++size_;
  }

  // Makes room in an empty index for `count` strings, so that the insertions up to there move nothing.
  void reserve(size_t count) { resize(std::bit_ceil(2 * count + 2)); }

  // Asks the memory for the slot that find will look at first.
  void prefetch(uint32_t hash) const {
    if (!slots_.empty()) __builtin_prefetch(&slots_[hash & mask_]);
  }

  // The first number with that hash, nearly always the one that find returns; -1 if there is none.
  int candidate(uint32_t hash) const {
    if (slots_.empty()) return -1;
    const slot_t* slot = &slots_[hash & mask_];
    for (size_t i = 1; slot->hash != hash && slot->number >= 0; ++i) {
      if (i == Longest_Probe) return -1;
      slot = &slots_[(hash + i) & mask_];
    }
    return slot->number;
  }

  size_t crowded() const { return crowded_.size(); }  // strings in the map

 private:
  static constexpr size_t Longest_Probe = 64;  // slots

  struct slot_t {
    uint32_t hash = 0;
    int32_t number = -1;  // -1: empty
  };

  [[gnu::noinline]] int find_crowded(std::string_view text) const {
    const auto found = crowded_.find(text);
    return found != crowded_.end() ? found->second.number : -1;
  }

  void resize(size_t slots) {
    slots_.assign(slots, slot_t{});
    mask_ = slots - 1;
  }

  // False if all slots near that of the hash are taken.
  bool place(slot_t slot) {
    for (size_t i = slot.hash; i != slot.hash + Longest_Probe; ++i) {
      if (slots_[i & mask_].number >= 0) continue;
      slots_[i & mask_] = slot;
      return true;
    }
    return false;
  }

  // From an empty slot on, so that every string comes after those that it had to make way for: then it is as near to the slot
  // of its hash as before, at least.
  void grow() {
    const std::vector<slot_t> old = std::move(slots_);
    resize(old.empty() ? 64 : 2 * old.size());
    size_t start = 0;
    while (start < old.size() && old[start].number >= 0) ++start;
    for (size_t i = 0; i < old.size(); ++i)
      if (const slot_t& slot = old[(start + i) & (old.size() - 1)]; slot.number >= 0) place(slot);
    std::erase_if(crowded_, [this](const auto& string) { return place(string.second); });
  }

  std::vector<slot_t> slots_;
  size_t mask_ = 0;
  size_t size_ = 0;
  std::map<std::string, slot_t, std::less<>> crowded_;
};

}  // namespace orvelle
