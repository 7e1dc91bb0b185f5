// SPDX-License-Identifier: MIT
#include <gtest/gtest.h>
#include <orvelle/unicode_tables.h>

#include <numeric>
#include <vector>

namespace orvelle {
namespace {

constexpr uint32_t End = 0x110000;

// The partners of all code points, and of one more, side by side.
std::vector<uint32_t> all_partners(const uint32_t* from, const uint32_t* to, int size) {
  std::vector<uint32_t> partners(End + 1);
  std::iota(partners.begin(), partners.end(), 0);
  for (int i = 0; i < size; ++i) partners[from[i]] = to[i];
  return partners;
}

TEST(UnicodeTables, SearchFindsWhatTheTablesHold) {
  const auto lower = all_partners(uppercase_char, upper_to_lower, Number_of_Uppercase_Chars);
  const auto upper = all_partners(lowercase_char, lower_to_upper, Number_of_Lowercase_Chars);
  std::vector<bool> blank(End + 1);
  for (uint32_t u : whitespace_char) blank[u] = true;
  for (uint32_t u = 0; u <= End; u += u < 0x11000 ? 1 : 61) {
    ASSERT_EQ(unichar_tolower(u), lower[u]);
    ASSERT_EQ(unichar_toupper(u), upper[u]);
    ASSERT_EQ(unichar_isupper(u), lower[u] != u) << u;
    ASSERT_EQ(unichar_islower(u), upper[u] != u) << u;
    ASSERT_EQ(unichar_isspace(u), blank[u]) << u;
  }
  EXPECT_EQ(unichar_tolower(UINT32_MAX), UINT32_MAX);
  EXPECT_FALSE(unichar_isspace(UINT32_MAX));
}

TEST(UnicodeTables, HoldTheChosenPairs) {
  const struct {
    uint32_t code_point, lower, upper;
  } cases[] = {
      {'A', 'a', 'A'},       {0x178, 0xFF, 0x178},     {0x130, 0x130, 0x130},    {0x131, 0x131, 'I'},
      {0x18E, 0x258, 0x18E}, {0x10A0, 0x10D0, 0x10A0}, {0x10F5, 0x10F5, 0x10C5}, {0x1F80, 0x1F80, 0x1F88},
      {0xD7, 0xD7, 0xD7},    {0xB5, 0xB5, 0xB5},       {0xDF, 0xDF, 0xDF},       {0x3C2, 0x3C2, 0x3C2},
      {0x1C5, 0x1C5, 0x1C5}, {0x1DD, 0x1DD, 0x1DD},
  };
  for (const auto& row : cases) {
    EXPECT_EQ(unichar_tolower(row.code_point), row.lower) << std::hex << row.code_point;
    EXPECT_EQ(unichar_toupper(row.code_point), row.upper) << std::hex << row.code_point;
  }
  for (uint32_t u : {0x20u, 0xA0u, 0x2000u, 0x200Bu, 0x3000u, 0xFEFFu}) EXPECT_TRUE(unichar_isspace(u)) << u;
  for (uint32_t u : {0x9u, 0xAu, 0xDu, 0x85u, 0x1680u, 0x200Cu}) EXPECT_FALSE(unichar_isspace(u)) << u;
}

}  // namespace
}  // namespace orvelle
