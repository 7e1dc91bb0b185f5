// SPDX-License-Identifier: MIT
#include "tagger/context_model.h"

#include <algorithm>
#include <bit>
#include <cmath>

namespace orvelle {

ContextModel::ContextModel(const context_tree_t& tree, const std::vector<double>& tag_factors)
    : tree_(tree), number_of_tags_(static_cast<int>(tag_factors.size())) {
  for (const context_node_t& node : tree.nodes)
    if (node.no != 0) order_ = std::max(order_, tree.Context_Size - node.context_pos);
  const auto width = static_cast<size_t>(std::min(order_, Most_Remembered)) + 1;
  const size_t slots = std::bit_floor(Memo_Size / width);
  shift_ = 64 - std::countr_zero(slots);
  slots_.assign(std::max(slots, order_ == 1 ? tag_factors.size() : 0) * width, -1);
  for (const double factor : tag_factors) {
    const double share = 1.0 / factor;
    overall_.push_back(std::isfinite(share) && share > 0.0 ? share : 1.0);
    floors_.push_back(Floor_Share * overall_.back());
  }
}

void ContextModel::fill(int32_t* slot, const int32_t* preceding) {
  const context_leaf_t& leaf = context_leaf_of(tree_, [&](int32_t n) { return preceding[order_ - n]; });
  slot[0] = static_cast<int32_t>(&leaf - tree_.leaves.data());
  std::copy(preceding, preceding + order_, slot + 1);
}

}  // namespace orvelle
