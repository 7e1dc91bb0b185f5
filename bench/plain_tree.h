// The context tree grown in the plainest way that is still usable: at every node one contingency table a
// position, every candidate test evaluated exactly, a distribution over the whole tagset in every node. It
// shares no code with the trainer's search and is what that is measured against, and must agree with to the
// last bit.
#pragma once

#include <cstdint>
#include <cstdio>
#include <memory>
#include <vector>

#include "context/ngram_table.h"

namespace orvelle::plain {

struct node_t {
  int32_t context_pos = -10, tag = -10;  // the test; -10 in a leaf
  uint32_t freq = 0;
  double entropy = 0.0;
  std::vector<double> prob;  // indexed by tag
  std::unique_ptr<node_t> yes, no;
};

// Grows the tree with the settings in force. Requires: a finished table.
std::unique_ptr<node_t> grow(const NGramTable& ngrams);

long count_nodes(const node_t& root);

// Writes the section of the parameter file.
void write(const node_t& root, FILE* file);

}  // namespace orvelle::plain
