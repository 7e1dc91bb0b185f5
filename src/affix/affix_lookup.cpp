#include "affix/affix_lookup.h"

#include <cstring>

namespace orvelle {

namespace {

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
const ANODE* find_leaf(const ANODE* tree, SymbolAt symbol_at) {
  const ANODE* node = tree;
  for (size_t depth = 0; node != nullptr && !node->leaf; ++depth)
    node = find_child(tree, *node, symbol_at(depth));
  return node;
}

}  // namespace

const ANODE* prefix_leaf(const char* word) {
  const size_t length = std::strlen(word);
  return find_leaf(Prefix_Lexicon, [=](size_t depth) {
    return depth < length ? static_cast<signed char>(word[depth]) : No_Symbol;
  });
}

const ANODE* suffix_leaf(const char* word) {
  const size_t length = std::strlen(word);
  return find_leaf(Suffix_Lexicon, [=](size_t depth) {
    return depth < length ? static_cast<signed char>(word[length - 1 - depth]) : No_Symbol;
  });
}

}  // namespace orvelle
