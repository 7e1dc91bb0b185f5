// SPDX-License-Identifier: MIT
#include "training/approximate_log.h"

#include <cstddef>

namespace orvelle {

namespace {

// ld x for x in [1/2, 2], by the series of atanh; the terms left out are below 1e-19. std::log is no constant expression,
// and the table shall be one.
constexpr double constant_ld(double x) {
  constexpr double Ln2 = 0.6931471805599453;
  const double z = (x - 1.0) / (x + 1.0);
  double sum = 0.0;
  for (int n = 39; n > 0; n -= 2) sum = sum * (z * z) + 1.0 / n;
  return 2.0 * z * sum / Ln2;
}

}  // namespace

constinit const std::array<log_cell_t, Log_Cells> Log_Table = [] {
  std::array<log_cell_t, Log_Cells> table{};
  for (size_t i = 0; i < table.size(); ++i) {
    const double reciprocal = 1.0 / (1.0 + (static_cast<double>(i) + 0.5) / Log_Cells);
    table[i] = {reciprocal, -constant_ld(reciprocal)};
  }
  return table;
}();

}  // namespace orvelle
