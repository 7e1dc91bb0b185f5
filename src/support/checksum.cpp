// SPDX-License-Identifier: MIT
#include "support/checksum.h"

#include <algorithm>
#include <bit>
#include <cstring>

namespace orvelle {

namespace {

constexpr size_t Word = sizeof(uint64_t);

// The sum with the words of `bytes` behind it.
uint64_t with_words(uint64_t sum, std::string_view bytes) {
  for (; !bytes.empty(); bytes.remove_prefix(std::min(Word, bytes.size()))) {
    uint64_t word = 0;
    std::memcpy(&word, bytes.data(), std::min(Word, bytes.size()));
    sum = std::rotl(sum ^ word, 29) * 0x9E3779B97F4A7C15;
  }
  return sum;
}

}  // namespace

void Checksum::add(std::string_view bytes) {
  pending_ += bytes;
  if (pending_.size() < 2 * Word) return;
  const size_t done = (pending_.size() - Word) / Word * Word;
  sum_ = with_words(sum_, std::string_view(pending_).substr(0, done));
  pending_.erase(0, done);
}

uint64_t Checksum::value() const { return with_words(sum_, pending_); }

bool Checksum::is_sealed() const {
  if (pending_.size() < Word) return false;
  const size_t end = pending_.size() - Word;
  uint64_t seal;
  std::memcpy(&seal, pending_.data() + end, Word);
  return with_words(sum_, std::string_view(pending_).substr(0, end)) == seal;
}

}  // namespace orvelle
