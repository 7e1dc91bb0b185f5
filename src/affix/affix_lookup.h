// From a word form to the leaf of an affix tree that accounts for it.
//
//   word      w a l k i n g          prefix tree: w, a, l, ... until a leaf
//             1 2 3 4 5 -            suffix tree: g, n, i, ... until a leaf
#pragma once

#include "affix/affix_nodes.h"

namespace orvelle {

// The leaf of the prefix tree, or of the suffix tree, for a word form; its distribution is tagprob[0] to
// tagprob[number - 1]. The walk starts at the root and takes the child for the next byte; where there is no
// child for it, the default child; where there is none either, no leaf accounts for the word form and the
// result is null. The word form's end counts as a byte that no child stands for, so a short word form is
// walked as far as it goes. A tree that is only a root gives the root. Valid until: the affix lexicons are
// loaded or made anew. Requires: affix lexicons that were loaded and checked, or made by the training.
const ANODE* prefix_leaf(const char* word);
const ANODE* suffix_leaf(const char* word);

}  // namespace orvelle
