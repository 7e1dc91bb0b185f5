// SPDX-License-Identifier: MIT
#include "support/strings.h"

namespace orvelle {

int str_cmp(const char* a, const char* b) {
  while (*a != '\0' && *a == *b) ++a, ++b;
  return static_cast<unsigned char>(*a) - static_cast<unsigned char>(*b);
}

namespace {

// One comparison settles most bytes: all that skip or end a field are blanks or control bytes.
bool is_separator(char c) { return c == ' ' || c == '\t' || c == '\r'; }

template <class Ends>
char* next_field(char** cursor, Ends ends) {
  char* start = *cursor;
  while (is_separator(*start)) ++start;
  char* end = start;
  while (static_cast<unsigned char>(*end) > ' ' || (*end != '\0' && !ends(*end))) ++end;
  *cursor = *end != '\0' ? end + 1 : end;
  *end = '\0';
  return start;
}

}  // namespace

char* next_string(char** cursor) {
  return next_field(cursor, [](char c) { return is_separator(c) || c == '\n'; });
}

char* next_string2(char** cursor) {
  return next_field(cursor, [](char c) { return c == '\t' || c == '\n'; });
}

}  // namespace orvelle
