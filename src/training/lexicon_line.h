// SPDX-License-Identifier: MIT
// How a line of the lexicon file is split:
//
//   saw TAB NN blank saw TAB VVD blank see LF       word "saw", pairs (NN, saw), (VVD, see)
#pragma once

#include <vector>

#include "support/strings.h"

namespace orvelle {

struct lexicon_line_t {
  struct pair_t {
    const char* tag;
    const char* lemma;  // "" where it is missing, which only the last pair can be
  };
  const char* word = "";
  std::vector<pair_t> pairs;

  // Splits a NUL-terminated line in place; its fields are valid as long as the line.
  void split(char* line) {
    word = next_string2(&line);
    pairs.clear();
    for (const char* tag = next_string(&line); *tag != '\0'; tag = next_string(&line))
      pairs.push_back({tag, next_string2(&line)});
  }
};

}  // namespace orvelle
