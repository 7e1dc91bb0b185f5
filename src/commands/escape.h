// SPDX-License-Identifier: MIT
// Text that some reader would misread, put in other words for it. What goes to a terminal is never obeyed by it: control
// characters, ASCII's and those of UTF-8 from U+0080 to U+009F, are shown as \t, \r, \n or byte by byte as \xNN.
#pragma once

#include <string>
#include <string_view>

namespace orvelle {

// The text with its control characters as codes.
std::string shown(std::string_view text);

// The same for one screen line: nothing behind the first 60 bytes or so.
std::string printable(std::string_view text);

// The same, reversible: the backslash and `more` as \xNN, too.
std::string escaped(std::string_view text, char more = '\\');
// A single byte as \xNN.
std::string hex_code(char byte);

// A JSON string with its quotes, in UTF-8: a byte that belongs to no UTF-8 character stands for the character of
// ISO 8859-1.
std::string json_quoted(std::string_view text);

// A quoted string of the Graphviz language, in UTF-8 like those of JSON.
std::string dot_quoted(std::string_view text);

// A word of the shell's command line; quoted only where it has to be, and as $'...' if it has control characters.
std::string shell_quoted(std::string_view text);

}  // namespace orvelle
