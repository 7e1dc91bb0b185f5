// Twin of context_section_reader.cpp: the same fields in the same order. The nodes stand in memory in the
// order of the file, so one pass over them writes the tree.
#include "context/context_section.h"
#include "support/binary_output.h"

namespace orvelle {

namespace {

void write_leaf(const context_leaf_t& leaf, BinaryOutput& out) {
  out.value(leaf.n);
  out.value(leaf.freq);
  for (int i = 0; i < leaf.n; ++i) {
    out.value(leaf.tag[i]);
    out.value(leaf.prob[i]);
  }
}

}  // namespace

void write_tree(const context_tree_t& tree, FILE* file) {
  BinaryOutput out(file);
  out.value(tree.context_size);
  for (const context_node_t& node : tree.nodes) {
    const bool is_leaf = node.no == 0;
    out.value(int32_t{is_leaf});
    if (is_leaf) {
      write_leaf(tree.leaves[node.tag], out);
    } else {
      out.value(node.context_pos);
      out.value(node.tag);
    }
  }
  out.flush();
}

}  // namespace orvelle
