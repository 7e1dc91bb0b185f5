// SPDX-License-Identifier: MIT
// Sorting of many strings in byte order.
#pragma once

#include <cstdint>
#include <vector>

namespace orvelle {

// The indexes of `strings` in the order that str_cmp gives to the strings. Strings that are in order already cost one
// comparison each.
std::vector<uint32_t> sorted_order(const std::vector<const char*>& strings);

// The place of each string in that order.
std::vector<uint32_t> ranks_of(const std::vector<const char*>& strings);

}  // namespace orvelle
