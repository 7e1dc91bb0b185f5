// SPDX-License-Identifier: MIT
// Lemma rules from the lexicon of a model.
#pragma once

#include <orvelle/model.h>

#include "model/lemma_rules.h"

namespace orvelle {

// For each tag and each ending of a word form with that tag, the edit from the form in small letters to its lemma that is
// most frequent among the lexicon's forms; a rule is kept where it differs from that of the next shorter ending. For each
// tag and shape, the case of the lemma that is most frequent.
LemmaRules learn_lemmas(const Model& model);

}  // namespace orvelle
