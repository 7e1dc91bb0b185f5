// SPDX-License-Identifier: MIT
// What the counts of the corpus (corpus_pass.h) make of the readings of a lexicon, between the counting and the
// smoothing.
#pragma once

#include "training/lexicon_file.h"

namespace orvelle {

// Drops the tags of each entry that were counted less often than `Lex_Threshold` times its most frequent one. A number
// entry starts with every tag of the tagset and keeps those seen at least once, if there are any.
void filter_tags(TrainingLexicon& lexicon, std::vector<int32_t>& readings, double Lex_Threshold);

// Sets the frequency of each entry and makes its probabilities the relative frequencies of its counts; all alike where
// there are none.
void set_relative_frequencies(TrainingLexicon& lexicon, const std::vector<int32_t>& readings);

// The factor of each tag, the inverse of its share of the corpus, half a token added to its count: S / (f + 0.5) for f
// tokens with the tag and S tokens in all.
std::vector<double> tag_factors(const std::vector<int32_t>& Tag_Freq);

}  // namespace orvelle
