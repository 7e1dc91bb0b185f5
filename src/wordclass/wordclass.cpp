// SPDX-License-Identifier: MIT
#include "wordclass/wordclass.h"

#include <algorithm>
#include <numeric>
#include <utility>

#include "support/errors.h"

namespace orvelle {

namespace {

constexpr double Least_Share = 0.01;  // of the probability of a class's most probable tag

// Sum of the probabilities by tag number; empty for a class without words.
using row_t = std::vector<double>;

std::vector<row_t> sum_up_lexicon(const Automaton& automaton, const Lexicon& lexicon, int number_of_tags) {
  std::vector<row_t> rows(static_cast<size_t>(automaton.number_of_classes));
  for (int i = 0; i < lexicon.Fullform_Lexicon_Size; ++i) {
    const entry_t& entry = lexicon.Fullform_Lexicon[i];
    row_t& row = rows[static_cast<size_t>(automaton.wordclass(entry.word, 0))];
    row.resize(static_cast<size_t>(number_of_tags));
    const entrydata_t& data = *entry.data;
    for (int k = 0; k < data.n; ++k) row[data.tag[k]] += double{data.prob[k]};
  }
  return rows;
}

// Turns the sums, which are not 0 altogether, into probabilities.
void normalise(row_t& row, double sum) {
  const double reciprocal = 1.0 / sum;
  for (double& value : row) value *= reciprocal;
}

}  // namespace

// What is kept of a row is not normalised again.
entrydata_t WordClasses::make_record(const row_t& row) {
  const double threshold = Least_Share * *std::ranges::max_element(row);
  const auto is_kept = [threshold](double value) { return value > threshold; };

  const auto n = static_cast<int32_t>(std::ranges::count_if(row, is_kept));
  int32_t* tag = numbers_.take(static_cast<size_t>(n));
  float* prob = probs_.take(static_cast<size_t>(n));
  int kept = 0;
  for (size_t t = 0; t < row.size(); ++t) {
    if (!is_kept(row[t])) continue;
    tag[kept] = static_cast<int32_t>(t);
    prob[kept++] = static_cast<float>(row[t]);
  }
  return {.n = n, .freq = 0, .tag = tag, .prob = prob, .lemma = nullptr};
}

WordClasses::WordClasses(Automaton automaton, const Lexicon& lexicon, int number_of_tags, const Warn& warn)
    : WA(std::move(automaton)) {
  if (WA.number_of_classes == 0) fail("Error: in transducer file: no word class!");
  std::vector<row_t> rows = sum_up_lexicon(WA, lexicon, number_of_tags);
  Wordclass_Lexicon.assign(rows.size(), entry_t{nullptr, nullptr});
  // The slots point into it.
  records_.reserve(rows.size() - static_cast<size_t>(std::ranges::count_if(rows, &row_t::empty)));
  for (size_t m = 0; m < rows.size(); ++m) {
    const double sum = std::accumulate(rows[m].begin(), rows[m].end(), 0.0);
    if (sum == 0.0) {
      if (warn) warn(formatted("\nWARNING: no lexicon entry for word class %zu!\n", m));
      continue;
    }
    normalise(rows[m], sum);
    Wordclass_Lexicon[m].data = &records_.emplace_back(make_record(rows[m]));
  }
}

const entry_t* WordClasses::lookup(std::string_view word) const {
  const entry_t& slot = Wordclass_Lexicon[static_cast<size_t>(WA.wordclass(word, 0))];
  return slot.data != nullptr ? &slot : nullptr;
}

}  // namespace orvelle
