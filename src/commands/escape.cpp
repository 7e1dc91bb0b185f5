// SPDX-License-Identifier: MIT
#include "commands/escape.h"

#include <algorithm>

#include "support/errors.h"

namespace orvelle {

namespace {

bool is_control(char c) { return (c >= 0 && c < ' ') || c == 0x7F; }

// The text with `form(byte)` for every byte of which `is_special(byte)` holds.
template <class IsSpecial, class Form>
std::string replaced(std::string_view text, IsSpecial is_special, Form form) {
  std::string result;
  for (const char c : text)
    if (is_special(c))
      result += form(c);
    else
      result += c;
  return result;
}

std::string with_backslash(char c) { return {'\\', c}; }

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

std::string printable(std::string_view text) {
  const std::string_view shown = beginning(text);
  const std::string result = replaced(shown, is_control, [](char c) -> std::string {
    return c == '\t' ? "\\t" : c == '\r' ? "\\r" : c == '\n' ? "\\n" : hex_code(c);
  });
  return shown.size() < text.size() ? result + "..." : result;
}

std::string escaped(std::string_view text, char more) {
  return replaced(
      text, [more](char c) { return is_control(c) || c == '\\' || c == more; }, hex_code);
}

std::string json_quoted(std::string_view text) {
  const auto is_special = [](char c) { return is_quote_or_backslash(c) || (c >= 0 && c < ' '); };
  const auto form = [](char c) {
    return is_quote_or_backslash(c) ? with_backslash(c) : formatted("\\u%04x", static_cast<unsigned char>(c));
  };
  return '"' + replaced(text, is_special, form) + '"';
}

std::string dot_quoted(std::string_view text) {
  return '"' + replaced(text, is_quote_or_backslash, with_backslash) + '"';
}

std::string shell_quoted(std::string_view text) {
  const auto is_plain = [](char c) {
    return (c >= 'a' && c <= 'z') || (c >= 'A' && c <= 'Z') || (c >= '0' && c <= '9') ||
           std::string_view("_-./,+:@%=").find(c) != std::string_view::npos;
  };
  if (!text.empty() && std::ranges::all_of(text, is_plain)) return std::string(text);
  const auto is_quote = [](char c) { return c == '\''; };
  return '\'' + replaced(text, is_quote, [](char) { return "'\\''"; }) + '\'';
}

}  // namespace orvelle
