// SPDX-License-Identifier: MIT
// The written affix trees: from the first (prefix tree) or last (suffix tree) bytes of a word form to a distribution
// over open-class tags.
//
//   word      w a l k i n g          prefix tree: w, a, l, ... until a leaf
//             1 2 3 4 5 -            suffix tree: g, n, i, ... until a leaf
#pragma once

#include <orvelle/tables.h>

#include <string_view>
#include <vector>

namespace orvelle {

inline constexpr int Max_Affix_Length = 5;  // bytes; a word form needs one more to be in the trees
inline constexpr int Max_Number_of_Affix_Nodes = 65535;

// A written tree and the pairs of its leaves, leaf after leaf in node order.
struct affix_tree_t {
  std::vector<ANODE> nodes;
  std::vector<tagprob_t> pairs;
};

class AffixLexicons {
 public:
  AffixLexicons() = default;
  // The `tagprob` pointers are set here, from the order of the pairs. Requires: each tree's pairs are exactly those of
  // its leaves; `open_class` has one node, a leaf.
  AffixLexicons(affix_tree_t prefix, affix_tree_t suffix, affix_tree_t open_class);
  AffixLexicons(AffixLexicons&&) = default;
  AffixLexicons& operator=(AffixLexicons&&) = default;

  // The leaf of the prefix tree, or of the suffix tree, for a word form. The walk starts at the root and takes the
  // child for the next byte; where there is no child for it, the default child; where there is none either, no leaf
  // accounts for the word form and the result is null. The word form's end counts as a byte that no child stands for.
  // Requires: trees that model/parameter_check.h has passed, or that were trained.
  const ANODE* prefix_leaf(std::string_view word) const;
  const ANODE* suffix_leaf(std::string_view word) const;

  // Leaf with the open-class tags of the word forms whose prefix no leaf of the prefix tree accounts for.
  const ANODE& Open_Class_Node() const { return open_class_.nodes.front(); }

  const std::vector<ANODE>& Prefix_Lexicon() const { return prefix_.nodes; }  // the root first
  const std::vector<ANODE>& Suffix_Lexicon() const { return suffix_.nodes; }

 private:
  affix_tree_t prefix_, suffix_, open_class_;
};

}  // namespace orvelle
