#include "support/strings.h"

#include <algorithm>
#include <cstring>

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

// What was moved from is empty.
StringArena& StringArena::operator=(StringArena&& other) noexcept {
  blocks_ = std::exchange(other.blocks_, {});
  block_size_ = std::exchange(other.block_size_, First_Block_Size);
  next_ = std::exchange(other.next_, nullptr);
  room_ = std::exchange(other.room_, 0);
  return *this;
}

const char* StringArena::add(std::string_view text) {
  const size_t size = text.size() + 1;
  if (size > room_) {
    room_ = std::max(block_size_, size);
    blocks_.push_back(std::make_unique_for_overwrite<char[]>(room_));
    next_ = blocks_.back().get();
    block_size_ = std::min(4 * block_size_, Largest_Block_Size);
  }
  char* copy = next_;
  std::memcpy(copy, text.data(), text.size());
  copy[text.size()] = '\0';
  next_ += size;
  room_ -= size;
  return copy;
}

}  // namespace orvelle
