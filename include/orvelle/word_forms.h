// SPDX-License-Identifier: MIT
// Word forms made ready for a lookup: case, markup, and what looks like a number.
//
// Case is that of UTF-8 characters if `utf8` is set, else that of ISO-8859-1 bytes. Nothing here fails; bytes that are
// not UTF-8 come out as question marks, with the warnings of utf8_get_char.
#pragma once

#include <optional>
#include <string>
#include <string_view>

#include <orvelle/error.h>
#include <orvelle/export.h>

namespace orvelle {

inline constexpr int Max_Word_Form_Length = 9999;  // bytes

// 1 if the first character is a capital letter, else 0. As bytes, 0x41 to 0x5A and 0xC0 to 0xDE are capitals,
// the multiplication sign 0xD7 among them. An empty word is none, but warns if `utf8` is set.
ORVELLE_API int is_upper(const char* word, bool utf8, const Warn& warn = warn_on_standard_error);

// The word with every capital letter made small; the word as it is if it is longer than Max_Word_Form_Length.
ORVELLE_API std::string all_to_lower(const char* word, bool utf8, const Warn& warn = warn_on_standard_error);

// The word with its first letter made a capital. A word longer than Max_Word_Form_Length is cut to that
// length, or, if `utf8` is set, comes back as it is.
ORVELLE_API std::string cap_word(const char* word, bool utf8, const Warn& warn = warn_on_standard_error);

// The text without its tags; a tag is "<", any bytes but "<" and ">", and ">". Nothing if `enabled` is 0, if the
// text has no tag, or if it is longer than Max_Word_Form_Length.
ORVELLE_API std::optional<std::string> strip_xml(const char* text, int enabled);

// 1 if the whole string looks like an ordinal number: a digit, then digits, blanks and commas, then one last period.
ORVELLE_API int ord(std::string_view s);

// 1 if the string has a digit and nothing but digits, blanks and % ' + , - . / : in it.
ORVELLE_API int card(std::string_view s);

}  // namespace orvelle
