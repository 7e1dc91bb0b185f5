// SPDX-License-Identifier: MIT
// The nodes stand in memory in the order of the file, so one pass over them writes the tree.
#include <algorithm>

#include "context/context_section.h"

namespace orvelle {

namespace {

void write_leaf(const context_leaf_t& leaf, ContextSectionWriter& out) {
  out.leaf(leaf.n, leaf.freq);
  for (int first = 0; first < leaf.n; first += ContextSectionWriter::Entries_At_Once) {
    const int count = std::min(leaf.n - first, ContextSectionWriter::Entries_At_Once);
    const ContextSectionWriter::entries_t entries = out.entries(count);
    for (int i = 0; i < count; ++i) entries.put(i, leaf.tag[first + i], leaf.prob[first + i]);
  }
}

}  // namespace

void write_tree(const context_tree_t& tree, BinaryOutput& out) {
  ContextSectionWriter section(tree.Context_Size, out);
  for (const context_node_t& node : tree.nodes) {
    if (node.no == 0)
      write_leaf(tree.leaves[static_cast<size_t>(node.tag)], section);
    else
      section.inner_node(node.context_pos, node.tag);
  }
}

}  // namespace orvelle
