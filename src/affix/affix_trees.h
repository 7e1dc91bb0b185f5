// Building of the affix trees: from the word forms of the lexicon to the written prefix and suffix tree.
#pragma once

namespace orvelle {

// Builds, prunes, orders and lays out both trees and the open-class node. Requires: every entry's `prob` holds its
// relative frequencies. Reports the sizes unless Quiet; ends the run if a tree has more than 65,535 nodes.
void make_affix_trees();

}  // namespace orvelle
