// SPDX-License-Identifier: MIT
// Stretches of twice the length are pairs of stretches, and a stretch of any length between is a pair that overlaps:
//
//   D N V D N V D      length 2    DN 0  NV 1  VD 2  DN 0  NV 1  VD 2
//                      length 3    (DN NV) 0  (NV VD) 1  (VD DN) 2  (DN NV) 0  (NV VD) 1
#include "training/stretches.h"

#include <algorithm>
#include <numeric>

#include "support/counting_sort.h"

namespace orvelle {

namespace {

// Numbers the pairs (number[i], number[i + step]) by first occurrence.
std::vector<uint32_t> number_pairs(const std::vector<uint32_t>& number, size_t step) {
  const size_t keys = 1 + *std::max_element(number.begin(), number.end());
  std::vector<uint32_t> places(number.size() - step);
  std::iota(places.begin(), places.end(), 0u);
  counting_sort(places, keys, [&](uint32_t place) { return number[place + step]; });
  counting_sort(places, keys, [&](uint32_t place) { return number[place]; });

  std::vector<uint32_t> result(
      places.size());  // for each place first the earliest with the same pair, then its number
  uint32_t earliest = places[0];
  for (const uint32_t place : places) {
    const bool is_same = number[place] == number[earliest] && number[place + step] == number[earliest + step];
    result[place] = earliest = is_same ? earliest : place;
  }
  uint32_t next = 0;
  for (uint32_t place = 0; place < result.size(); ++place)
    result[place] = result[place] == place ? next++ : result[result[place]];
  return result;
}

}  // namespace

std::vector<uint32_t> number_stretches(const std::vector<uint16_t>& tags, size_t length) {
  std::vector<uint32_t> number(tags.begin(), tags.end());
  for (size_t done = 1; done < length;) {
    const size_t step = std::min(done, length - done);
    number = number_pairs(number, step);
    done += step;
  }
  return number;
}

}  // namespace orvelle
