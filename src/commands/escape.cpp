// SPDX-License-Identifier: MIT
#include "commands/escape.h"

#include <algorithm>

#include "commands/utf8_text.h"
#include "support/errors.h"

namespace orvelle {

namespace {

bool is_control(char c) { return (c >= 0 && c < ' ') || c == 0x7F; }

// What the text begins with is a control character: a byte, or one of UTF-8 from U+0080 to U+009F.
bool is_control(std::string_view character) {
  if (character.size() == 1) return is_control(character[0]);
  return character.size() == 2 && character[0] == '\xC2' && static_cast<unsigned char>(character[1]) < 0xA0;
}

bool has_control(std::string_view text) {
  for (; !text.empty(); text.remove_prefix(1))
    if (is_control(text.substr(0, 1)) || is_control(text.substr(0, 2))) return true;
  return false;
}

std::string code(char c) { return c == '\t' ? "\\t" : c == '\r' ? "\\r" : c == '\n' ? "\\n" : hex_code(c); }

// The text with `form(character)` for every character; what is no UTF-8 comes byte by byte.
template <class Form>
std::string replaced(std::string_view text, Form form) {
  std::string result;
  while (!text.empty()) {
    const std::string_view character = text.substr(0, std::max<size_t>(character_length(text), 1));
    result += form(character);
    text.remove_prefix(character.size());
  }
  return result;
}

// The text with its control characters, and all bytes of which `is_special` holds, as codes.
template <class IsSpecial>
std::string with_codes(std::string_view text, IsSpecial is_special) {
  return replaced(text, [&](std::string_view character) {
    if (is_special(character[0])) return hex_code(character[0]);
    if (!is_control(character)) return std::string(character);
    std::string codes;
    for (const char c : character) codes += code(c);
    return codes;
  });
}

// In UTF-8: a byte that is none is taken for a character of ISO 8859-1.
std::string as_utf8(std::string_view character) {
  const auto byte = static_cast<unsigned char>(character[0]);
  if (character.size() > 1 || byte < 0x80) return std::string(character);
  return {static_cast<char>(0xC0 | (byte >> 6)), static_cast<char>(0x80 | (byte & 0x3F))};
}

bool is_quote_or_backslash(char c) { return c == '"' || c == '\\'; }

// What fits on a line, cut between two UTF-8 characters.
std::string_view beginning(std::string_view text) {
  constexpr size_t Most = 60;        // bytes
  constexpr size_t Most_Behind = 8;  // bytes of a character that begins before them, however broken
  size_t end = std::min(Most, text.size());
  while (end < text.size() && end < Most + Most_Behind && (text[end] & 0xC0) == 0x80) ++end;
  return text.substr(0, end);
}

}  // namespace

std::string hex_code(char byte) { return formatted("\\x%02x", static_cast<unsigned char>(byte)); }

std::string shown(std::string_view text) {
  return with_codes(text, [](char) { return false; });
}

std::string printable(std::string_view text) {
  const std::string_view start = beginning(text);
  return start.size() < text.size() ? shown(start) + "..." : shown(start);
}

std::string escaped(std::string_view text, char more) {
  return with_codes(text, [more](char c) { return c == '\\' || c == more; });
}

std::string json_quoted(std::string_view text) {
  return '"' +
         replaced(text,
                  [](std::string_view part) {
                    const std::string character = as_utf8(part);
                    if (is_control(character))
                      return formatted("\\u%04x", static_cast<unsigned char>(character.back()));
                    return is_quote_or_backslash(part[0]) ? '\\' + character : character;
                  }) +
         '"';
}

std::string dot_quoted(std::string_view text) {
  return '"' +
         replaced(text,
                  [](std::string_view part) {
                    if (part == "&") return std::string("&amp;");
                    return is_quote_or_backslash(part[0]) ? '\\' + std::string(part) : as_utf8(part);
                  }) +
         '"';
}

std::string shell_quoted(std::string_view text) {
  const auto is_plain = [](char c) {
    return (c >= 'a' && c <= 'z') || (c >= 'A' && c <= 'Z') || (c >= '0' && c <= '9') ||
           std::string_view("_-./,+:@%=").find(c) != std::string_view::npos;
  };
  if (!text.empty() && std::ranges::all_of(text, is_plain)) return std::string(text);
  if (has_control(text)) return "$'" + with_codes(text, [](char c) { return c == '\\' || c == '\''; }) + '\'';
  return '\'' +
         replaced(
             text,
             [](std::string_view part) { return part == "'" ? std::string("'\\''") : std::string(part); }) +
         '\'';
}

}  // namespace orvelle
