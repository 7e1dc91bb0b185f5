// Scores. With w the prior's weight of a side, a side with counts v(k) and their sum n has
//
//   n * entropy = a(n, w) - sum of b(v(k), w)     a(n, w) = n ld(n - 1 + w)     b(f, w) = f ld(q(k) w + f - 1)
//
// A row knows its own cells; what it leaves to the no side is what the node has less the row's cells, so the no side's
// sum is that of the node, kept per weight, corrected at the row's cells alone. A candidate costs as much as its row
// has cells, not as much as the node has tags. These scores are approximate, with an error bound; only candidates that
// the bound leaves in doubt are evaluated with the exact formulas, in the order in which ties are broken. On a tagset
// of 2,109 that happens to no candidate at the default settings.
//
// Cost of a node: its cells at all open positions. Cost of a split: its n-grams times the open positions.
#include "context/split_search.h"

#include <algorithm>
#include <cmath>
#include <limits>
#include <utility>

#include "context/approximate_log.h"
#include "context/leave_one_out.h"
#include "driver/settings.h"
#include "lexicon/tagset.h"

namespace orvelle {

split_check_t* Split_Check = nullptr;

namespace {

constexpr int Weights_Kept = 2;  // steps that a weight's shares are kept up to date without being used
constexpr double Unknown = std::numeric_limits<double>::quiet_NaN();

}  // namespace

SplitSearch::SplitSearch(const NGramTable& ngrams) : ngrams_(ngrams), row_of_tag_(Number_of_Tags, -1) {}

void SplitSearch::start_chain(chain_start_t start) {
  chain_ = std::move(start.ngrams);
  q_ = std::move(start.q);
  freq_ = start.freq;
  tags_ = static_cast<int>(start.counts.size());
  start_entropy_ = start.entropy;
  at_start_ = true;
  step_ = 0;
  taken_.assign(chain_.size(), 0);
  left_ = chain_.size();
  tag_of_k_.resize(start.counts.size());
  count_.resize(start.counts.size());
  k_of_ngram_.resize(chain_.size());
  size_t place = 0;
  for (size_t k = 0; k < start.counts.size(); ++k) {
    tag_of_k_[k] = start.counts[k].tag;
    count_[k] = start.counts[k].count;
    while (place < chain_.size() && ngrams_.tags(chain_[place])[ngrams_.length() - 1] == tag_of_k_[k])
      k_of_ngram_[place++] = static_cast<uint32_t>(k);
  }
  weights_.clear();
  weights_of_tags_.assign(start.counts.size() + 1, -1);

  double least_q = 1.0;
  for (const double q : q_) least_q = std::min(least_q, q);
  const double s = Smoothing_Weight;
  // Outside these limits, which NaN is as well, cancellation or overflow would void the error bound.
  exact_only_ = !(s >= 1e-6 && s <= 1e6 && s * least_q >= 1e-250);
  if (!exact_only_) log_limit_ = std::max(ld(freq_ + s * tags_), -ld(std::min(1.0, s * least_q))) + 2.0;

  open_tables_ = 0;
  if (freq_ > 1)
    for (const int position : start.positions) open_position(position);
}

void SplitSearch::open_position(int position) {
  if (open_tables_ == tables_.size()) tables_.emplace_back();
  build_table(tables_[open_tables_++], position);
}

std::vector<tag_count_t> SplitSearch::counts() const {
  std::vector<tag_count_t> result;
  for (size_t k = 0; k < count_.size(); ++k)
    if (count_[k] > 0) result.push_back({tag_of_k_[k], count_[k]});
  return result;
}

// ---- Tables

// Forgets the n-grams, tags and rows that are taken off, once they are more than those left: the dead cells of the
// tables cost as much as the live ones.
void SplitSearch::compact() {
  std::vector<uint32_t> new_k(count_.size());
  uint32_t tags = 0;
  for (size_t k = 0; k < count_.size(); ++k) {
    if (count_[k] == 0) continue;
    count_[tags] = count_[k];
    q_[tags] = q_[k];
    tag_of_k_[tags] = tag_of_k_[k];
    new_k[k] = tags++;
  }
  count_.resize(tags);
  q_.resize(tags);
  tag_of_k_.resize(tags);
  size_t kept = 0;
  for (size_t i = 0; i < chain_.size(); ++i) {
    if (taken_[i]) continue;
    chain_[kept] = chain_[i];
    k_of_ngram_[kept++] = new_k[k_of_ngram_[i]];
  }
  chain_.resize(kept);
  k_of_ngram_.resize(kept);
  taken_.assign(kept, 0);
  weights_.clear();
  weights_of_tags_.assign(tags + 1, -1);
  for (size_t t = 0; t < open_tables_; ++t) build_table(tables_[t], tables_[t].position);
}

void SplitSearch::build_table(table_t& table, int position) {
  table.position = position;
  collect_rows(table);
  collect_cells(table);
}

// A counting sort of the n-grams by the tag at the position.
void SplitSearch::collect_rows(table_t& table) {
  table.rows.clear();
  const auto tag_at = [&](size_t place) { return ngrams_.tags(chain_[place])[table.position]; };
  std::vector<int> tags;
  std::vector<uint32_t> sizes;
  for (size_t i = 0; i < chain_.size(); ++i) {
    if (taken_[i]) continue;
    int& row = row_of_tag_[tag_at(i)];
    if (row < 0) {
      row = static_cast<int>(tags.size());
      tags.push_back(tag_at(i));
      sizes.push_back(0);
    }
    ++sizes[row];
  }
  std::vector<int> sorted = tags;
  std::sort(sorted.begin(), sorted.end());
  uint32_t next = 0;
  for (const int tag : sorted) {
    const uint32_t size = sizes[row_of_tag_[tag]];
    row_of_tag_[tag] = static_cast<int>(table.rows.size());
    table.rows.push_back({tag, 0, 0, 0, next, next, 0.0, true, 0});
    next += size;
  }
  table.order.resize(next);
  for (size_t i = 0; i < chain_.size(); ++i)
    if (!taken_[i]) table.order[table.rows[row_of_tag_[tag_at(i)]].end_ngram++] = static_cast<uint32_t>(i);
  for (const int tag : tags) row_of_tag_[tag] = -1;
}

// The n-grams of a row come by ascending k, so that equal ones stand together.
void SplitSearch::collect_cells(table_t& table) {
  table.cells.clear();
  table.row_of_cell.clear();
  table.cell_of_ngram.resize(chain_.size());
  for (size_t r = 0; r < table.rows.size(); ++r) {
    row_t& row = table.rows[r];
    row.first_cell = static_cast<uint32_t>(table.cells.size());
    for (uint32_t i = row.first_ngram; i < row.end_ngram; ++i) {
      const uint32_t place = table.order[i];
      if (table.cells.size() == row.first_cell || table.cells.back().k != k_of_ngram_[place]) {
        table.cells.push_back({k_of_ngram_[place], 0});
        table.row_of_cell.push_back(static_cast<uint32_t>(r));
      }
      const uint32_t count = ngrams_.count(chain_[place]);
      table.cells.back().count += count;
      row.n += count;
      table.cell_of_ngram[place] = static_cast<uint32_t>(table.cells.size() - 1);
    }
    row.end_cell = static_cast<uint32_t>(table.cells.size());
  }
}

// ---- Approximate scores

SplitSearch::weights_t& SplitSearch::weights_of(int tags) {
  int& place = weights_of_tags_[tags];
  if (place < 0) {
    place = static_cast<int>(weights_.size());
    weights_t& fresh = weights_.emplace_back();
    fresh.tags = tags;
    fresh.w = prior_weight(tags, Smoothing_Weight);
    fresh.share.resize(count_.size());
    for (size_t k = 0; k < count_.size(); ++k) fresh.share[k] = share(fresh.w, k, count_[k]);
    fresh.gone.resize(count_.size() * Small_Counts);
    for (size_t k = 0; k < count_.size(); ++k) forget_gone(fresh, k);
    sum_afresh(fresh);
  }
  weights_t& weights = weights_[place];
  weights.last_used = step_;
  return weights;
}

void SplitSearch::sum_afresh(weights_t& weights) {
  weights.sum = 0.0;
  weights.updates = 0;
  weights.summed_freq = freq_;
  for (const double share : weights.share) weights.sum += share;
}

void SplitSearch::forget_gone(weights_t& weights, size_t k) const {
  double* gone = weights.gone.data() + k * Small_Counts;
  gone[0] = 0.0;
  std::fill_n(gone + 1, Small_Counts - 1, Unknown);
}

// Brings the weights in use up to date after the counts of `changed` have changed.
void SplitSearch::refresh_weights(const std::vector<uint32_t>& changed) {
  for (weights_t& weights : weights_) {
    for (const uint32_t k : changed) {
      weights.sum -= weights.share[k];
      weights.share[k] = share(weights.w, k, count_[k]);
      weights.sum += weights.share[k];
      forget_gone(weights, k);
    }
    weights.updates += 2 * changed.size();
    // What was rounded while the node was much larger would stay in the sum, beyond the bound of the smaller node.
    if (weights.updates > 4 * count_.size() + 64 || freq_ < weights.summed_freq / 2) sum_afresh(weights);
  }
}

// Drops the weights that no row has had for a while: those are not worth keeping up to date.
void SplitSearch::drop_unused_weights() {
  std::erase_if(weights_, [this](const weights_t& weights) {
    const bool unused = step_ - weights.last_used > Weights_Kept;
    if (unused) weights_of_tags_[weights.tags] = -1;
    return unused;
  });
  for (size_t i = 0; i < weights_.size(); ++i) weights_of_tags_[weights_[i].tags] = static_cast<int>(i);
}

// a(n, w)
double SplitSearch::side_log(double w, uint32_t n) const { return n * approximate_ld((n - 1.0) + w); }

// b(n, w) for k
double SplitSearch::share(double w, size_t k, uint32_t n) const {
  return n > 0 ? n * approximate_ld(q_[k] * w + (n - 1.0)) : 0.0;
}

double SplitSearch::yes_score(const table_t& table, row_t& row) {
  if (!row.changed) return row.yes_score;
  int distinct = 0;
  for (uint32_t c = row.first_cell; c < row.end_cell; ++c) distinct += table.cells[c].count > 0;
  const double w = prior_weight(distinct, Smoothing_Weight);
  double sum = 0.0;
  for (uint32_t c = row.first_cell; c < row.end_cell; ++c)
    sum += share(w, table.cells[c].k, table.cells[c].count);
  row.changed = false;
  return row.yes_score = side_log(w, row.n) - sum;
}

// What the node's sum of shares loses when the row's occurrences go. Counts the row's exhausted k on the way.
double SplitSearch::gone_with(const table_t& table, row_t& row, weights_t& weights) {
  double sum = 0.0;
  int exhausted = 0;
  for (uint32_t c = row.first_cell; c < row.end_cell; ++c) {
    const cell_t cell = table.cells[c];
    const uint32_t all = count_[cell.k];
    exhausted += (cell.count == all) & (all != 0);
    if (cell.count >= Small_Counts) {
      sum += weights.share[cell.k] - share(weights.w, cell.k, all - cell.count);
      continue;
    }
    double& gone = weights.gone[cell.k * Small_Counts + cell.count];
    if (std::isnan(gone)) gone = weights.share[cell.k] - share(weights.w, cell.k, all - cell.count);
    sum += gone;
  }
  row.exhausted = exhausted;
  return sum;
}

// The weight of the no side depends on how many k the row exhausts, which is as before for nearly all rows.
double SplitSearch::no_score(const table_t& table, row_t& row) {
  for (;;) {
    const int expected = std::min(row.exhausted, tags_ - 1);
    weights_t& weights = weights_of(tags_ - expected);
    const double gone = gone_with(table, row, weights);
    if (row.exhausted == expected) return side_log(weights.w, freq_ - row.n) - (weights.sum - gone);
  }
}

double SplitSearch::score_row(const table_t& table, row_t& row) {
  return yes_score(table, row) + no_score(table, row);
}

// The score of every test that leaves one side empty: that of the node as it is.
double SplitSearch::undivided_score() {
  const weights_t& weights = weights_of(tags_);
  return side_log(weights.w, freq_) - weights.sum;
}

// Bound on the difference between an approximate and an exact score. Every sum has at most 2K + U terms (K tags, U
// single changes since the last fresh sum, at most 4K + 64 of them), works on partial sums of at most N * L (L the
// largest logarithm, N at most 2 freq_ since that fresh sum), and each logarithm is off by its own error:
// N L ((6K + 64) u + 2 d). The exact evaluation with the library's logarithm is off from the true value by at most
// N L (K + 16) u. u is 2^-53; the factor 4 is slack, half of it taken by N.
double SplitSearch::error_bound() const {
  const double k = static_cast<double>(count_.size());
  return 4.0 * freq_ * log_limit_ * (2.0 * Approximate_Log_Error + (7.0 * k + 80.0) * 1.2e-16);
}

// Collects the candidates whose score may be the least, in the order in which ties are broken.
bool SplitSearch::score_candidates(double bound) {
  candidates_.clear();
  // Tests that lose to one that divides nothing make no split; there is such a one unless every tag of the tagset
  // occurs at every position.
  size_t table_of_undivided;
  int tag_of_undivided;
  double limit = std::numeric_limits<double>::infinity();
  if (first_undivided(table_of_undivided, tag_of_undivided)) limit = undivided_score() + 2.0 * bound;
  for (size_t t = 0; t < open_tables_; ++t) {
    table_t& table = tables_[t];
    for (size_t r = 0; r < table.rows.size(); ++r) {
      row_t& row = table.rows[r];
      if (row.n == 0 || row.n == freq_) continue;
      const double score = score_row(table, row);
      if (!(score <= limit)) {
        if (!std::isfinite(score)) return false;
        continue;
      }
      limit = std::min(limit, score + 2.0 * bound);
      candidates_.push_back({t, r, score});
    }
  }
  std::erase_if(candidates_, [limit](const candidate_t& c) { return c.score > limit; });
  return true;
}

// ---- Choice

bool SplitSearch::find_split(split_t& split) {
  if (freq_ < 2) return false;
  if (exact_only_) return find_exactly(split) && exact_gain_suffices(split);
  const double bound = error_bound();
  // Both sides' entropies are at least 0, so the gain cannot be larger than that of a perfect test.
  const double undivided = at_start_ ? freq_ * start_entropy_ : undivided_score();
  if (ld(freq_) * (undivided + 3.0 * bound) / freq_ < Min_Info_Gain && Split_Check == nullptr) return false;
  if (!score_candidates(bound)) return find_exactly(split) && exact_gain_suffices(split);
  double best = 0.0;
  const bool found = choose(split, bound, best);
  if (Split_Check != nullptr) check_choice(found, split);
  return found && gain_suffices(split, undivided, best, bound);
}

// Whether a test that divides the node is the best; if so, which one.
bool SplitSearch::choose(split_t& split, double bound, double& best_score) {
  if (candidates_.empty()) return false;
  best_score = candidates_[0].score;
  for (const candidate_t& c : candidates_) best_score = std::min(best_score, c.score);
  size_t table;
  int tag;
  const bool undivided_competes =
      undivided_score() <= best_score + 2.0 * bound && first_undivided(table, tag);
  if (candidates_.size() > 1) drop_twins();
  if (candidates_.size() > 1 || undivided_competes) return choose_exactly(split, undivided_competes);
  const candidate_t& only = candidates_.front();
  split = {tables_[only.table].position, tables_[only.table].rows[only.row].tag, only.table, only.row};
  return true;
}

bool SplitSearch::same_cells(const candidate_t& a, const candidate_t& b) const {
  const auto next = [this](const candidate_t& c, uint32_t& i) {
    const table_t& table = tables_[c.table];
    const uint32_t end = table.rows[c.row].end_cell;
    while (i < end && table.cells[i].count == 0) ++i;
    return i < end ? table.cells[i++] : cell_t{0, 0};
  };
  uint32_t i = tables_[a.table].rows[a.row].first_cell, j = tables_[b.table].rows[b.row].first_cell;
  for (;;) {
    const cell_t x = next(a, i), y = next(b, j);
    if (x.k != y.k || x.count != y.count) return false;
    if (x.count == 0) return true;
  }
}

// Rows with the same cells have the same score to the last bit, so that the earliest of them stands for all. Twins
// have the same approximate score too, so only neighbours in its order need to be compared.
void SplitSearch::drop_twins() {
  std::vector<size_t> order(candidates_.size());
  for (size_t i = 0; i < order.size(); ++i) order[i] = i;
  std::sort(order.begin(), order.end(), [this](size_t a, size_t b) {
    const candidate_t &x = candidates_[a], &y = candidates_[b];
    return x.score != y.score ? x.score < y.score : a < b;
  });
  std::vector<char> twin(order.size(), 0);
  size_t last = order[0];
  for (size_t i = 1; i < order.size(); ++i) {
    if (candidates_[order[i]].score == candidates_[last].score &&
        same_cells(candidates_[order[i]], candidates_[last]))
      twin[order[i]] = 1;
    else
      last = order[i];
  }
  size_t kept = 0;
  for (size_t i = 0; i < candidates_.size(); ++i)
    if (!twin[i]) candidates_[kept++] = candidates_[i];
  candidates_.resize(kept);
}

// The first test, in the order in which ties are broken, that leaves one side empty: a tag that does not occur at
// its position, or one that always does.
bool SplitSearch::first_undivided(size_t& table, int& tag) const {
  for (table = 0; table < open_tables_; ++table) {
    const table_t& t = tables_[table];
    tag = 0;
    for (const row_t& row : t.rows) {
      if (row.n == 0) continue;
      if (row.tag != tag || row.n == freq_) break;
      ++tag;
    }
    if (tag < Number_of_Tags) return true;
  }
  return false;
}

// The candidates' exact scores, compared in order; a later one must be strictly smaller.
bool SplitSearch::choose_exactly(split_t& split, bool undivided_competes) {
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
    if (Split_Check != nullptr) ++Split_Check->exact_candidates;
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
bool SplitSearch::find_exactly(split_t& split) {
  if (open_tables_ == 0) return false;
  candidates_.clear();
  // With no prior, an occurrence that is alone with its tag has an infinite or undefined entropy on whichever side it
  // is, so every score is infinite or undefined and the very first candidate stays.
  const bool first_stays = Smoothing_Weight == 0.0 && std::count(count_.begin(), count_.end(), 1u) > 0;
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
  return choose_exactly(split, undivided_competes);
}

// ---- Gain

bool SplitSearch::gain_suffices(const split_t& split, double undivided, double best, double bound) {
  const double gain = ld(freq_) * (undivided - best) / freq_;
  const double doubt = ld(freq_) * 4.0 * bound / freq_;
  if (std::fabs(gain - Min_Info_Gain) > doubt) return gain > Min_Info_Gain;
  return exact_gain_suffices(split);
}

bool SplitSearch::exact_gain_suffices(const split_t& split) const {
  const row_t& row = tables_[split.table].rows[split.row];
  const evaluation_t best = evaluate(tables_[split.table], row);
  const double n = freq_;
  const double gain =
      ld(n) * ((node_entropy() - row.n * best.entropy_yes / n) - (freq_ - row.n) * best.entropy_no / n);
  return !(Min_Info_Gain > gain);
}

// ---- Exact scores

SplitSearch::evaluation_t SplitSearch::evaluate(const table_t& table, const row_t& row) const {
  int tags_yes = 0, tags_no = tags_;
  for (uint32_t c = row.first_cell; c < row.end_cell; ++c) {
    const cell_t& cell = table.cells[c];
    tags_yes += cell.count > 0;
    tags_no -= cell.count > 0 && cell.count == count_[cell.k];
  }
  const uint32_t n_no = freq_ - row.n;
  LeaveOneOut yes(row.n, prior_weight(tags_yes, Smoothing_Weight));
  LeaveOneOut no(n_no, prior_weight(tags_no, Smoothing_Weight));
  uint32_t c = row.first_cell;
  for (uint32_t k = 0; k < count_.size(); ++k) {
    uint32_t on_yes = 0;
    if (c < row.end_cell && table.cells[c].k == k) on_yes = table.cells[c++].count;
    yes.add(q_[k], on_yes);
    no.add(q_[k], count_[k] - on_yes);
  }
  return {row.n * yes.entropy() + n_no * no.entropy(), yes.entropy(), no.entropy()};
}

double SplitSearch::exact_entropy() const {
  LeaveOneOut side(freq_, prior_weight(tags_, Smoothing_Weight));
  for (size_t k = 0; k < count_.size(); ++k) side.add(q_[k], count_[k]);
  return side.entropy();
}

void SplitSearch::check_choice(bool found, const split_t& split) {
  ++Split_Check->nodes;
  const double bound = error_bound();
  for (size_t t = 0; t < open_tables_; ++t)
    for (row_t& row : tables_[t].rows) {
      if (row.n == 0 || row.n == freq_) continue;
      const double error = std::fabs(score_row(tables_[t], row) - evaluate(tables_[t], row).score);
      Split_Check->worst_error = std::max(Split_Check->worst_error, error / bound);
    }
  const uint64_t exact_candidates = Split_Check->exact_candidates;
  split_t exact{};
  const bool exact_found = find_exactly(exact);
  Split_Check->exact_candidates = exact_candidates;
  if (exact_found != found || (found && (exact.position != split.position || exact.tag != split.tag)))
    ++Split_Check->wrong_choices;
}

// ---- Splitting

chain_start_t SplitSearch::split_off_yes(const split_t& split) {
  table_t& table = tables_[split.table];
  row_t& row = table.rows[split.row];
  chain_start_t yes;
  yes.freq = row.n;
  std::vector<uint32_t> changed;
  for (uint32_t c = row.first_cell; c < row.end_cell; ++c)
    if (table.cells[c].count > 0) changed.push_back(table.cells[c].k);
  const double w = prior_weight(static_cast<int>(changed.size()), Smoothing_Weight);
  const Interpolation prob(row.n, w);
  LeaveOneOut entropy(row.n, w);

  for (uint32_t c = row.first_cell; c < row.end_cell; ++c) {
    const cell_t cell = table.cells[c];
    if (cell.count == 0) continue;
    entropy.add(q_[cell.k], cell.count);
    yes.counts.push_back({tag_of_k_[cell.k], cell.count});
    yes.q.push_back(prob(q_[cell.k], cell.count));
    count_[cell.k] -= cell.count;
    tags_ -= count_[cell.k] == 0;
  }
  yes.entropy = entropy.entropy();
  for (uint32_t i = row.first_ngram; i < row.end_ngram; ++i) {
    const uint32_t place = table.order[i];
    if (taken_[place]) continue;
    taken_[place] = 1;
    yes.ngrams.push_back(chain_[place]);
    const uint32_t count = ngrams_.count(chain_[place]);
    for (size_t t = 0; t < open_tables_; ++t)
      if (t != split.table) take_off(tables_[t], place, count);
  }
  row.n = 0;
  freq_ -= yes.freq;
  left_ -= yes.ngrams.size();
  at_start_ = false;
  ++step_;
  if (2 * left_ < chain_.size()) {
    compact();
  } else {
    drop_unused_weights();
    refresh_weights(changed);
  }
  return yes;
}

void SplitSearch::take_off(table_t& table, uint32_t place, uint32_t count) {
  const uint32_t c = table.cell_of_ngram[place];
  row_t& row = table.rows[table.row_of_cell[c]];
  table.cells[c].count -= count;
  row.n -= count;
  row.changed = true;
}

}  // namespace orvelle
