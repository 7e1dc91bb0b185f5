#include "support/word_forms.h"

#include <gtest/gtest.h>

#include <random>
#include <regex>
#include <string>

#include "driver/settings.h"
#include "small_lexicon.h"
#include "test_support.h"

namespace orvelle {
namespace {

class WordForms : public testing::Test {
 protected:
  void TearDown() override { UTF8_Processing = 0; }
};

// The same word in both modes.
TEST_F(WordForms, Case) {
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
    for (int utf8 : {0, 1}) {
      SCOPED_TRACE(testing::PrintToString(row.word) + (utf8 ? " as UTF-8" : " as bytes"));
      UTF8_Processing = utf8;
      const result_t& expected = utf8 ? row.as_utf8 : row.as_bytes;
      stderr_of([&] {
        EXPECT_EQ(is_upper(row.word), expected.upper);
        EXPECT_EQ(all_to_lower(row.word), expected.lower);
        EXPECT_EQ(cap_word(row.word), expected.capital);
        // Once more in place, where nothing is left to change.
        EXPECT_EQ(all_to_lower(all_to_lower(row.word)), expected.lower);
        EXPECT_EQ(cap_word(cap_word(row.word)), expected.capital);
      });
    }
  }
  EXPECT_EQ(stderr_of([] { is_upper(""); }), "Warning: empty input string in function utf8_get_char!\n");
}

// At the end of the buffer: 9999 bytes fit, one more does not.
TEST_F(WordForms, LongWords) {
  const std::string fits(9999, 'q'), too_long(10000, 'q');
  std::string capital = fits;
  capital[0] = 'Q';
  for (int utf8 : {0, 1}) {
    UTF8_Processing = utf8;
    EXPECT_EQ(cap_word(fits.c_str()), capital);
    EXPECT_NE(all_to_lower(fits.c_str()), fits.c_str());
    EXPECT_EQ(all_to_lower(fits.c_str()), fits);
    EXPECT_EQ(all_to_lower(too_long.c_str()), too_long.c_str());
    if (utf8)
      EXPECT_EQ(cap_word(too_long.c_str()), too_long.c_str());
    else
      EXPECT_EQ(cap_word(too_long.c_str()), capital);
  }
}

std::string stripped(const std::string& text, int enabled = 1) {
  const char* result = strip_xml(text.c_str(), enabled);
  return result != nullptr ? result : "(null)";
}

TEST_F(WordForms, StripXml) {
  const struct {
    std::string text, expected;
  } cases[] = {
      {"x<y<z>w", "x<yw"},
      {"<t>", ""},
      {"", "(null)"},
      {"<>a>", "a>"},
      {"<b>dog</b>", "dog"},
      {std::string(9999, '<'), "(null)"},
      {std::string(9998, '<') + ">", std::string(9997, '<')},
      {std::string(9999, 'a') + "<>", "(null)"},  // too long
  };
  for (const auto& row : cases) {
    EXPECT_EQ(stripped(row.text), row.expected) << row.text.substr(0, 20);
    EXPECT_EQ(stripped(row.text, 0), "(null)");
  }
  std::mt19937 random(54);
  const std::regex tag("<[^<>]*>");
  for (int round = 0; round < 5000; ++round) {
    std::string text;
    for (auto left = random() % 12; left > 0; --left) text += "<>/\xE9"[random() % 4];
    const bool has_tag = std::regex_search(text, tag);
    ASSERT_EQ(stripped(text), has_tag ? std::regex_replace(text, tag, "") : "(null)") << text;
  }
}

TEST_F(WordForms, LookupWithoutMarkup) {
  set_small_lexicon({"NN"}, {{"<p>", {{0, 1.f}}}, {"dog", {{0, 1.f}}}});
  const struct {
    const char* word;
    int strip;
    const entry_t* expected;
  } cases[] = {
      {"dog", 0, &Fullform_Lexicon[1]},
      {"<b>dog<b>", 1, &Fullform_Lexicon[1]},
      {"<b>dog<b>", 0, nullptr},
      {"<p>", 1, &Fullform_Lexicon[0]},
      {"cat", 1, nullptr},
      {"<b>cat</b>", 1, nullptr},
      {"<b>3.</b>", 1, &Fullform_Lexicon[-1]},
      {"12", 1, &Fullform_Lexicon[-2]},
  };
  for (const auto& row : cases) EXPECT_EQ(fullform_lookup2(row.word, row.strip), row.expected) << row.word;
}

}  // namespace
}  // namespace orvelle
