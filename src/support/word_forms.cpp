#include "support/word_forms.h"

#include <cstring>

#include "driver/settings.h"
#include "support/unicode_tables.h"
#include "support/utf8.h"

namespace orvelle {

namespace {

using word_buffer_t = char[Max_Word_Form_Length + 1];

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

// Length in bytes, but no more than one byte past what a buffer holds.
size_t bounded_length(const char* s) { return strnlen(s, Max_Word_Form_Length + 1); }

bool is_too_long(size_t length) { return length > Max_Word_Form_Length; }

// No partner of a character is longer than the character, and neither is the question mark for a broken one:
// the result fits where the word fits. A character that decodes to U+0000 ends the result early.
void lower_characters(const char* word, char* to) {
  while (*word != '\0') {
    size_t length = 0;
    char partner[Max_Utf8_Length + 1];
    const int size = unichar_to_utf8(unichar_tolower(utf8_get_char(word, &length)), partner);
    std::memcpy(to, partner, size);
    to += size;
    word += length;
  }
  *to = '\0';
}

// The same holds here.
void cap_character(const char* word, char* to) {
  size_t length = 0;
  char partner[Max_Utf8_Length + 1];
  const int size = unichar_to_utf8(unichar_toupper(utf8_get_char(word, &length)), partner);
  std::memmove(to + size, word + length, std::strlen(word + length) + 1);
  std::memcpy(to, partner, size);
}

}  // namespace

int is_upper(const char* word) {
  return UTF8_Processing ? unichar_isupper(utf8_get_char(word)) : is_upper_byte(word[0]);
}

char* all_to_lower(const char* word) {
  static word_buffer_t buffer;
  const size_t length = bounded_length(word);
  if (is_too_long(length)) return const_cast<char*>(word);
  if (UTF8_Processing) {
    lower_characters(word, buffer);
  } else {
    for (size_t i = 0; i <= length; ++i) buffer[i] = lower_byte(word[i]);
  }
  return buffer;
}

char* cap_word(const char* word) {
  static word_buffer_t buffer;
  size_t length = bounded_length(word);
  if (UTF8_Processing) {
    if (is_too_long(length)) return const_cast<char*>(word);
    if (length > 0)
      cap_character(word, buffer);
    else
      buffer[0] = '\0';
    return buffer;
  }
  if (is_too_long(length)) length = Max_Word_Form_Length;
  std::memmove(buffer, word, length);
  buffer[length] = '\0';
  buffer[0] = upper_byte(buffer[0]);
  return buffer;
}

// One pass: a "<" and what follows it up to the next "<", ">" or the end is either all of a tag or all plain
// text.
char* strip_xml(const char* text, int enabled) {
  static word_buffer_t buffer;
  if (!enabled || is_too_long(bounded_length(text))) return nullptr;
  char* to = buffer;
  int tags = 0;
  while (*text != '\0') {
    size_t run = *text == '<' ? 1 + std::strcspn(text + 1, "<>") : 1;
    if (*text == '<' && text[run] == '>') {
      ++tags;
      ++run;
    } else {
      std::memmove(to, text, run);
      to += run;
    }
    text += run;
  }
  *to = '\0';
  return tags > 0 ? buffer : nullptr;
}

entry_t* fullform_lookup2(const char* word, int strip) {
  if (entry_t* entry = fullform_lookup(word)) return entry;
  const char* stripped = strip_xml(word, strip);
  return stripped != nullptr ? fullform_lookup(stripped) : nullptr;
}

}  // namespace orvelle
