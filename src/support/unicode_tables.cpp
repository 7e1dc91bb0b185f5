// SPDX-License-Identifier: MIT
// The tables are made by scripts/make_unicode_tables, which holds the choice of ranges; unicode_tables.inc is
// its output and is made again with
//
//     scripts/make_unicode_tables > src/support/unicode_tables.inc
#include <orvelle/unicode_tables.h>

#include <algorithm>
#include <iterator>

namespace orvelle {

#include "support/unicode_tables.inc"

namespace {

// Every element is greater than the one before it, as the binary search needs.
constexpr bool ascends(const auto& table) {
  return std::ranges::adjacent_find(table, std::ranges::greater_equal()) == std::end(table);
}

constexpr int utf8_length(uint32_t u) { return u < 0x80 ? 1 : u < 0x800 ? 2 : u < 0x10000 ? 3 : 4; }

// Callers map text in buffers that are as long as the text.
constexpr bool never_grows(const auto& from, const auto& to) {
  return std::ranges::equal(from, to, std::ranges::greater_equal(), utf8_length, utf8_length);
}

static_assert(std::size(uppercase_char) == 665 && std::size(upper_to_lower) == 665);
static_assert(std::size(lowercase_char) == 666 && std::size(lower_to_upper) == 666);
static_assert(std::size(whitespace_char) == 18);
static_assert(ascends(uppercase_char) && ascends(lowercase_char) && ascends(whitespace_char));
static_assert(never_grows(uppercase_char, upper_to_lower) && never_grows(lowercase_char, lower_to_upper));

// Index of a code point in a table, or -1.
std::ptrdiff_t find(const auto& table, uint32_t code_point) {
  const auto* place = std::ranges::lower_bound(table, code_point);
  return place != std::end(table) && *place == code_point ? place - table : -1;
}

uint32_t partner(const auto& from, const auto& to, uint32_t code_point) {
  const std::ptrdiff_t index = find(from, code_point);
  return index >= 0 ? to[index] : code_point;
}

}  // namespace

uint32_t unichar_tolower(uint32_t code_point) { return partner(uppercase_char, upper_to_lower, code_point); }

uint32_t unichar_toupper(uint32_t code_point) { return partner(lowercase_char, lower_to_upper, code_point); }

bool unichar_islower(uint32_t code_point) { return find(lowercase_char, code_point) >= 0; }

bool unichar_isupper(uint32_t code_point) { return find(uppercase_char, code_point) >= 0; }

bool unichar_isspace(uint32_t code_point) { return find(whitespace_char, code_point) >= 0; }

}  // namespace orvelle
