// Word forms made ready for a lookup: case and markup. Case is that of UTF-8 characters if UTF8_Processing is
// set, else that of ISO-8859-1 bytes; the flag is read at every call.
//
// The arguments are NUL-terminated and may be earlier results. Results lie in a buffer that each function
// keeps for itself, and are not to be freed. Valid until: the next call of the same function. Not for several
// threads at a time. Nothing here fails; bytes that are not UTF-8 put the warnings of utf8_get_char on
// standard error and come out as question marks.
#pragma once

#include "lexicon/entries.h"

namespace orvelle {

inline constexpr int Max_Word_Form_Length = 9999;  // bytes; what one of the buffers holds

// 1 if the first character is a capital letter, else 0. As bytes, 0x41 to 0x5A and 0xC0 to 0xDE are capitals,
// the multiplication sign 0xD7 among them. An empty word is none, but warns if UTF8_Processing is set.
int is_upper(const char* word);

// The word with every capital letter made small. Returns `word` itself if it is longer than
// Max_Word_Form_Length.
char* all_to_lower(const char* word);

// The word with its first letter made a capital. A word longer than Max_Word_Form_Length is cut to that
// length, or, if UTF8_Processing is set, returned itself and unchanged.
char* cap_word(const char* word);

// The text without its tags; a tag is "<", any bytes but "<" and ">", and ">". Null if `enabled` is 0, if the
// text has no tag, or if it is longer than Max_Word_Form_Length.
char* strip_xml(const char* text, int enabled);

// fullform_lookup(word); if that finds nothing and `strip` is not 0, a second try without the tags of the
// word. The second try uses the buffer of strip_xml.
entry_t* fullform_lookup2(const char* word, int strip);

}  // namespace orvelle
