// SPDX-License-Identifier: MIT
// From the candidates of the words of a text to the tag of each: the most probable sequence of tags, or the
// posterior probability of each candidate.
//
//   words            the        walk       ends
//   candidates     DT 1.0     NN 2.1     NNS 0.4
//                             VB 0.7     VBZ 3.0
//
// A path takes one candidate a word; its probability is the product, over the words, of the candidate's score
// and of the tag's probability given the tags before it. All is done with products that are scaled at each
// word, since only the ratios count.
#pragma once

#include <orvelle/tagger.h>

#include <cstdint>
#include <span>
#include <vector>

#include "tagger/context_model.h"

namespace orvelle {

// The tags before a text: those that are known, the nearest last, and one that stands for all before them.
struct preceding_t {
  std::span<const int32_t> known;
  int32_t others;

  int32_t tag_before(size_t n) const { return n <= known.size() ? known[known.size() - n] : others; }
};

class Decoder {
 public:
  // Up to so many preceding tags all is done in flat arrays; beyond them the decoder follows the `beam` best histories at
  // each word.
  static constexpr int Max_Exact_Order = 2;

  Decoder(ContextModel& context, size_t beam) : context_(context), beam_(beam) {}

  // Index of the chosen candidate for each word: the most probable path. Of paths with the same probability it is always
  // the same one.
  void best_path(std::span<const candidates_t> words, const preceding_t& preceding, std::vector<int>& chosen);

  // For each word, the posterior probability of each of its candidates, appended in order; they sum to 1 for
  // each word.
  void posteriors(std::span<const candidates_t> words, const preceding_t& preceding,
                  std::vector<double>& result);

 private:
  // A history: the last order() tags, and how it came about. The tags are its own and those of the states before it, one
  // behind the other: all that lead to it agree in them.
  struct state_t {
    int candidate;  // of the word
    int32_t tag;
    size_t before;   // a state of the word before it
    double best;     // probability of the best path to here
    double forward;  // sum of the probabilities of all paths to here
    double backward;
    size_t first_edge;  // its edges, one for each state before it that leads here, lie in a row
    size_t edges;
  };
  struct edge_t {
    size_t from;  // state
    double probability;
  };

  void best_path_of_pairs(std::span<const candidates_t> words, const preceding_t& preceding,
                          std::vector<int>& chosen);
  void add_word(candidates_t before, candidates_t last, candidates_t now);
  void posteriors_of_pairs(std::span<const candidates_t> words, const preceding_t& preceding,
                           std::vector<double>& result);
  // Forward to a word; `before` and `last` are the numbers of candidates of those before it, whose pairs begin at `first`.
  // Returns where its own begin.
  size_t step_forward(size_t before, size_t last, candidates_t now, size_t first);
  void run_backward_of_pairs(std::span<const candidates_t> words);
  size_t width_before(std::span<const candidates_t> words, size_t i) const;
  // Finds the leaves of the pairs of two words, and asks the memory for what they say of the next one.
  void find_leaves(candidates_t before, candidates_t last, candidates_t now);
  void make_lattice(std::span<const candidates_t> words, const preceding_t& preceding);
  void extend(candidates_t candidates, size_t first, size_t end);
  int compare(size_t a, size_t b) const;
  const context_leaf_t& leaf_of(size_t state);
  void prune(size_t first);
  void run_backward();

  ContextModel& context_;
  size_t beam_;

  // The pairs of the candidates of two neighbouring words; with one preceding tag the first of them does not matter, and
  // stands for all.
  std::vector<double> forward_, backward_;  // word by word, by candidate of the word before, then of the word
  // From each pair to each candidate of the next word, times the score of that; so many of them, and room for more.
  std::vector<double> transitions_;
  size_t edges_of_pairs_ = 0;
  std::vector<const context_leaf_t*> pair_leaves_, next_pair_leaves_;
  std::vector<double> score_, next_score_;  // by candidate of the word, then of the word before
  std::vector<uint16_t> back_;              // for each pair of each word the candidate two words before
  std::vector<size_t> back_starts_;         // by word

  // The lattice.
  std::vector<state_t> states_;
  preceding_t preceding_{};       // what stands before the first state
  std::vector<int32_t> history_;  // tags before a word, the nearest first, as far as they were asked for
  std::vector<edge_t> edges_;
  std::vector<size_t> columns_;                // the first state of each word, and the end
  std::vector<size_t> members_;                // states before a word, those that meet side by side
  std::vector<const context_leaf_t*> leaves_;  // of the members
};

}  // namespace orvelle
