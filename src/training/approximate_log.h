// SPDX-License-Identifier: MIT
// A logarithm to base 2 that is cheap enough for every candidate test of every node: about a quarter of the library's
// time. The scores made with it only tell which candidates can be the best; near ties are settled with ld.
//
//   x = 2^e * m, m in [1, 2);   c = middle of the 1/128th of [1, 2) that m lies in;   r = m / c - 1, |r| < 2^-8
//   ld x = e + ld c + ld(1 + r), the last one by the first terms of its series
#pragma once

#include <array>
#include <bit>
#include <cstdint>

namespace orvelle {

struct log_cell_t {
  double reciprocal;  // 1 / c, rounded
  double log;         // -ld of that reciprocal
};
inline constexpr int Log_Cells = 128;
extern const std::array<log_cell_t, Log_Cells> Log_Table;

// Largest error of approximate_ld, relative to max(1, |ld x|), that its users allow for. The remainder of the series
// is below 1e-15.
inline constexpr double Approximate_Log_Error = 1e-13;

// Requires: x is positive, finite and no denormal number.
inline double approximate_ld(double x) {
  const uint64_t bits = std::bit_cast<uint64_t>(x);
  const log_cell_t& cell = Log_Table[bits >> 45 & (Log_Cells - 1)];
  const double m = std::bit_cast<double>((bits & 0x000FFFFFFFFFFFFF) | 0x3FF0000000000000);
  const double r = m * cell.reciprocal - 1.0;
  const double exponent = static_cast<double>(static_cast<int>(bits >> 52) - 1023);
  constexpr double Ln2 = 0.6931471805599453;
  const double r2 = r * r;
  const double series =
      (1.0 / Ln2 - 0.5 / Ln2 * r) + r2 * ((1.0 / 3 / Ln2 - 0.25 / Ln2 * r) + r2 * (0.2 / Ln2));
  return exponent + (cell.log + r * series);
}

}  // namespace orvelle
