// SPDX-License-Identifier: MIT
// The build-time affix tree. A node stands for all word forms that begin (prefix tree) or end (suffix tree) with the
// bytes on its path, and holds the summed probabilities of their open-class tags:
//
//   root          NN 310.5  VVG 207.2  JJ 98 ...
//     'g'         VVG 201.0  NN 55.5                  suffix tree, "-g"
//       'n'       VVG 200.5  NN 41                    "-ng"
#pragma once

#include <cstddef>
#include <cstdint>
#include <memory>
#include <vector>

#include "lexicon/lexicon.h"

namespace orvelle {

struct tagfreq_t {
  int tag;
  double freq;  // sum of the tag's probabilities over the node's word forms
};

struct node_1 {
  int16_t symbol = 0;           // as in ANODE
  double freq = 0.0;            // sum of the cells
  float info = 0.0f;            // entropy of the cells in bits
  std::vector<tagfreq_t> tags;  // in the order in which they first reached the node
  // In the order in which they were made; a default child first.
  std::vector<std::unique_ptr<node_1>> children;
};

// The word forms that shape the trees: those of at least 6 bytes with an open-class tag, in lexicon order.
//
//   words   prefix      suffix        pairs (tag, prob)
//   0       "walki.."   "gnikl.."     first_pair[0] .. first_pair[1] - 1
struct affix_words_t {
  std::vector<uint64_t> prefix;      // first five bytes, the first one lowest
  std::vector<uint64_t> suffix;      // last five bytes, the last one lowest
  std::vector<uint32_t> first_pair;  // one more than words
  std::vector<tagfreq_t> pairs;
};

// `Open_Class` is 1 for an open-class tag.
affix_words_t collect_affix_words(const Lexicon& lexicon, const std::vector<char>& Open_Class);

// Grows the tree of one direction (`affixes` is words.prefix or words.suffix) and prunes it with Cut_Off_Gain.
std::unique_ptr<node_1> grow_pruned_tree(const affix_words_t& words, const std::vector<uint64_t>& affixes,
                                         int number_of_tags, double Cut_Off_Gain);

// Brings the children of every node into falling order of frequency, the default child last, and thins and orders
// the tag lists of all nodes but the root.
void sort_tree(node_1& node);

// Drops the tags whose frequency is at most a hundredth of the largest, and brings the others into falling order.
void thin_and_order(std::vector<tagfreq_t>& tags);

// Number of nodes of the tree below and with `node`.
size_t tree_size(const node_1& node);

}  // namespace orvelle
