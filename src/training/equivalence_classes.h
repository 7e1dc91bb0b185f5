// SPDX-License-Identifier: MIT
// Word equivalence classes: all entries with the same list of tags. A class's distribution is the average of what its
// entries show in the corpus, and smooths each of them.
#pragma once

#include "training/lexicon_file.h"
#include "training/settings.h"

namespace orvelle {

// Replaces the relative frequencies in the `prob` of every ordinary entry by smoothed probabilities:
//
//   class(k) ~ 0.1 + sum of the relative frequencies of tag k over the class's entries that occur in the corpus
//   prob(k)  ~ count(k) + Word_Class_Weight * class(k) * number of the entry's tags that occur with it (at least 1)
//
// Requires: `prob` holds the relative frequencies of the counts, `readings`.
void smooth_with_classes(TrainingLexicon& lexicon, const std::vector<int32_t>& readings,
                         const Settings& settings);

}  // namespace orvelle
