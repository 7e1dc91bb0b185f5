// SPDX-License-Identifier: MIT
#include <gtest/gtest.h>
#include <orvelle/utf8.h>

#include <bit>
#include <string>

#include "test_support.h"

namespace orvelle {
namespace {

constexpr const char* Empty = "Warning: empty input string in function utf8_get_char!\n";
constexpr const char* Stray = "Warning: invalid UTF8 character encountered (2)!\n";
constexpr const char* Broken = "Warning: invalid UTF8 character encountered!\n";
constexpr const char* Cut = "Warning: incomplete utf8 character in function utf8_get_char!\n";

constexpr size_t Untouched = 99;

TEST(Utf8, DecodesTheFirstCharacter) {
  const struct {
    const char* bytes;
    uint32_t code_point;
    size_t length;
    const char* warning;
  } cases[] = {
      {"A\xC3", 'A', 1, ""},
      {"\xC3\xA9", 0xE9, 2, ""},
      {"\xE2\x82\xAC", 0x20AC, 3, ""},
      {"\xF0\x9F\x98\x80", 0x1F600, 4, ""},
      {"\xC0\x80", 0, 2, ""},                 // overlong
      {"\xED\xA0\x80", 0xD800, 3, ""},        // surrogate
      {"\xF8\x80\x80\x80", 0, 4, ""},         // no lead of its own
      {"\xFF\xBF\xBF\xBF", 0x1FFFFF, 4, ""},  // largest value
      {"", 0, Untouched, Empty},
      {"\xA9", '?', 1, Stray},
      {"\xC3", '?', 1, Cut},
      {"\xF0\x9F\x98", '?', 1, Cut},
      {"\xC3Z", '?', 1, Broken},
      {"\xE2\x82\xC2", '?', 1, Broken},
  };
  for (const auto& row : cases) {
    SCOPED_TRACE(testing::PrintToString(row.bytes));
    size_t length = Untouched;
    std::string warning;
    EXPECT_EQ(utf8_get_char(row.bytes, &length, into(warning)), row.code_point);
    EXPECT_EQ(length, row.length);
    EXPECT_EQ(warning, row.warning);
    testing::internal::CaptureStderr();
    EXPECT_EQ(utf8_get_char(row.bytes), row.code_point);
    EXPECT_EQ(testing::internal::GetCapturedStderr(), row.warning);
  }
}

// Code points that have a form, up to U+10FFF all: the shortest one, told by the number of payload bits, and back again.
TEST(Utf8, EveryCodePointSurvives) {
  for (uint32_t u = 1; u < Code_Point_End; u += u < 0x11000 ? 1 : 61) {
    char buffer[6] = "zzzzz";
    const int bits = std::bit_width(u);
    const int size = unichar_to_utf8(u, buffer);
    size_t length = 0;
    ASSERT_EQ(size, bits <= 7 ? 1 : (bits + 3) / 5) << u;
    ASSERT_EQ(buffer[size], '\0') << u;
    ASSERT_EQ(utf8_get_char(buffer, &length), u);
    ASSERT_EQ(length, static_cast<size_t>(size)) << u;
  }
  for (uint32_t u : {Code_Point_End, UINT32_MAX}) {
    char buffer[5] = "zzzz";
    EXPECT_EQ(unichar_to_utf8(u, buffer), 0);
    EXPECT_STREQ(buffer, "");
  }
}

}  // namespace
}  // namespace orvelle
