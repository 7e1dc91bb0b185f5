// SPDX-License-Identifier: MIT
// The choice. A candidate's approximate score (chain_scores) has an error bound; only candidates that the bound leaves in
// doubt are evaluated with the exact formulas, in the order in which ties are broken. On a tagset of 2,109 that happens
// to no candidate at the default settings.
//
// Cost of a node: its cells at all open positions. Cost of a split: its n-grams times the open positions.
#include "training/chain_search.h"

#include <algorithm>
#include <cmath>
#include <limits>
#include <tuple>
#include <utility>

#include "training/leave_one_out.h"

namespace orvelle {

bool ChainSearch::find_split(split_t& split) {
  if (freq_ < 2) return false;
  if (exact_only_) return find_exactly(split) && exact_gain_suffices(split);
  const double bound = error_bound();
  // Both sides' entropies are at least 0, so the gain cannot be larger than that of a perfect test.
  const double undivided = at_start_ ? freq_ * start_entropy_ : undivided_score();
  if (ld(freq_) * (undivided + 3.0 * bound) / freq_ < settings_.Min_Info_Gain) return false;
  if (!score_candidates(bound)) return find_exactly(split) && exact_gain_suffices(split);
  if (candidates_.empty()) return false;
  double best = candidates_[0].score;
  for (const candidate_t& c : candidates_) best = std::min(best, c.score);
  const gain_t gain = judge_gain(undivided, best, bound);
  if (gain == Too_Small || !choose(split, bound, best)) return false;
  return gain == Sufficient || exact_gain_suffices(split);
}

// What the approximate scores tell about the gain of the best test.
ChainSearch::gain_t ChainSearch::judge_gain(double undivided, double best, double bound) const {
  const double gain = ld(freq_) * (undivided - best) / freq_;
  const double doubt = ld(freq_) * 4.0 * bound / freq_;
  if (!(std::fabs(gain - settings_.Min_Info_Gain) > doubt)) return In_Doubt;
  return gain > settings_.Min_Info_Gain ? Sufficient : Too_Small;
}

// Whether a test that divides the node is the best; if so, which one.
bool ChainSearch::choose(split_t& split, double bound, double best_score) {
  size_t table;
  int tag;
  const bool undivided_competes =
      undivided_score() <= best_score + 2.0 * bound && first_undivided(table, tag);
  if (candidates_.size() > 1) drop_repeated_candidates();
  if (candidates_.size() > 1 || undivided_competes) return choose_exactly(split, undivided_competes);
  const candidate_t& only = candidates_.front();
  split = {tables_[only.table].position, tables_[only.table].rows[only.row].tag, only.table, only.row};
  return true;
}

// Tags in a cycle have as many runs as there are different counts, and all tests of a node tie.
void ChainSearch::find_runs() {
  run_of_k_.resize(count_.size());
  uint32_t run = 0;
  for (uint32_t k = 0; k < count_.size(); ++k) {
    if (count_[k] == 0) continue;
    if (count_[k] != count_[run] || q_[k] != q_[run]) run = k;
    run_of_k_[k] = run;
  }
}

// The next live cell of a candidate from cell i on, as far as the exact score depends on it: if all occurrences of its k
// go, any other k of the run might go instead, and the sums would have the same terms in the same order.
ChainSearch::cell_t ChainSearch::next_term(const candidate_t& c, uint32_t& i) const {
  const table_t& table = tables_[c.table];
  const uint32_t end = table.rows[c.row].end_cell;
  while (i < end && table.cells[i].count == 0) ++i;
  if (i == end) return {0, 0};
  const cell_t cell = table.cells[i++];
  return {cell.count == count_[cell.k] ? run_of_k_[cell.k] : cell.k, cell.count};
}

bool ChainSearch::same_terms(const candidate_t& a, const candidate_t& b) const {
  uint32_t i = first_cell(a), j = first_cell(b);
  for (;;) {
    const cell_t x = next_term(a, i), y = next_term(b, j);
    if (x.k != y.k || x.count != y.count) return false;
    if (x.count == 0) return true;
  }
}

uint64_t ChainSearch::hash_of_terms(const candidate_t& c) const {
  uint64_t hash = 0;
  uint32_t i = first_cell(c);
  for (cell_t x = next_term(c, i); x.count != 0; x = next_term(c, i))
    hash = ((hash ^ x.k) * 0x9E3779B97F4A7C15 ^ hash >> 32) + x.count;
  return hash;
}

// Candidates with the same terms have the same score to the last bit, so that the earliest of them stands for all.
void ChainSearch::drop_repeated_candidates() {
  struct place_t {
    double score;
    uint64_t hash;
    size_t i;
  };
  find_runs();
  std::vector<place_t> order;
  for (size_t i = 0; i < candidates_.size(); ++i)
    order.push_back({candidates_[i].score, hash_of_terms(candidates_[i]), i});
  std::sort(order.begin(), order.end(), [](const place_t& a, const place_t& b) {
    return std::tie(a.score, a.hash, a.i) < std::tie(b.score, b.hash, b.i);
  });
  std::vector<char> is_repeated(order.size(), 0);
  size_t last = order[0].i;
  for (size_t n = 1; n < order.size(); ++n) {
    const size_t i = order[n].i;
    if (order[n].hash == order[n - 1].hash && same_terms(candidates_[i], candidates_[last]))
      is_repeated[i] = 1;
    else
      last = i;
  }
  size_t kept = 0;
  for (size_t i = 0; i < candidates_.size(); ++i)
    if (!is_repeated[i]) candidates_[kept++] = candidates_[i];
  candidates_.resize(kept);
}

// The first test, in the order in which ties are broken, that leaves one side empty: a tag that does not occur at
// its position, or one that always does.
bool ChainSearch::first_undivided(size_t& table, int& tag) const {
  for (table = 0; table < open_tables_; ++table) {
    const table_t& t = tables_[table];
    tag = 0;
    for (const row_t& row : t.rows) {
      if (row.n == 0) continue;
      if (row.tag != tag || row.n == freq_) break;
      ++tag;
    }
    if (tag < settings_.Number_of_Tags) return true;
  }
  return false;
}

// The candidates' exact scores, compared in order; a later one must be strictly smaller.
bool ChainSearch::choose_exactly(split_t& split, bool undivided_competes) {
  size_t undivided_table = open_tables_;
  int undivided_tag = 0;
  double undivided = 0.0;
  if (undivided_competes) {
    first_undivided(undivided_table, undivided_tag);
    undivided = freq_ * exact_entropy();
  }
  bool any = false, divides = false;
  double best = 0.0;
  const auto try_undivided = [&] {
    if (!any || best > undivided) best = undivided, divides = false;
    any = true;
    undivided_table = open_tables_;
  };
  for (const candidate_t& c : candidates_) {
    const table_t& table = tables_[c.table];
    const row_t& row = table.rows[c.row];
    if (undivided_table < c.table || (undivided_table == c.table && undivided_tag < row.tag)) try_undivided();
    const double score = evaluate(table, row).score;
    if (any && !(best > score)) continue;
    any = divides = true;
    best = score;
    split = {table.position, row.tag, c.table, c.row};
  }
  if (undivided_table < open_tables_) try_undivided();
  return divides;
}

// Every candidate, exactly: for weights that the approximation does not cover.
bool ChainSearch::find_exactly(split_t& split) {
  if (open_tables_ == 0) return false;
  candidates_.clear();
  // With no prior, an occurrence that is alone with its tag has an infinite or undefined entropy on whichever side it
  // is, so every score is infinite or undefined and the very first candidate stays.
  const bool first_stays =
      settings_.Smoothing_Weight == 0.0 && std::count(count_.begin(), count_.end(), 1u) > 0;
  size_t table;
  int tag;
  const bool undivided_competes = first_undivided(table, tag);
  if (first_stays && undivided_competes && table == 0 && tag == 0) return false;
  for (size_t t = 0; t < open_tables_; ++t)
    for (size_t r = 0; r < tables_[t].rows.size(); ++r)
      if (const row_t& row = tables_[t].rows[r]; row.n != 0 && row.n != freq_) {
        candidates_.push_back({t, r, 0.0});
        if (first_stays) return choose_exactly(split, false);
      }
  if (!candidates_.empty()) drop_repeated_candidates();
  return choose_exactly(split, undivided_competes);
}

bool ChainSearch::exact_gain_suffices(const split_t& split) const {
  const row_t& row = tables_[split.table].rows[split.row];
  const evaluation_t best = evaluate(tables_[split.table], row);
  const double n = freq_;
  const double gain =
      ld(n) * ((node_entropy() - row.n * best.entropy_yes / n) - (freq_ - row.n) * best.entropy_no / n);
  return !(settings_.Min_Info_Gain > gain);
}

ChainSearch::evaluation_t ChainSearch::evaluate(const table_t& table, const row_t& row) const {
  int tags_yes = 0, tags_no = tags_;
  for (uint32_t c = row.first_cell; c < row.end_cell; ++c) {
    const cell_t& cell = table.cells[c];
    tags_yes += cell.count > 0;
    tags_no -= cell.count > 0 && cell.count == count_[cell.k];
  }
  const uint32_t n_no = freq_ - row.n;
  LeaveOneOut yes(row.n, prior_weight(tags_yes, settings_.Smoothing_Weight));
  LeaveOneOut no(n_no, prior_weight(tags_no, settings_.Smoothing_Weight));
  uint32_t c = row.first_cell;
  for (uint32_t k = 0; k < count_.size(); ++k) {
    uint32_t on_yes = 0;
    if (c < row.end_cell && table.cells[c].k == k) on_yes = table.cells[c++].count;
    yes.add(q_[k], on_yes);
    no.add(q_[k], count_[k] - on_yes);
  }
  return {row.n * yes.entropy() + n_no * no.entropy(), yes.entropy(), no.entropy()};
}

double ChainSearch::exact_entropy() const {
  LeaveOneOut side(freq_, prior_weight(tags_, settings_.Smoothing_Weight));
  for (size_t k = 0; k < count_.size(); ++k) side.add(q_[k], count_[k]);
  return side.entropy();
}

// ---- the outside

SplitSearch::SplitSearch(const NGramTable& ngrams, const split_settings_t& settings)
    : chain_(std::make_unique<ChainSearch>(ngrams, settings)) {}
SplitSearch::~SplitSearch() = default;

void SplitSearch::start_chain(chain_start_t start) { chain_->start_chain(std::move(start)); }
bool SplitSearch::find_split(split_t& split) { return chain_->find_split(split); }
chain_start_t SplitSearch::split_off_yes(const split_t& split) { return chain_->split_off_yes(split); }
void SplitSearch::open_position(int position) { chain_->open_position(position); }
uint32_t SplitSearch::freq() const { return chain_->freq(); }
std::vector<tag_count_t> SplitSearch::counts() const { return chain_->counts(); }

}  // namespace orvelle
