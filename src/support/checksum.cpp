// SPDX-License-Identifier: MIT
#include "support/checksum.h"

#include <bit>
#include <cstring>

namespace orvelle {

namespace {

constexpr size_t Word = sizeof(uint64_t);

// The sum with the words of `bytes` behind it.
uint64_t with_words(uint64_t sum, std::string_view bytes) {
  const auto mixed = [](uint64_t before, uint64_t word) {
    return std::rotl(before ^ word, 29) * 0x9E3779B97F4A7C15;
  };
  uint64_t word;
  size_t done = 0;
  for (; bytes.size() - done >= Word; done += Word) {
    std::memcpy(&word, bytes.data() + done, Word);
    sum = mixed(sum, word);
  }
  if (done == bytes.size()) return sum;
  word = 0;
  std::memcpy(&word, bytes.data() + done, bytes.size() - done);
  return mixed(sum, word);
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
