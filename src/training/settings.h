// SPDX-License-Identifier: MIT
// What a training is told.
#pragma once

#include <string>

namespace orvelle {

struct Settings {
  int Context_Size = 2;              // preceding tags that the context tree looks at; at least 1
  double Min_Info_Gain = 0.5;        // least gain, in bits, at which a context node is split
  double Smoothing_Weight = 1.0;     // weight of the prior in every context estimate; not below 0
  double Word_Class_Weight = 0.15;   // weight of an equivalence class in the smoothing of an entry
  double Cut_Off_Gain = 1.2;         // least gain, in bits, at which an affix leaf is kept
  double Lex_Threshold = 0.0;        // share of an entry's most frequent tag below which a tag is dropped
  std::string SENT_TAG = "SENT";     // name of the sentence tag
  int Max_Number_of_Classes = 1000;  // equivalence classes to make room for at first
  int UTF8_Processing = 0;           // 1: word forms are UTF-8, 0: single bytes

  bool operator==(const Settings&) const = default;
};

}  // namespace orvelle
