// SPDX-License-Identifier: MIT
// Whether text is UTF-8.
#pragma once

#include <string_view>

namespace orvelle {

enum class encoding_t { Ascii, Utf8, Other };

// As the Unicode standard has it: no overlong forms, no surrogates, nothing above U+10FFFF.
encoding_t encoding_of(std::string_view text);

}  // namespace orvelle
