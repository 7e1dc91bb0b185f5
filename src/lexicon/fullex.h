// SPDX-License-Identifier: MIT
// What the lexicon section of a parameter file holds.
#pragma once

#include <vector>

#include "lexicon/lemmas.h"
#include "lexicon/lexicon.h"
#include "lexicon/tagset.h"

namespace orvelle {

struct fullex_t {
  Tagset tagset;
  LemmaTable lemmas;
  Lexicon lexicon;
  std::vector<double> A_Priori_Tag_Prob_Fac;  // the factor of each tag, see lexicon_section.h
};

}  // namespace orvelle
