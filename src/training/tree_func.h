// SPDX-License-Identifier: MIT
// The context model: a binary decision tree that estimates the probability of a tag from the Context_Size tags before
// it. An inner node asks whether the tag at one position of the context is one particular tag:
//
//                 position 1 is DT?
//               yes /           \ no
//          leaf: NN .8 JJ .1     position 1 is IN?  ...
//
// Position Context_Size - 1 is the tag directly before the predicted one, position 0 the farthest.
#pragma once

#include <cstdint>
#include <deque>
#include <vector>

#include "context/context_tree.h"
#include "support/messages.h"
#include "training/ngram_table.h"
#include "training/settings.h"

namespace orvelle {

class BinaryOutput;

// A node while the tree is grown and written. It is a leaf exactly when `yes` is null. The probabilities of a node
// are formed when it is written, from those of its prior and its counts:
//
//   prob(k) = (q(k) * w + count(k)) / (w + freq)     w = Smoothing_Weight * number of tags with a count
//
// where q is the distribution of the closest node above that was reached by a yes answer (or of the root). A
// distribution for every node while growing took 30 times the memory on a tagset of 2,109.
struct node_t {
  int32_t context_pos = -10;  // the test of an inner node
  int32_t tag = -10;
  uint32_t freq = 0;  // n-gram occurrences that reach the node
  node_t* yes = nullptr;
  node_t* no = nullptr;
  // Occurrences a predicted tag, ascending; empty in an inner node reached by no.
  std::vector<tag_count_t> counts;
};

// A tree that was grown. Its nodes point at each other and stay where they are when it is moved.
struct GrownTree {
  int Context_Size = 0;
  double Smoothing_Weight = 0.0;
  std::deque<node_t> nodes;       // the root first
  std::vector<double> root_prob;  // distribution of the root, indexed by tag
};

// Grows the tree from the n-grams, which must be finished.
GrownTree make_tree(const NGramTable& ngrams, const Settings& settings, int number_of_tags,
                    const Progress& progress);

// Writes the section of the decision tree and reports the tree's size.
void write_tree(const GrownTree& tree, BinaryOutput& out, const Progress& progress);

// The tree that reading the section would give.
context_tree_t make_context_tree(const GrownTree& tree);

}  // namespace orvelle
