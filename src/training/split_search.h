// SPDX-License-Identifier: MIT
// The search for the best test at a node of the context tree.
//
// The no children of a node share its prior, so the tree is grown in chains: a chain is a node reached by a yes answer
// (or the root), its no child, the no child of that one, and so on. A SplitSearch holds one chain at a time.
#pragma once

#include <cstdint>
#include <memory>
#include <vector>

#include "training/ngram_table.h"

namespace orvelle {

// A node reached by a yes answer, or the root: where a chain starts.
struct chain_start_t {
  std::vector<uint32_t> ngrams;     // numbers in the n-gram table, by ascending predicted tag
  std::vector<tag_count_t> counts;  // occurrences a predicted tag, ascending, without zeros
  std::vector<double> q;            // parallel to counts: the node's own probability, the chain's prior
  uint32_t freq = 0;                // sum of the counts
  double entropy = 0.0;             // as computed when the node was made
  std::vector<int> positions;       // that may be tested, from near to far
};

// A test that divides the current node well enough.
struct split_t {
  int position;
  int tag;
  size_t table, row;  // where it stands inside the search
};

// What the choice depends on beside the counts.
struct split_settings_t {
  double Smoothing_Weight;
  double Min_Info_Gain;
  int Number_of_Tags;
};

class ChainSearch;

class SplitSearch {
 public:
  // The n-grams must outlive the search.
  SplitSearch(const NGramTable& ngrams, const split_settings_t& settings);
  ~SplitSearch();

  // Makes the chain that starts at `start` the current one, its start the current node.
  void start_chain(chain_start_t start);

  // Finds the best test of the current node: the least cross-entropy of both sides together; among equals the nearest
  // position, then the lowest tag. False if that test does not divide the node or its gain is below Min_Info_Gain.
  bool find_split(split_t& split);

  // Takes the yes side off and makes the no side the current node. The returned child has no positions yet.
  chain_start_t split_off_yes(const split_t& split);

  // Opens a farther position for the current node and those behind it.
  void open_position(int position);

  uint32_t freq() const;                    // occurrences of the current node
  std::vector<tag_count_t> counts() const;  // the same, by predicted tag

 private:
  std::unique_ptr<ChainSearch> chain_;
};

}  // namespace orvelle
