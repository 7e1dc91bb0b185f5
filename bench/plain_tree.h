// SPDX-License-Identifier: MIT
// The context tree grown in the plainest way that is still usable: at every node one contingency table a
// position, every candidate test evaluated exactly, a distribution over the whole tagset in every node. It
// shares no code with the trainer's search and is what that is measured against, and must agree with to the
// last bit.
#pragma once

#include <cstdint>
#include <memory>
#include <vector>

#include "support/binary_output.h"
#include "training/ngram_table.h"
#include "training/settings.h"

namespace orvelle::plain {

struct node_t {
  int32_t context_pos = -10, tag = -10;  // the test; -10 in a leaf
  uint32_t freq = 0;
  double entropy = 0.0;
  std::vector<double> prob;  // indexed by tag
  std::unique_ptr<node_t> yes, no;
};

// Grows the tree. Requires: a finished table.
std::unique_ptr<node_t> grow(const NGramTable& ngrams, const Settings& settings, int number_of_tags);

long count_nodes(const node_t& root);

// Writes the section of the parameter file.
void write(const node_t& root, int context_size, BinaryOutput& out);

}  // namespace orvelle::plain
