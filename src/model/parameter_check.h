// SPDX-License-Identifier: MIT
// The check of loaded tables. The readers of the sections take what they read as written; these functions
// verify that the tables are ones that the training can have written, so that no lookup can leave an array or
// go round in circles. A table that fails is error2 with "in parameter file" and the fault.
// Probabilities and factors are not judged: some settings of the training make them negative, infinite or no
// number.
#pragma once

#include "model/tables.h"

namespace orvelle {

// The tagset, the lemma table and the lexicon: names, lemmas and word forms strictly ascending; no TAB or line
// end in a lemma, nor these, a blank or CR in a tag; neither of them empty; the sentence tag one of the tags; the
// number entries without word forms; each entry's tags strictly ascending and, like its lemmas, in their table; no
// negative frequency.
void check_lexicon(const fullex_t& fullex);

// Prefix tree, suffix tree and open-class node: every node but the root is the child of exactly one node of
// lower index; symbols are bytes or Default_Symbol and distinct among siblings; tags are in the tagset.
void check_affix_lexicons(const AffixLexicons& affixes, int number_of_tags);

// Positions are inside the context, a position is not asked for again below its yes branch, and tags are in
// the tagset, at a leaf strictly ascending.
void check_context_tree(const context_tree_t& tree, int number_of_tags);

// All of the above.
void check_parameters(const Tables& tables);

}  // namespace orvelle
