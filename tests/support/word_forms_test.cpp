// SPDX-License-Identifier: MIT
#include <gtest/gtest.h>
#include <orvelle/word_forms.h>

#include <random>
#include <regex>
#include <string>

#include "test_support.h"

namespace orvelle {
namespace {

// The same word in both modes.
TEST(WordForms, Case) {
  struct result_t {
    int upper;
    std::string lower, capital;
  };
  const struct {
    const char* word;
    result_t as_bytes, as_utf8;
  } cases[] = {
      {"", {0, "", ""}, {0, "", ""}},
      {"Dog", {1, "dog", "Dog"}, {1, "dog", "Dog"}},
      {"@[`{", {0, "@[`{", "@[`{"}, {0, "@[`{", "@[`{"}},
      {"zA", {0, "za", "ZA"}, {0, "za", "ZA"}},
      {"A\xC4\xDF", {1, "a\xE4\xDF", "A\xC4\xDF"}, {1, "a??", "A\xC4\xDF"}},
      {"\xDFz", {0, "\xDFz", "\xDFz"}, {0, "?z", "?z"}},
      {"\xF7z", {0, "\xF7z", "\xD7z"}, {0, "?z", "?z"}},
      {"\xFFz", {0, "\xFFz", "\xFFz"}, {0, "?z", "?z"}},
      {"\xC3\x89GO", {1, "\xE3\x89go", "\xC3\x89GO"}, {1, "\xC3\xA9go", "\xC3\x89GO"}},
      {"\xC3\xA9t", {1, "\xE3\xA9t", "\xC3\xA9t"}, {0, "\xC3\xA9t", "\xC3\x89t"}},
      {"\xC3\x97", {1, "\xE3\x97", "\xC3\x97"}, {0, "\xC3\x97", "\xC3\x97"}},
      {"\xD7\xB4", {1, "\xF7\xB4", "\xD7\xB4"}, {0, "\xD7\xB4", "\xD7\xB4"}},
      {"\xC4\xB1x", {1, "\xE4\xB1x", "\xC4\xB1x"}, {0, "\xC4\xB1x", "Ix"}},
      {"\xC0\x80Z", {1, "\xE0\x80z", "\xC0\x80Z"}, {0, "", ""}},
  };
  for (const auto& row : cases) {
    for (const bool utf8 : {false, true}) {
      SCOPED_TRACE(testing::PrintToString(row.word) + (utf8 ? " as UTF-8" : " as bytes"));
      const result_t& expected = utf8 ? row.as_utf8 : row.as_bytes;
      std::string warnings;
      const Warn warn = into(warnings);
      EXPECT_EQ(is_upper(row.word, utf8, warn), expected.upper);
      EXPECT_EQ(all_to_lower(row.word, utf8, warn), expected.lower);
      EXPECT_EQ(cap_word(row.word, utf8, warn), expected.capital);
      EXPECT_TRUE(utf8 || warnings.empty());
      // Once more, where nothing is left to change.
      EXPECT_EQ(all_to_lower(expected.lower.c_str(), utf8, warn), expected.lower);
      EXPECT_EQ(cap_word(expected.capital.c_str(), utf8, warn), expected.capital);
    }
  }
  std::string warnings;
  is_upper("", true, into(warnings));
  EXPECT_EQ(warnings, "Warning: empty input string in function utf8_get_char!\n");
  all_to_lower("x\xA9\xC3", true, into(warnings = ""));
  EXPECT_EQ(warnings,
            "Warning: invalid UTF8 character encountered (2)!\n"
            "Warning: incomplete utf8 character in function utf8_get_char!\n");
  for (const bool utf8 : {false, true}) {  // without a word for the decoder nothing is to warn of
    all_to_lower("", utf8, into(warnings = "")), cap_word("", utf8, into(warnings));
    EXPECT_EQ(warnings, "");
  }
}

// 9999 bytes are a word form, one more are not.
TEST(WordForms, LongWords) {
  const std::string fits = "q" + std::string(9998, 'Q'), too_long = fits + "Q";
  const std::string small(9999, 'q'), capital(9999, 'Q');
  for (const bool utf8 : {false, true}) {
    EXPECT_EQ(cap_word(fits.c_str(), utf8), capital);
    EXPECT_EQ(all_to_lower(fits.c_str(), utf8), small);
    EXPECT_EQ(all_to_lower(too_long.c_str(), utf8), too_long);
    EXPECT_EQ(cap_word(too_long.c_str(), utf8), utf8 ? too_long : capital);
  }
}

const std::optional<std::string> Nothing;

std::optional<std::string> stripped(const std::string& text, int enabled = 1) {
  return strip_xml(text.c_str(), enabled);
}

TEST(WordForms, StripXml) {
  const struct {
    std::string text;
    std::optional<std::string> expected;
  } cases[] = {
      {"", Nothing},
      {"<b>dog</b>", "dog"},
      {std::string(9999, '<'), Nothing},
      {std::string(9998, '<') + ">", std::string(9997, '<')},
      {std::string(9999, 'a') + "<>", Nothing},  // too long
  };
  for (const auto& row : cases) {
    EXPECT_EQ(stripped(row.text), row.expected) << row.text.substr(0, 20);
    EXPECT_EQ(stripped(row.text, 0), Nothing);
  }
  std::mt19937 random(54);
  const std::regex tag("<[^<>]*>");
  for (int round = 0; round < 5000; ++round) {
    std::string text;
    for (auto left = random() % 12; left > 0; --left) text += "<>/\xE9"[random() % 4];
    const bool has_tag = std::regex_search(text, tag);
    ASSERT_EQ(stripped(text), has_tag ? std::optional(std::regex_replace(text, tag, "")) : Nothing) << text;
  }
}

// Every string of up to four bytes of an alphabet that has all kinds, against regular expressions.
TEST(WordForms, NumbersAgainstRegularExpressions) {
  const std::string alphabet = "09 ,.%'+-/:a\x80";
  const std::regex ordinal("[0-9][0-9 ,]*[.]"), cardinal("[0-9 %'+,./:-]*[0-9][0-9 %'+,./:-]*");
  for (size_t n = 0; n < alphabet.size() * alphabet.size() * alphabet.size() * 4; ++n) {
    std::string text;
    for (size_t rest = n; rest > 0; rest /= alphabet.size() + 1)
      if (const size_t place = rest % (alphabet.size() + 1)) text += alphabet[place - 1];
    ASSERT_EQ(ord(text), std::regex_match(text, ordinal)) << text;
    ASSERT_EQ(card(text), std::regex_match(text, cardinal)) << text;
  }
}

}  // namespace
}  // namespace orvelle
