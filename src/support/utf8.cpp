// SPDX-License-Identifier: MIT
#include <orvelle/utf8.h>

namespace orvelle {

namespace {

constexpr uint32_t Continuation_Bits = 0x3F;

bool is_continuation(unsigned char byte) { return (byte & 0xC0) == 0x80; }

void store(size_t* length, size_t value) {
  if (length != nullptr) *length = value;
}

// The character at which decoding gave up: one byte is stepped over, so that the next may start a valid one.
uint32_t give_up(const Warn& warn, const char* warning, size_t* length) {
  if (warn) warn(warning);
  store(length, 1);
  return Replacement_Char;
}

}  // namespace

uint32_t utf8_get_char(const char* s, size_t* length, const Warn& warn) {
  const auto* byte = reinterpret_cast<const unsigned char*>(s);
  const unsigned char lead = byte[0];
  if (lead == 0) {
    if (warn) warn("Warning: empty input string in function utf8_get_char!\n");
    return 0;
  }
  if (lead < 0x80) {
    store(length, 1);
    return lead;
  }
  if (is_continuation(lead))
    return give_up(warn, "Warning: invalid UTF8 character encountered (2)!\n", length);

  const int size = lead < 0xE0 ? 2 : lead < 0xF0 ? 3 : 4;
  uint32_t code_point = lead & (0x7Fu >> size);  // 5, 4 or 3 payload bits
  for (int i = 1; i < size; ++i) {
    if (byte[i] == 0)
      return give_up(warn, "Warning: incomplete utf8 character in function utf8_get_char!\n", length);
    if (!is_continuation(byte[i]))
      return give_up(warn, "Warning: invalid UTF8 character encountered!\n", length);
    code_point = (code_point << 6) | (byte[i] & Continuation_Bits);
  }
  store(length, static_cast<size_t>(size));
  return code_point;
}

int unichar_to_utf8(uint32_t code_point, char* buffer) {
  if (code_point >= Code_Point_End) {
    buffer[0] = '\0';
    return 0;
  }
  const int size = code_point < 0x80 ? 1 : code_point < 0x800 ? 2 : code_point < 0x10000 ? 3 : 4;
  constexpr uint32_t Lead_Mark[] = {0, 0x00, 0xC0, 0xE0, 0xF0};  // by size
  for (int i = size - 1; i > 0; --i, code_point >>= 6)
    buffer[i] = static_cast<char>(0x80 | (code_point & Continuation_Bits));
  buffer[0] = static_cast<char>(Lead_Mark[size] | code_point);
  buffer[size] = '\0';
  return size;
}

}  // namespace orvelle
