// SPDX-License-Identifier: MIT
#include "affix/affix_lexicons.h"

#include <utility>

namespace orvelle {

namespace {

void set_tagprobs(affix_tree_t& tree) {
  const tagprob_t* pairs = tree.pairs.data();
  for (ANODE& node : tree.nodes) {
    if (!node.leaf) continue;
    node.tagprob = pairs;
    pairs += node.number;
  }
}

constexpr int No_Symbol = -1000;  // outside of what a node can have

// A node's child for a symbol, else its default child, else null. Children stand in decreasing order of
// frequency and the default child last, so a scan from the front ends early.
const ANODE* find_child(const ANODE* tree, const ANODE& node, int symbol) {
  const ANODE* const children = tree + node.first_child;
  for (int i = 0; i < node.number; ++i)
    if (children[i].symbol == symbol) return &children[i];
  for (int i = node.number - 1; i >= 0; --i)
    if (children[i].symbol == Default_Symbol) return &children[i];
  return nullptr;
}

// `symbol_at(depth)` gives the symbol that leads on from a node of that depth.
template <class SymbolAt>
const ANODE* find_leaf(const std::vector<ANODE>& tree, SymbolAt symbol_at) {
  const ANODE* node = tree.data();
  for (size_t depth = 0; node != nullptr && !node->leaf; ++depth)
    node = find_child(tree.data(), *node, symbol_at(depth));
  return node;
}

}  // namespace

AffixLexicons::AffixLexicons(affix_tree_t prefix, affix_tree_t suffix, affix_tree_t open_class)
    : prefix_(std::move(prefix)), suffix_(std::move(suffix)), open_class_(std::move(open_class)) {
  for (affix_tree_t* tree : {&prefix_, &suffix_, &open_class_}) set_tagprobs(*tree);
}

const ANODE* AffixLexicons::prefix_leaf(std::string_view word) const {
  return find_leaf(prefix_.nodes, [word](size_t depth) {
    return depth < word.size() ? static_cast<signed char>(word[depth]) : No_Symbol;
  });
}

const ANODE* AffixLexicons::suffix_leaf(std::string_view word) const {
  return find_leaf(suffix_.nodes, [word](size_t depth) {
    return depth < word.size() ? static_cast<signed char>(word[word.size() - 1 - depth]) : No_Symbol;
  });
}

}  // namespace orvelle
