// SPDX-License-Identifier: MIT
// Distinct strings and their numbers, in the order in which they came. More than an int can number are an Error.
#pragma once

#include <cstdint>
#include <string_view>
#include <utility>
#include <vector>

#include "support/counts.h"
#include "support/string_index.h"
#include "support/strings.h"

namespace orvelle {

class StringTable {
 public:
  // The number of a string, which is added if it is new.
  int number(std::string_view text) {
    const uint32_t hash = hash_bytes(text);
    const int known = find(text, hash);
    return known >= 0 ? known : add(text, hash);
  }

  // The same in two steps: the number of a string, or -1; and the adding of one that is new.
  int find(std::string_view text, uint32_t hash) const {
    return index_.find(text, hash, [this](int i) { return texts_[static_cast<size_t>(i)]; });
  }
  int add(std::string_view text, uint32_t hash) {
    int_count(texts_.size() + 1, "different strings");
    texts_.push_back(arena_.add(text));
    index_.insert(text, hash, size() - 1);
    return size() - 1;
  }

  const char* text(int number) const { return texts_[static_cast<size_t>(number)]; }
  const std::vector<const char*>& texts() const { return texts_; }
  int size() const { return static_cast<int>(texts_.size()); }

  // The memory of the strings, for whoever keeps them; ends the table.
  StringArena take_arena() && { return std::move(arena_); }

 private:
  StringArena arena_;
  std::vector<const char*> texts_;
  StringIndex index_;
};

}  // namespace orvelle
