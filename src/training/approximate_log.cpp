#include "training/approximate_log.h"

#include "support/binary_log.h"

namespace orvelle {

const std::array<log_cell_t, Log_Cells> Log_Table = [] {
  std::array<log_cell_t, Log_Cells> table;
  for (int i = 0; i < Log_Cells; ++i) {
    const double reciprocal = 1.0 / (1.0 + (i + 0.5) / Log_Cells);
    table[i] = {reciprocal, -ld(reciprocal)};
  }
  return table;
}();

}  // namespace orvelle
