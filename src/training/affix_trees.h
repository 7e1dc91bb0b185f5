// SPDX-License-Identifier: MIT
// Building of the affix trees: from the word forms of the lexicon to the written prefix and suffix tree.
#pragma once

#include <orvelle/error.h>

#include <vector>

#include "affix/affix_lexicons.h"
#include "lexicon/lexicon.h"
#include "lexicon/tagset.h"
#include "support/messages.h"

namespace orvelle {

// Builds, prunes, orders and lays out both trees and the open-class node. Requires: every entry's `prob` holds its
// relative frequencies. Reports the sizes; a tree of more than 65,535 nodes is an Error.
AffixLexicons make_affix_trees(const Lexicon& lexicon, const Tagset& tagset,
                               const std::vector<char>& Open_Class, double Cut_Off_Gain,
                               const Progress& progress, const Warn& warn);

}  // namespace orvelle
