// SPDX-License-Identifier: MIT
// Which stretches of a sequence are the same, for n-grams that are too long to be compared and stored one by one.
#pragma once

#include <cstddef>
#include <cstdint>
#include <vector>

namespace orvelle {

// The stretches of `length` tags, by where they start: equal ones have the same number, by first occurrence from 0 on. For n
// tags it takes some n log(length) steps and 20 bytes for each tag. Requires: 1 < length <= tags.size() < 2^32.
std::vector<uint32_t> number_stretches(const std::vector<uint16_t>& tags, size_t length);

}  // namespace orvelle
