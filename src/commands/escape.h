// SPDX-License-Identifier: MIT
// Text that some reader would misread, put in other words for it.
#pragma once

#include <string>
#include <string_view>

namespace orvelle {

// For one screen line: control bytes as \t, \r, \n or \xNN, and nothing behind the first 60 bytes or so.
std::string printable(std::string_view text);

// Reversible: control bytes, the backslash and `more` as \xNN.
std::string escaped(std::string_view text, char more = '\\');
// A single byte as \xNN.
std::string hex_code(char byte);

// A JSON string with its quotes. Bytes from 0x80 on stand as they are: the output has the encoding of the text.
std::string json_quoted(std::string_view text);

// A quoted string of the Graphviz language.
std::string dot_quoted(std::string_view text);

// A word of the shell's command line; quoted only where it has to be.
std::string shell_quoted(std::string_view text);

}  // namespace orvelle
