// SPDX-License-Identifier: MIT
// One character at a time between UTF-8 and code points. The decoder is lenient: it never fails, and a caller
// that steps through a string by the lengths it gets always moves on and never passes the terminating NUL.
#pragma once

#include <cstddef>
#include <cstdint>

#include <orvelle/error.h>
#include <orvelle/export.h>

namespace orvelle {

inline constexpr uint32_t Replacement_Char = '?';     // stands for a byte that starts no valid character
inline constexpr uint32_t Code_Point_End = 0x200000;  // first value that four bytes cannot hold
inline constexpr int Max_Utf8_Length = 4;             // bytes of one character

// Code point of the first character of `s`, a NUL-terminated byte string, at most 0x1FFFFF. If `length` is
// not null, *length becomes the number of bytes to step over, 1 to 4.
//
// Overlong forms, surrogates and values above U+10FFFF are decoded as they stand, and 0xF8 to 0xFF lead four
// bytes like 0xF0 to 0xF7. What cannot be decoded gives one warning line: a sequence that is broken or cut off gives
// Replacement_Char and length 1, an empty string gives 0 and leaves *length alone.
ORVELLE_API uint32_t utf8_get_char(const char* s, size_t* length = nullptr,
                                   const Warn& warn = warn_on_standard_error);

// Writes the UTF-8 form of a code point and a NUL into `buffer`, which has room for Max_Utf8_Length + 1
// bytes. Returns the number of bytes before the NUL: 1 to 4, or 0 (only the NUL is written) from
// Code_Point_End on. U+0000 is one NUL byte, and counts.
ORVELLE_API int unichar_to_utf8(uint32_t code_point, char* buffer);

}  // namespace orvelle
