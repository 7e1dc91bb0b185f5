// SPDX-License-Identifier: MIT
// What the features of the second look see of a word form: hashes, 0 for what is not there.
#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <string_view>

#include "model/tables.h"
#include "support/string_index.h"

namespace orvelle {

struct alignas(64) word_view_t {
  static constexpr size_t Longest_Suffix = 5, Longest_Prefix = 3;

  uint32_t form = 0;   // as it stands
  uint32_t lower = 0;  // in small letters
  // Its last bytes, one more in each of them, and its first bytes.
  std::array<uint32_t, Longest_Suffix> suffixes{};
  std::array<uint32_t, Longest_Prefix> prefixes{};
  uint32_t shape = 0;
  bool is_rare = false;
  uint32_t experience = 0;  // how often the training met it: 0 unlisted, 1 never, then by powers of two
  // Of the word at its place:
  uint32_t open_tags = 0;  // the tags that are left open
  uint32_t best_tag = 0;   // of the first pass, or what the second look chose

  uint32_t suffix(size_t bytes) const { return suffixes[bytes - 1]; }
  uint32_t prefix(size_t bytes) const { return prefixes[bytes - 1]; }
};

inline uint32_t view_hash(std::string_view text) { return hash_bytes(text) | 1; }  // never 0

// `entry` is the word form's own, or null. What depends on the place is left out.
word_view_t view_of(const Tables& tables, std::string_view form, const entry_t* entry);

}  // namespace orvelle
