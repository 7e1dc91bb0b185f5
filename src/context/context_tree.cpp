// SPDX-License-Identifier: MIT
#include "context/context_tree.h"

#include <algorithm>
#include <utility>

namespace orvelle {

// One loop whatever the depth: a chain of no children is as long as the training found tags to ask for.
const context_leaf_t& context_leaf(const context_tree_t& tree, const int32_t* preceding) {
  return context_leaf_of(tree, [&](int32_t n) { return preceding[tree.Context_Size - n]; });
}

double tag_probability(const context_leaf_t& leaf, int32_t tag) {
  // A leaf of a tree that was trained with smoothing lists every tag, so the tag stands at its own number.
  if (tag >= 0 && tag < leaf.n && leaf.tag[tag] == tag) return leaf.prob[tag];
  const int32_t* const end = leaf.tag + leaf.n;
  const int32_t* const place = std::lower_bound(leaf.tag, end, tag);
  return place != end && *place == tag ? leaf.prob[place - leaf.tag] : 0.0;
}

namespace {

constexpr int32_t Not_Known_Yet = -1;

}  // namespace

void ContextTreeBuilder::inner_node(int32_t context_pos, int32_t tag) {
  without_no_.push_back(static_cast<int32_t>(tree_.nodes.size()));
  tree_.nodes.push_back({context_pos, tag, Not_Known_Yet});
}

ContextTreeBuilder::entries_t ContextTreeBuilder::leaf(int32_t entries, uint32_t freq) {
  // Doubles for as many probabilities and half as many tag numbers.
  double* const prob =
      tree_.entries.take(static_cast<size_t>(entries) + static_cast<size_t>(entries + 1) / 2);
  auto* const tag = reinterpret_cast<int32_t*>(prob + entries);
  tree_.nodes.push_back({0, static_cast<int32_t>(tree_.leaves.size()), 0});
  tree_.leaves.push_back({tag, prob, entries, freq});
  if (without_no_.empty()) {
    is_complete_ = true;
  } else {
    tree_.nodes[static_cast<size_t>(without_no_.back())].no = static_cast<int32_t>(tree_.nodes.size());
    without_no_.pop_back();
  }
  return {tag, prob};
}

}  // namespace orvelle
