// SPDX-License-Identifier: MIT
// The decision tree of a model: from the tags before a word to the distribution of its tag.
// The nodes lie in one array in pre-order, so the yes child of an inner node is the next element:
//
//   index  context_pos  tag   no
//     0         1        4     4     is the preceding tag 4?
//     1         0        2     3       yes: is the tag before it 2?
//     2         -        0     0         yes: leaf 0 of `leaves`
//     3         -        1     0         no:  leaf 1
//     4         -        2     0       no: leaf 2
#pragma once

#include <orvelle/tables.h>

#include <cstdint>
#include <utility>
#include <vector>

#include "support/block_arena.h"

namespace orvelle {

struct context_node_t {
  int32_t context_pos;  // inner node: the position tested, 0 to Context_Size - 1
  int32_t tag;          // inner node: the tag tested; leaf: its index in `leaves`
  int32_t no;           // inner node: index of the no child, after the whole yes subtree; 0 marks a leaf
};

struct context_tree_t {
  int32_t Context_Size = 0;  // preceding tags that the tests look at
  std::vector<context_node_t> nodes;
  std::vector<context_leaf_t> leaves;  // in the order of the tree, from yes to no
  BlockArena<double> entries;          // what the leaves point into
};

// The leaf for the tags before a word: preceding[p], for p from 0 to tree.Context_Size - 1, is the tag number
// of the word tree.Context_Size - p places before it, so the last element is the immediately preceding tag.
// No other element is read. The training takes its corpus as one stream, so the tags before a sentence are
// those of the sentence before it. Requires: a tree that model/parameter_check.h has passed, or that was trained.
const context_leaf_t& context_leaf(const context_tree_t& tree, const int32_t* preceding);

// The same; `tag_before(n)` gives the tag of the word n places before it, and is asked for no other than those that the
// tests on the way look at.
template <class TagBefore>
const context_leaf_t& context_leaf_of(const context_tree_t& tree, TagBefore tag_before) {
  const context_node_t* node = tree.nodes.data();
  while (node->no != 0)
    node = tag_before(tree.Context_Size - node->context_pos) == node->tag ? node + 1 : &tree.nodes[node->no];
  return tree.leaves[node->tag];
}

// The probability of a tag at a leaf; 0 for a tag that the leaf does not list.
double tag_probability(const context_leaf_t& leaf, int32_t tag);

// Makes a tree of its nodes as they come in pre-order. It is no recursion, because nothing limits the depth of a tree:
// a stack holds the inner nodes whose no subtree is still to come, and a leaf ends the yes subtree of the topmost.
class ContextTreeBuilder {
 public:
  explicit ContextTreeBuilder(int32_t context_size) { tree_.Context_Size = context_size; }

  // The entries of a leaf, for the caller to fill by ascending tag.
  struct entries_t {
    int32_t* tag;
    double* prob;
    void put(int place, int32_t t, double p) const { tag[place] = t, prob[place] = p; }
  };

  void inner_node(int32_t context_pos, int32_t tag);
  entries_t leaf(int32_t entries, uint32_t freq);

  // Whether the tree has all its leaves.
  bool is_complete() const { return is_complete_; }
  size_t size() const { return tree_.nodes.size(); }

  // Requires: is_complete.
  context_tree_t take() { return std::move(tree_); }

 private:
  context_tree_t tree_;
  bool is_complete_ = false;
  std::vector<int32_t> without_no_;  // inner nodes whose no child has not come yet, outermost first
};

}  // namespace orvelle
