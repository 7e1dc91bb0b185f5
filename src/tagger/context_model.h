// SPDX-License-Identifier: MIT
// The context tree made ready for decoding: the distribution that goes with the tags before a word, found
// once for a context and remembered.
//
//   tags before the word      DT  JJ          slot   first  second   leaf
//   mixed to a slot                           4711    DT     JJ       17      -> probabilities of DT, JJ, NN,
//   ...
//
// A chain of tests in the tree is as long as there are tags to ask for, so walking it costs more than all
// else that decoding does for a token. The memo has a fixed size; a context that falls on a taken slot takes
// it over. One preceding tag is its own slot. Contexts of many tags are not remembered.
#pragma once

#include <orvelle/tagger.h>

#include <array>
#include <cstdint>
#include <vector>

#include "context/context_tree.h"

namespace orvelle {

class ContextModel {
 public:
  // `tag_factors` are A_Priori_Tag_Prob_Fac: they give the floor under the probabilities. The tree must outlive the
  // model.
  ContextModel(const context_tree_t& tree, const std::vector<double>& tag_factors);

  static constexpr int Most_Remembered = 8;  // tags of a context

  // How many preceding tags the tests of the tree really look at; at most its Context_Size. The order of the
  // decoding.
  int order() const { return order_; }

  // The leaf for the `order` tags before a word, the immediately preceding one last. Requires: order() <= Most_Remembered.
  // Valid until: the tree is released.
  const context_leaf_t& leaf(const int32_t* preceding) {
    int32_t* const slot = &slots_[slot_of(preceding) * static_cast<size_t>(order_ + 1)];
    int32_t different = slot[0] < 0;
    for (int i = 0; i < order_; ++i) different |= slot[i + 1] ^ preceding[i];
    if (different) fill(slot, preceding);
    return tree_.leaves[slot[0]];
  }

  // The same for any order; `tag_before(n)` gives the tag of the word n places before.
  template <class TagBefore>
  const context_leaf_t& leaf_of(TagBefore tag_before) {
    if (order_ > Most_Remembered) return context_leaf_of(tree_, tag_before);
    std::array<int32_t, Most_Remembered> preceding;
    for (int n = order_; n > 0; --n) preceding[static_cast<size_t>(order_ - n)] = tag_before(n);
    return leaf(preceding.data());
  }

  // Asks the memory for what probability will read.
  void prefetch(const context_leaf_t& leaf, int32_t tag) const {
    if (leaf.n == number_of_tags_) __builtin_prefetch(&leaf.prob[tag]);
  }

  // The probability of a tag at a leaf. A tree trained without smoothing leaves tags out, and a text would have no path
  // through the first context that the training has not seen: such a leaf is mixed with the tags' overall distribution,
  // which counts for Sparse_Leaf_Weight n-grams. Around all that lie a floor and a ceiling, for values that no path
  // could bear: a file may hold any.
  double probability(const context_leaf_t& leaf, int32_t tag) const {
    if (leaf.n == number_of_tags_) return bounded(leaf.prob[tag], tag);
    return bounded((leaf.freq * tag_probability(leaf, tag) + Sparse_Leaf_Weight * overall_[tag]) /
                       (leaf.freq + Sparse_Leaf_Weight),
                   tag);
  }

  // For each candidate the probability times its score.
  void weigh(const context_leaf_t& leaf, candidates_t candidates, double* result) const {
    if (leaf.n == number_of_tags_)
      for (const candidate_t& c : candidates) *result++ = bounded(leaf.prob[c.tag], c.tag) * c.score;
    else
      for (const candidate_t& c : candidates) *result++ = probability(leaf, c.tag) * c.score;
  }

 private:
  static constexpr double Sparse_Leaf_Weight = 1.0;
  static constexpr double Floor_Share = 1e-6;
  static constexpr size_t Memo_Size = 1 << 18;  // 32-bit values, 1 MB: what the second-level cache holds

  double bounded(double p, int32_t tag) const {
    const double floor = floors_[tag];
    return p > floor ? (p < 1.0 ? p : 1.0) : floor;
  }

  size_t slot_of(const int32_t* preceding) const {
    if (order_ == 1) return static_cast<size_t>(preceding[0]);
    uint64_t hash = 0;
    for (int i = 0; i < order_; ++i) hash = (hash ^ static_cast<uint32_t>(preceding[i])) * 0x9E3779B97F4A7C15;
    return hash >> shift_;
  }

  void fill(int32_t* slot, const int32_t* preceding);

  const context_tree_t& tree_;
  int number_of_tags_;
  int order_ = 0;
  int shift_ = 63;
  std::vector<double> overall_;  // share of each tag in the corpus; above 0
  std::vector<double> floors_;   // Floor_Share of it
  std::vector<int32_t> slots_;   // of order_ + 1 values: the leaf, -1 for an empty slot, and the tags
};

}  // namespace orvelle
