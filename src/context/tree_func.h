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
#include <cstdio>
#include <vector>

namespace orvelle {

struct tag_count_t {
  int tag;
  uint32_t count;
};

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

// Counts the n-grams of the corpus file and grows the tree. The nodes live until the next call. Ends the run if the
// corpus cannot be read or has a token without a known tag.
const node_t* make_tree(const char* corpus);

// Writes the tree section and reports the tree's size unless Quiet.
void write_tree(const node_t* root, FILE* file);

}  // namespace orvelle
