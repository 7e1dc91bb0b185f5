// Distinct strings and their numbers, in the order in which they came.
#pragma once

#include <string_view>
#include <vector>

#include "support/string_index.h"
#include "support/strings.h"

namespace orvelle {

class StringTable {
 public:
  int number(std::string_view text) {
    const uint32_t hash = hash_bytes(text);
    const int known = index_.find(text, hash, [this](int i) { return texts_[i]; });
    if (known >= 0) return known;
    texts_.push_back(arena_.add(text));
    index_.insert(hash, size() - 1);
    return size() - 1;
  }
  const char* text(int number) const { return texts_[number]; }
  int size() const { return static_cast<int>(texts_.size()); }

 private:
  StringArena arena_;
  std::vector<const char*> texts_;
  StringIndex index_;
};

}  // namespace orvelle
