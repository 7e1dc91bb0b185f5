// SPDX-License-Identifier: MIT
#include "model/second_look_weights.h"

#include <bit>

#include "model/model_file.h"

namespace orvelle {

second_look_weights_t::second_look_weights_t(std::string_view section) {
  constexpr size_t Head = 3;  // bytes
  if (section.size() < Head + 2 || !std::has_single_bit(section.size() - Head) ||
      static_cast<uint8_t>(section[0]) > 1 || section[1] == 0)
    bad_model_file("weights of the second look");
  splits_tags = section[0] == 1;
  temperature = static_cast<uint8_t>(section[1]);
  scale = static_cast<uint8_t>(section[2]);
  table.assign(section.begin() + Head, section.end());
}

std::string second_look_weights_t::section() const {
  std::string section = {static_cast<char>(splits_tags), static_cast<char>(temperature),
                         static_cast<char>(scale)};
  section.append(table.begin(), table.end());
  return section;
}

}  // namespace orvelle
