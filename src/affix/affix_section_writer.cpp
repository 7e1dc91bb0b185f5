// SPDX-License-Identifier: MIT
#include "affix/affix_section.h"
#include "support/binary_output.h"

namespace orvelle {

namespace {

constexpr int32_t Unused = 0;

void write_node(const ANODE& node, BinaryOutput& out) {
  out.value(node.leaf);
  out.value(node.symbol);
  out.value(node.number);
  out.value(node.first_child);
  out.value(Unused);
}

void write_pairs(const ANODE& leaf, BinaryOutput& out) {
  for (int i = 0; i < leaf.number; ++i) {
    out.value(leaf.tagprob[i].tag);
    out.value(static_cast<int16_t>(Unused));
    out.value(leaf.tagprob[i].prob);
  }
}

void write_affix_tree(const std::vector<ANODE>& nodes, BinaryOutput& out) {
  out.value(static_cast<uint16_t>(nodes.size()));
  for (const ANODE& node : nodes) write_node(node, out);
  for (const ANODE& node : nodes)
    if (node.leaf) write_pairs(node, out);
}

}  // namespace

void write_affixlex(const AffixLexicons& affixes, BinaryOutput& out) {
  write_affix_tree(affixes.Prefix_Lexicon(), out);
  write_affix_tree(affixes.Suffix_Lexicon(), out);
  write_node(affixes.Open_Class_Node(), out);
  write_pairs(affixes.Open_Class_Node(), out);
}

}  // namespace orvelle
