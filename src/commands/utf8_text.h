// SPDX-License-Identifier: MIT
// Whether text is UTF-8.
#pragma once

#include <cstddef>
#include <string_view>

namespace orvelle {

enum class encoding_t { Ascii, Utf8, Other };

// Bytes of the UTF-8 character at the beginning; 0 if there is none. Requires: the text is not empty.
size_t character_length(std::string_view text);

// As the Unicode standard has it: no overlong forms, no surrogates, nothing above U+10FFFF.
encoding_t encoding_of(std::string_view text);

}  // namespace orvelle
