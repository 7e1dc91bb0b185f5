// The decision tree of a loaded parameter file: from the tags before a word to the distribution of its tag.
// The nodes lie in one array in pre-order, so the yes child of an inner node is the next element:
//
//   index  context_pos  tag   no
//     0         1        4     4     is the preceding tag 4?
//     1         0        2     3       yes: is the tag before it 2?
//     2         -        0     0         yes: leaf 0 of `leaves`
//     3         -        1     0         no:  leaf 1
//     4         -        2     0       no: leaf 2
#pragma once

#include <cstdint>
#include <memory>
#include <vector>

namespace orvelle {

struct context_node_t {
  int32_t context_pos;  // inner node: the position tested, 0 to context_size - 1
  int32_t tag;          // inner node: the tag tested; leaf: its index in `leaves`
  int32_t no;           // inner node: index of the no child, after the whole yes subtree; 0 marks a leaf
};

// Tag numbers, strictly ascending, and their probabilities, `n` of each; belong together by position. The
// memory belongs to the tree.
struct context_leaf_t {
  const int32_t* tag;
  const double* prob;
  int32_t n;
  uint32_t freq;  // n-grams of the training corpus that reach the leaf
};

struct context_tree_t {
  int32_t context_size = 0;  // preceding tags that the tests look at
  std::vector<context_node_t> nodes;
  std::vector<context_leaf_t> leaves;             // in the order of the tree, from yes to no
  std::vector<std::unique_ptr<double[]>> blocks;  // what the leaves point into
};

// The tree in use. Written by define_context_tree alone; without nodes until then.
extern context_tree_t Context_Tree;

// Makes `tree` the tree in use and releases the one before it.
void define_context_tree(context_tree_t tree);

// The leaf for the tags before a word: preceding[p], for p from 0 to tree.context_size - 1, is the tag number
// of the word tree.context_size - p places before it, so the last element is the immediately preceding tag.
// No other element is read. The training takes its corpus as one stream, so the tags before a sentence are
// those of the sentence before it. Valid until: the tree is released. Requires: a tree that
// check_context_tree (driver/parameter_check.h) has passed.
const context_leaf_t& context_leaf(const context_tree_t& tree, const int32_t* preceding);

// The probability of a tag at a leaf; 0 for a tag that the leaf does not list.
double tag_probability(const context_leaf_t& leaf, int32_t tag);

}  // namespace orvelle
