// SPDX-License-Identifier: MIT
// The other half of affix_section_writer.cpp: the same fields in the same order.
#include <utility>

#include "affix/affix_section.h"
#include "support/binary_input.h"

namespace orvelle {

namespace {

constexpr size_t Unused_Bytes_of_Node = 4;

// The values are taken in the order of the file, so a node costs one read.
ANODE read_anode(BinaryInput& in) {
  uint16_t head[4];
  char unused[Unused_Bytes_of_Node];
  in.bytes(head, sizeof head);
  in.bytes(unused, sizeof unused);
  ANODE node;
  node.leaf = static_cast<int16_t>(head[0]);
  node.symbol = static_cast<int16_t>(head[1]);
  node.number = static_cast<int16_t>(head[2]);
  node.first_child = head[3];
  if (node.leaf && node.number < 0) bad_parameter_file("negative number of tag pairs of an affix");
  return node;
}

tagprob_t read_pair(BinaryInput& in) {
  tagprob_t pair{};
  pair.tag = in.value<int16_t>();
  in.value<int16_t>();  // unused
  pair.prob = in.value<float>();
  return pair;
}

// `count` nodes, then the pairs of the leaves among them.
affix_tree_t read_tree_nodes(BinaryInput& in, int count) {
  affix_tree_t tree;
  for (int i = 0; i < count; ++i) tree.nodes.push_back(read_anode(in));
  for (const ANODE& node : tree.nodes) {
    if (!node.leaf) continue;
    for (int i = 0; i < node.number; ++i) tree.pairs.push_back(read_pair(in));
  }
  return tree;
}

affix_tree_t read_affix_tree(BinaryInput& in) { return read_tree_nodes(in, in.value<uint16_t>()); }

}  // namespace

AffixLexicons read_affixlex(BinaryInput& in) {
  affix_tree_t prefix = read_affix_tree(in);
  affix_tree_t suffix = read_affix_tree(in);
  affix_tree_t open_class = read_tree_nodes(in, 1);
  return {std::move(prefix), std::move(suffix), std::move(open_class)};
}

}  // namespace orvelle
