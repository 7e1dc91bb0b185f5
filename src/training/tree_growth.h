// SPDX-License-Identifier: MIT
// The growing of the tree, for a search of the best tests.
#pragma once

#include <utility>
#include <vector>

#include "training/split_search.h"
#include "training/tree_func.h"

namespace orvelle {

// The root's prior is uniform, and its entropy is that of its own smoothed probabilities, no occurrence left out. Sets
// tree.root_prob.
chain_start_t make_root(const NGramTable& ngrams, int number_of_tags, GrownTree& tree);

// Adds a node to the tree.
node_t* new_node(GrownTree& tree, const Progress& progress);

// Grows chains: a node that a yes answer leads to (or the root), its no child, the no child of that one, and so on. No
// children share their chain's prior; only a yes answer brings a new one. `Search` is SplitSearch, or a test's own.
template <class Search>
class ContextTreeGrower {
 public:
  ContextTreeGrower(Search& search, GrownTree& tree, const Progress& progress)
      : search_(search), tree_(tree), progress_(progress) {}

  void grow(chain_start_t root) {
    node_t* const node = new_node(tree_, progress_);
    root.positions = {tree_.Context_Size - 1};
    waiting_.push_back({node, std::move(root), tree_.Context_Size - 1});
    while (!waiting_.empty()) {
      chain_t chain = std::move(waiting_.back());
      waiting_.pop_back();
      make_subtree(std::move(chain));
    }
  }

 private:
  // A chain that waits to be grown.
  struct chain_t {
    node_t* node;
    chain_start_t start;
    int lowest;  // the farthest position that may be tested
  };

  // Grows one chain. Its yes children start chains of their own, which wait: the order of growth does not show in the
  // tree, and a stack of the program's would be as deep as the context is long.
  void make_subtree(chain_t chain) {
    node_t* node = chain.node;
    std::vector<int> positions = chain.start.positions;
    int lowest = chain.lowest;
    node->freq = chain.start.freq;
    node->counts = chain.start.counts;
    search_.start_chain(std::move(chain.start));
    for (split_t split; search_.find_split(split);) {
      node->context_pos = split.position;
      node->tag = split.tag;
      chain_t yes{new_node(tree_, progress_), search_.split_off_yes(split), lowest};
      if (split.position == lowest && lowest > 0) {
        positions.push_back(--lowest);
        search_.open_position(lowest);
        yes.lowest = lowest;
      }
      for (const int position : positions)
        if (position != split.position) yes.start.positions.push_back(position);
      node->yes = yes.node;
      node = node->no = new_node(tree_, progress_);
      node->freq = search_.freq();
      waiting_.push_back(std::move(yes));
    }
    if (node != chain.node) node->counts = search_.counts();
  }

  Search& search_;
  GrownTree& tree_;
  const Progress& progress_;
  std::vector<chain_t> waiting_;
};

}  // namespace orvelle
