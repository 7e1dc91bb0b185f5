// SPDX-License-Identifier: MIT
#include "commands/utf8_text.h"

#include <algorithm>
#include <cstddef>
#include <cstdint>

#include "support/strings.h"

namespace orvelle {

size_t character_length(std::string_view text) {
  const auto byte = [&](size_t i) { return static_cast<uint8_t>(text[i]); };
  const size_t size = byte(0) < 0x80 ? 1 : byte(0) < 0xC2 ? 0 : byte(0) < 0xE0 ? 2 : byte(0) < 0xF0 ? 3 : 4;
  if (size == 0 || byte(0) > 0xF4 || text.size() < size) return 0;
  for (size_t i = 1; i < size; ++i)
    if ((byte(i) & 0xC0) != 0x80) return 0;
  // The first byte leaves the second one less room where a shorter form, a surrogate or the end lies.
  if (byte(0) == 0xE0 && byte(1) < 0xA0) return 0;
  if (byte(0) == 0xED && byte(1) > 0x9F) return 0;
  if (byte(0) == 0xF0 && byte(1) < 0x90) return 0;
  if (byte(0) == 0xF4 && byte(1) > 0x8F) return 0;
  return size;
}

encoding_t encoding_of(std::string_view text) {
  const auto other = std::ranges::find_if_not(text, is_ascii);
  text.remove_prefix(static_cast<size_t>(other - text.begin()));
  if (text.empty()) return encoding_t::Ascii;
  while (!text.empty()) {
    const size_t length = character_length(text);
    if (length == 0) return encoding_t::Other;
    text.remove_prefix(length);
  }
  return encoding_t::Utf8;
}

}  // namespace orvelle
