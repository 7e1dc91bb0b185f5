// SPDX-License-Identifier: MIT
// A checksum against damage, not against malice.
#pragma once

#include <cstdint>
#include <string>
#include <string_view>

namespace orvelle {

// Of bytes, taken as little-endian words of 64 bits, the last one filled up with zeros: for each word
//
//   sum = rotate_left(sum ^ word, 29) * 0x9E3779B97F4A7C15
//
// from 0 on. Every step can be undone, so a single changed word always shows.
class Checksum {
 public:
  void add(std::string_view bytes);

  uint64_t value() const;

  // Whether the last eight bytes are the checksum of all before them.
  bool is_sealed() const;

 private:
  uint64_t sum_ = 0;     // of the words before pending_
  std::string pending_;  // the last bytes, fewer than 16
};

}  // namespace orvelle
