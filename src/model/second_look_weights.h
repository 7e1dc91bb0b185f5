// SPDX-License-Identifier: MIT
// The weights of a second look (tagger/second_look.h), as a model file has them: the section "weights" is a byte that says
// whether tags are split, the temperature and the scale as a byte each, and the table.
#pragma once

#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

namespace orvelle {

struct second_look_weights_t {
  static constexpr double Step = 1.0 / 64;  // of a weight

  std::vector<int8_t> table;  // a power of two of them; none without a second look
  bool splits_tags = false;
  uint8_t scale = 64;        // in steps, of the logarithms of the first pass
  uint8_t temperature = 16;  // in sixteenths: the probabilities are raised to the power of its inverse

  second_look_weights_t() = default;
  // A section that is not as it should be is a bad_model_file.
  explicit second_look_weights_t(std::string_view section);
  std::string section() const;

  bool empty() const { return table.empty(); }
};

}  // namespace orvelle
