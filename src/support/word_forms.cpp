// SPDX-License-Identifier: MIT
#include <orvelle/unicode_tables.h>
#include <orvelle/utf8.h>
#include <orvelle/word_forms.h>

#include <algorithm>
#include <cstring>

#include "support/strings.h"

namespace orvelle {

namespace {

// Letters of ISO-8859-1 lie this far apart. The ranges are those of the letters, with the multiplication sign
// 0xD7 and the division sign 0xF7 as a pair among them.
constexpr unsigned char Case_Distance = 0x20;

bool is_upper_byte(char c) {
  const auto byte = static_cast<unsigned char>(c);
  return (byte >= 0x41 && byte <= 0x5A) || (byte >= 0xC0 && byte <= 0xDE);
}

char lower_byte(char c) { return is_upper_byte(c) ? static_cast<char>(c + Case_Distance) : c; }

char upper_byte(char c) {
  const auto shifted = static_cast<char>(static_cast<unsigned char>(c) - Case_Distance);
  return is_upper_byte(shifted) ? shifted : c;
}

// Appends the UTF-8 form of a code point; U+0000 as a NUL.
void append(std::string& text, uint32_t code_point) {
  char form[Max_Utf8_Length + 1];
  text.append(form, static_cast<size_t>(unichar_to_utf8(code_point, form)));
}

// A character that decodes to U+0000 ends the result early.
std::string lower_characters(const char* word, const Warn& warn) {
  std::string result;
  while (*word != '\0') {
    if (is_ascii(*word)) {  // as most are: without a search in the tables
      result += ascii_lower(*word++);
      continue;
    }
    size_t length = 0;
    append(result, unichar_tolower(utf8_get_char(word, &length, warn)));
    word += length;
  }
  return result.substr(0, result.find('\0'));
}

}  // namespace

int is_upper(const char* word, bool utf8, const Warn& warn) {
  return utf8 ? unichar_isupper(utf8_get_char(word, nullptr, warn)) : is_upper_byte(word[0]);
}

std::string all_to_lower(const char* word, bool utf8, const Warn& warn) {
  std::string result = word;
  if (result.size() > Max_Word_Form_Length) return result;
  if (utf8) return lower_characters(word, warn);
  std::transform(result.begin(), result.end(), result.begin(), lower_byte);
  return result;
}

std::string cap_word(const char* word, bool utf8, const Warn& warn) {
  std::string result = word;
  if (!utf8) {
    if (result.size() > Max_Word_Form_Length) result.resize(Max_Word_Form_Length);
    if (!result.empty()) result[0] = upper_byte(result[0]);
    return result;
  }
  if (result.size() > Max_Word_Form_Length || result.empty()) return result;
  size_t length = 0;
  std::string capital;
  append(capital, unichar_toupper(utf8_get_char(word, &length, warn)));
  if (capital[0] == '\0') return {};
  return capital.append(result, length);
}

// One pass: a "<" and what follows it up to the next "<", ">" or the end is either all of a tag or all plain
// text.
std::optional<std::string> strip_xml(const char* text, int enabled) {
  if (!enabled || strnlen(text, Max_Word_Form_Length + 1) > Max_Word_Form_Length) return std::nullopt;
  std::string result;
  bool any_tag = false;
  while (*text != '\0') {
    size_t run = *text == '<' ? 1 + std::strcspn(text + 1, "<>") : 1;
    if (*text == '<' && text[run] == '>') {
      any_tag = true;
      ++run;
    } else {
      result.append(text, run);
    }
    text += run;
  }
  if (!any_tag) return std::nullopt;
  return result;
}

int ord(std::string_view s) {
  if (s.size() < 2 || !is_digit(s[0]) || s.back() != '.') return 0;
  s.remove_suffix(1);
  return std::all_of(s.begin(), s.end(), [](char c) { return is_digit(c) || c == ' ' || c == ','; });
}

int card(std::string_view s) {
  const auto is_part = [](char c) {
    return is_digit(c) || std::string_view(" %'+,-./:").find(c) != std::string_view::npos;
  };
  return std::all_of(s.begin(), s.end(), is_part) && std::any_of(s.begin(), s.end(), is_digit);
}

}  // namespace orvelle
