// SPDX-License-Identifier: MIT
// Case and blanks of single code points, answered from five constant tables. The case tables are a fixed
// choice of the simple one-to-one mappings of Unicode: title-case letters, the German sharp s, the final
// sigma, the long s and the dotted capital I, among others, have no partner here.
#pragma once

#include <cstdint>

#include <orvelle/export.h>

namespace orvelle {

// Upper-case code points, strictly ascending, and beside each its lower-case partner.
inline constexpr int Number_of_Uppercase_Chars = 665;
ORVELLE_API extern const uint32_t uppercase_char[Number_of_Uppercase_Chars];
ORVELLE_API extern const uint32_t upper_to_lower[Number_of_Uppercase_Chars];

// Lower-case code points, strictly ascending, and beside each its upper-case partner. Not the inverse of the
// tables above: dotless i has the partner I, whose own partner is i.
inline constexpr int Number_of_Lowercase_Chars = 666;
ORVELLE_API extern const uint32_t lowercase_char[Number_of_Lowercase_Chars];
ORVELLE_API extern const uint32_t lower_to_upper[Number_of_Lowercase_Chars];

// Code points taken as blanks, strictly ascending; TAB, LF and CR are not among them.
inline constexpr int Number_of_Whitespace_Chars = 18;
ORVELLE_API extern const uint32_t whitespace_char[Number_of_Whitespace_Chars];

// The partner of a code point, or the code point itself if the table does not list it. Any 32-bit value may
// be asked for. A partner is never longer in UTF-8 than the code point.
ORVELLE_API uint32_t unichar_tolower(uint32_t code_point);
ORVELLE_API uint32_t unichar_toupper(uint32_t code_point);

// Whether the table lists the code point.
ORVELLE_API bool unichar_islower(uint32_t code_point);
ORVELLE_API bool unichar_isupper(uint32_t code_point);
ORVELLE_API bool unichar_isspace(uint32_t code_point);

}  // namespace orvelle
