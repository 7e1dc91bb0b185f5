#include "context/context_tree.h"

#include <algorithm>
#include <utility>

namespace orvelle {

context_tree_t Context_Tree;

void define_context_tree(context_tree_t tree) { Context_Tree = std::move(tree); }

// One loop whatever the depth: a chain of no children is as long as the training found tags to ask for.
const context_leaf_t& context_leaf(const context_tree_t& tree, const int32_t* preceding) {
  const context_node_t* node = tree.nodes.data();
  while (node->no != 0) node = preceding[node->context_pos] == node->tag ? node + 1 : &tree.nodes[node->no];
  return tree.leaves[node->tag];
}

double tag_probability(const context_leaf_t& leaf, int32_t tag) {
  // A leaf of a tree that was trained with smoothing lists every tag, so the tag stands at its own number.
  if (tag >= 0 && tag < leaf.n && leaf.tag[tag] == tag) return leaf.prob[tag];
  const int32_t* const end = leaf.tag + leaf.n;
  const int32_t* const place = std::lower_bound(leaf.tag, end, tag);
  return place != end && *place == tag ? leaf.prob[place - leaf.tag] : 0.0;
}

}  // namespace orvelle
