// SPDX-License-Identifier: MIT
// Stretches of twice the length are pairs of stretches, and a stretch of any length between is a pair that overlaps:
//
//   D N V D N V D      length 2    DN 0  NV 1  VD 2  DN 0  NV 1  VD 2
//                      length 3    (DN NV) 0  (NV VD) 1  (VD DN) 2  (DN NV) 0  (NV VD) 1
#include "training/stretches.h"

#include <algorithm>
#include <numeric>

namespace orvelle {

namespace {

// A stable counting sort of places by their keys, which are all less than `keys`.
template <class Key>
std::vector<uint32_t> sorted_places(const std::vector<uint32_t>& places, size_t keys, Key key) {
  std::vector<uint32_t> next(keys + 1, 0), result(places.size());
  for (const uint32_t place : places) ++next[key(place) + 1];
  std::partial_sum(next.begin(), next.end(), next.begin());
  for (const uint32_t place : places) result[next[key(place)]++] = place;
  return result;
}

// Numbers the pairs (number[i], number[i + step]) by first occurrence.
std::vector<uint32_t> number_pairs(const std::vector<uint32_t>& number, size_t step) {
  const size_t keys = 1 + *std::max_element(number.begin(), number.end());
  std::vector<uint32_t> places(number.size() - step);
  std::iota(places.begin(), places.end(), 0u);
  places = sorted_places(places, keys, [&](uint32_t place) { return number[place + step]; });
  places = sorted_places(places, keys, [&](uint32_t place) { return number[place]; });

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
