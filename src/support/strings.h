// SPDX-License-Identifier: MIT
// Byte strings: comparison, copies, and the two tokenisers that split a line into fields in place. No function here
// knows of an encoding; bytes 0x80 to 0xFF are ordinary bytes.
#pragma once

#include <cstddef>
#include <string_view>

#include "support/block_arena.h"

namespace orvelle {

// Longest piece of a text line that is handled as one line, and longest string that a parameter file stores; in
// bytes, without the terminating NUL.
inline constexpr int Max_Line_Length = 9999;

// Compares byte by byte as unsigned values, the NUL included: the difference of the first two bytes that differ, 0
// for equal strings. This is the order of the tagset, the lemma table and the lexicon.
int str_cmp(const char* a, const char* b);

inline bool is_digit(char c) { return c >= '0' && c <= '9'; }
inline bool is_ascii(char c) { return (c & 0x80) == 0; }
inline bool is_ascii_capital(char c) { return c >= 'A' && c <= 'Z'; }
inline bool is_ascii_small(char c) { return c >= 'a' && c <= 'z'; }
inline char ascii_lower(char c) { return is_ascii_capital(c) ? static_cast<char>(c + ('a' - 'A')) : c; }
inline bool is_white_space(int c) { return c == ' ' || (c >= '\t' && c <= '\r'); }

// Both tokenisers skip leading blanks, TABs and CRs, end the field at a byte of their own set by overwriting it with
// NUL, and leave `*cursor` behind that byte, or on the NUL that ends the line. They return the start of the field;
// "" means that the line has no more fields. Requires: `*cursor` points into a NUL-terminated line that the caller
// owns. Valid until: the caller reuses the line.
char* next_string(char** cursor);   // a field ends at a blank, TAB, LF or CR
char* next_string2(char** cursor);  // a field ends at a TAB or LF, so it may hold blanks and CRs

// Owner of many short strings that live as long as it does; they stay where they are when it is moved.
class StringArena {
 public:
  // A NUL-terminated copy of `text`. Valid until: the arena is destroyed.
  const char* add(std::string_view text) {
    char* const copy = bytes_.take(text.size() + 1);
    text.copy(copy, text.size());
    copy[text.size()] = '\0';
    return copy;
  }

 private:
  BlockArena<char> bytes_;
};

}  // namespace orvelle
