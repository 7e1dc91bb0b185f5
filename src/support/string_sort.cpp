// Most comparisons are settled by the first eight bytes, which are carried along as one number; only strings that
// agree in them are looked at again.
#include "support/string_sort.h"

#include <algorithm>
#include <cstddef>
#include <cstring>
#include <numeric>

namespace orvelle {

namespace {

struct key_t {
  uint64_t head;    // first eight bytes, big-endian, zeros behind the end
  uint32_t number;  // index of the string
};

uint64_t head_of(const char* s) {
  uint64_t head = 0;
  for (int i = 0; i < 8; ++i) {
    head = head << 8 | static_cast<unsigned char>(*s);
    if (*s != '\0') ++s;
  }
  return head;
}

}  // namespace

std::vector<uint32_t> sorted_order(const std::vector<const char*>& strings) {
  std::vector<uint32_t> order(strings.size());
  std::iota(order.begin(), order.end(), 0u);
  const auto descends = [](const char* a, const char* b) { return std::strcmp(a, b) > 0; };
  if (std::adjacent_find(strings.begin(), strings.end(), descends) == strings.end()) return order;

  std::vector<key_t> keys(strings.size());
  for (size_t i = 0; i < keys.size(); ++i) keys[i] = {head_of(strings[i]), static_cast<uint32_t>(i)};
  std::sort(keys.begin(), keys.end(), [&](const key_t& a, const key_t& b) {
    if (a.head != b.head) return a.head < b.head;
    // A zero byte in the heads is the end of both strings.
    if ((a.head & 0xFF) == 0) return false;
    return std::strcmp(strings[a.number] + 8, strings[b.number] + 8) < 0;
  });
  for (size_t i = 0; i < keys.size(); ++i) order[i] = keys[i].number;
  return order;
}

}  // namespace orvelle
