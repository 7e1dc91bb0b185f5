// SPDX-License-Identifier: MIT
// The inside of SplitSearch: the tables of the current node of a chain and the choice between their rows.
//
//   position 1      NN   VB   JJ      n     predicted tags across, tag at the position down
//        DT         80    .   15     95
//        IN         12    3    1     16     a row is a candidate test, a number is a cell
//
// There is a table for each position that may be tested; the row of each chosen test is taken off all tables, instead of
// counting every node afresh. The tables live in chain_tables.cpp, the scores of their rows in chain_scores.cpp, the
// choice between them in chain_search.cpp.
#pragma once

#include <array>
#include <cstdint>
#include <memory>
#include <vector>

#include "training/split_search.h"

namespace orvelle {

class ChainSearch {
 public:
  ChainSearch(const NGramTable& ngrams, const split_settings_t& settings);

  // As those of SplitSearch.
  void start_chain(chain_start_t start);
  bool find_split(split_t& split);
  chain_start_t split_off_yes(const split_t& split);
  void open_position(int position);
  uint32_t freq() const { return freq_; }
  std::vector<tag_count_t> counts() const;

 protected:  // for a check of the choices
  // What the tables are made of, together, since they visit the n-grams row after row, all over the chain: a training
  // with four tags of context takes 3 % less.
  struct chain_ngram_t {
    uint32_t number;  // in the n-gram table
    uint32_t k;
    uint32_t count;
  };
  struct cell_t {
    uint32_t k;      // predicted tag, as a number within the chain
    uint32_t count;  // occurrences left; 0 once all are taken off
  };
  struct row_t {
    int tag;     // at the position
    uint32_t n;  // occurrences left; 0: no candidate any more
    uint32_t first_cell, end_cell;
    uint32_t first_ngram, end_ngram;  // range of table_t::order
    double yes_score;                 // occurrences times entropy of the yes side
    bool changed;                     // yes_score is out of date
    int exhausted;                    // k of which it holds all occurrences, when it was last scored
  };
  struct table_t {
    int position;
    std::vector<row_t> rows;    // by ascending tag
    std::vector<cell_t> cells;  // row after row, by ascending k
    std::vector<uint32_t> row_of_cell;
    std::vector<uint32_t> cell_of_ngram;  // indexed by place in the chain
    std::vector<uint32_t> order;          // places in the chain, row after row
  };
  // What the no side of a row is computed from, for all k of the current node and one weight w.
  struct weights_t {
    int tags;  // w = Smoothing_Weight * tags
    double w;
    std::vector<double> share;  // b(count(k), w)
    double sum;                 // of the shares
    size_t updates;             // single changes of sum since it was last summed afresh
    uint32_t summed_freq;       // freq_ at that time
    int last_used;              // step of the chain
    // Share of k that goes with r occurrences of it, share(k) - b(count(k) - r, w), at k * Small_Counts + r; NaN
    // until it is asked for. Most cells hold such a small count, so that all rows of a table share a few logarithms:
    // on 2,109 tags without a threshold the scores take a third of the time.
    std::unique_ptr<double[]> gone;
    // side_log(w, freq_ - n) at n, for the small rows that are most of a table; NaN until it is asked for.
    std::array<double, 16> side_without;
  };
  static constexpr uint32_t Small_Counts = 4;  // r is less
  struct candidate_t {
    size_t table, row;
    double score;
  };
  enum gain_t { Too_Small, In_Doubt, Sufficient };
  struct evaluation_t {
    double score, entropy_yes, entropy_no;
  };

  void compact();
  void build_table(table_t& table, int position);
  void collect_rows(table_t& table);
  void collect_cells(table_t& table);
  weights_t& weights_of(int tags);
  void sum_afresh(weights_t& weights);
  void forget_gone(weights_t& weights, size_t k) const;
  void refresh_weights(const std::vector<uint32_t>& changed);
  void drop_unused_weights();
  double share(double w, size_t k, uint32_t n) const;
  double side_log(double w, uint32_t n) const;
  double side_log_without(weights_t& weights, uint32_t n) const;
  double yes_score(const table_t& table, row_t& row);
  double gone_with(const table_t& table, row_t& row, weights_t& weights);
  double no_score(const table_t& table, row_t& row);
  double score_row(const table_t& table, row_t& row);
  double undivided_score();
  double error_bound() const;
  double most_gain() const;
  bool score_candidates(double bound);
  void drop_repeated_candidates();
  void find_runs();
  uint32_t first_cell(const candidate_t& c) const { return tables_[c.table].rows[c.row].first_cell; }
  cell_t next_term(const candidate_t& c, uint32_t& i) const;
  bool same_terms(const candidate_t& a, const candidate_t& b) const;
  uint64_t hash_of_terms(const candidate_t& c) const;
  bool choose_exactly(split_t& split, bool undivided_competes);
  gain_t judge_gain(double undivided, double best, double bound) const;
  bool choose(split_t& split, double bound, double best_score);
  bool find_exactly(split_t& split);
  bool exact_gain_suffices(const split_t& split) const;
  evaluation_t evaluate(const table_t& table, const row_t& row) const;
  double exact_entropy() const;
  bool first_undivided(size_t& table, int& tag) const;
  void take_off(table_t& table, uint32_t place, uint32_t count);
  double node_entropy() const { return at_start_ ? start_entropy_ : exact_entropy(); }

  const NGramTable& ngrams_;
  const split_settings_t settings_;
  std::vector<int> row_of_tag_;  // scratch of collect_rows, indexed by tag; -1 between calls

  // The chain.
  std::vector<chain_ngram_t> chain_;  // its n-grams, by ascending predicted tag
  std::vector<char> taken_;           // parallel: taken off by a yes answer
  size_t left_ = 0;                   // n-grams not taken off
  std::vector<int> tag_of_k_;
  std::vector<double> q_;
  double start_entropy_ = 0.0;
  double log_limit_ = 0.0;   // no logarithm of the chain is larger in size
  bool exact_only_ = false;  // approximate scores cannot be trusted

  // The current node.
  std::vector<uint32_t> count_;  // indexed by k
  uint32_t freq_ = 0;
  int tags_ = 0;  // k with a count
  bool at_start_ = true;
  int step_ = 0;                 // tests chosen in this chain so far
  std::vector<table_t> tables_;  // the first open_tables_ are in use, from near to far positions
  size_t open_tables_ = 0;
  std::vector<weights_t> weights_;
  std::vector<int> weights_of_tags_;     // indexed by a number of tags: place in weights_, or -1
  std::vector<candidate_t> candidates_;  // scratch of find_split: those near the best
  // Scratch of drop_repeated_candidates, indexed by k: the first of its run, which is of neighbours among the k with a count
  // that have the same count and prior.
  std::vector<uint32_t> run_of_k_;
};

}  // namespace orvelle
