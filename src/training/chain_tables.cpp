// SPDX-License-Identifier: MIT
// The tables of a chain: made at its start and when a position opens, reduced by each test that is chosen.
#include "training/chain_search.h"

#include <algorithm>
#include <utility>

#include "training/leave_one_out.h"

namespace orvelle {

ChainSearch::ChainSearch(const NGramTable& ngrams, const split_settings_t& settings)
    : ngrams_(ngrams), settings_(settings), row_of_tag_(static_cast<size_t>(settings.Number_of_Tags), -1) {}

void ChainSearch::start_chain(chain_start_t start) {
  chain_.resize(start.ngrams.size());
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
  size_t place = 0;
  for (size_t k = 0; k < start.counts.size(); ++k) {
    tag_of_k_[k] = start.counts[k].tag;
    count_[k] = start.counts[k].count;
    for (; place < chain_.size(); ++place) {
      const uint32_t ngram = start.ngrams[place];
      if (ngrams_.tags(ngram)[ngrams_.length() - 1] != tag_of_k_[k]) break;
      chain_[place] = {ngram, static_cast<uint32_t>(k), ngrams_.count(ngram)};
    }
  }
  weights_.clear();
  weights_of_tags_.assign(start.counts.size() + 1, -1);

  double least_q = 1.0;
  for (const double q : q_) least_q = std::min(least_q, q);
  const double s = settings_.Smoothing_Weight;
  // Outside these limits, which NaN is as well, cancellation or overflow would void the error bound.
  exact_only_ = !(s >= 1e-6 && s <= 1e6 && s * least_q >= 1e-250);
  if (!exact_only_) log_limit_ = std::max(ld(freq_ + s * tags_), -ld(std::min(1.0, s * least_q))) + 2.0;

  open_tables_ = 0;
  if (freq_ > 1)
    for (const int position : start.positions) open_position(position);
}

void ChainSearch::open_position(int position) {
  if (open_tables_ == tables_.size()) tables_.emplace_back();
  build_table(tables_[open_tables_++], position);
}

std::vector<tag_count_t> ChainSearch::counts() const {
  std::vector<tag_count_t> result;
  for (size_t k = 0; k < count_.size(); ++k)
    if (count_[k] > 0) result.push_back({tag_of_k_[k], count_[k]});
  return result;
}

// Forgets the n-grams, tags and rows that are taken off, once they are more than those left: the dead cells of the
// tables cost as much as the live ones.
void ChainSearch::compact() {
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
    chain_[kept].k = new_k[chain_[i].k];
    ++kept;
  }
  chain_.resize(kept);
  taken_.assign(kept, 0);
  weights_.clear();
  weights_of_tags_.assign(tags + 1, -1);
  for (size_t t = 0; t < open_tables_; ++t) build_table(tables_[t], tables_[t].position);
}

void ChainSearch::build_table(table_t& table, int position) {
  table.position = position;
  collect_rows(table);
  collect_cells(table);
}

// A counting sort of the n-grams by the tag at the position.
void ChainSearch::collect_rows(table_t& table) {
  table.rows.clear();
  const auto tag_at = [&](size_t place) { return ngrams_.tags(chain_[place].number)[table.position]; };
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
void ChainSearch::collect_cells(table_t& table) {
  table.cells.clear();
  table.row_of_cell.clear();
  table.cell_of_ngram.resize(chain_.size());
  for (size_t r = 0; r < table.rows.size(); ++r) {
    row_t& row = table.rows[r];
    row.first_cell = static_cast<uint32_t>(table.cells.size());
    for (uint32_t i = row.first_ngram; i < row.end_ngram; ++i) {
      const uint32_t place = table.order[i];
      const chain_ngram_t& ngram = chain_[place];
      if (table.cells.size() == row.first_cell || table.cells.back().k != ngram.k) {
        table.cells.push_back({ngram.k, 0});
        table.row_of_cell.push_back(static_cast<uint32_t>(r));
      }
      table.cells.back().count += ngram.count;
      row.n += ngram.count;
      table.cell_of_ngram[place] = static_cast<uint32_t>(table.cells.size() - 1);
    }
    row.end_cell = static_cast<uint32_t>(table.cells.size());
  }
}

chain_start_t ChainSearch::split_off_yes(const split_t& split) {
  table_t& table = tables_[split.table];
  row_t& row = table.rows[split.row];
  chain_start_t yes;
  yes.freq = row.n;
  std::vector<uint32_t> changed;
  for (uint32_t c = row.first_cell; c < row.end_cell; ++c)
    if (table.cells[c].count > 0) changed.push_back(table.cells[c].k);
  const double w = prior_weight(static_cast<int>(changed.size()), settings_.Smoothing_Weight);
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
    yes.ngrams.push_back(chain_[place].number);
    for (size_t t = 0; t < open_tables_; ++t)
      if (t != split.table) take_off(tables_[t], place, chain_[place].count);
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

void ChainSearch::take_off(table_t& table, uint32_t place, uint32_t count) {
  const uint32_t c = table.cell_of_ngram[place];
  row_t& row = table.rows[table.row_of_cell[c]];
  table.cells[c].count -= count;
  row.n -= count;
  row.changed = true;
}

}  // namespace orvelle
