// SPDX-License-Identifier: MIT
#include "wordclass/wordclass.h"

#include <algorithm>
#include <map>
#include <numeric>
#include <utility>

#include "support/errors.h"

namespace orvelle {

namespace {

constexpr double Least_Share = 0.01;  // of the probability of a class's most probable tag

// Sum of the probabilities by tag number.
using row_t = std::vector<double>;

// By class number, without the classes that have no words.
std::map<int, row_t> sum_up_lexicon(const Automaton& automaton, const Lexicon& lexicon, int number_of_tags) {
  std::map<int, row_t> rows;
  for (int i = 0; i < lexicon.Fullform_Lexicon_Size; ++i) {
    const entry_t& entry = lexicon.Fullform_Lexicon[i];
    row_t& row = rows[automaton.wordclass(entry.word, 0)];
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

// Of the classes from `first` on, up to `end` and without it.
void warn_of_empty(int first, int end, const Warn& warn) {
  constexpr int Most_Singly = 1000;
  if (!warn) return;
  if (end - first > Most_Singly)
    return warn(formatted("\nWARNING: no lexicon entry for the word classes %d to %d!\n", first, end - 1));
  for (; first < end; ++first) warn(formatted("\nWARNING: no lexicon entry for word class %d!\n", first));
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
  std::map<int, row_t> rows = sum_up_lexicon(WA, lexicon, number_of_tags);
  std::vector<SparseTable<entry_t>::Entry> slots;
  records_.reserve(rows.size());  // the slots point into it
  int next = 0;                   // the first class that nothing was said of
  for (auto& [number, row] : rows) {
    const double sum = std::accumulate(row.begin(), row.end(), 0.0);
    if (sum == 0.0) continue;
    warn_of_empty(next, number, warn);
    next = number + 1;
    normalise(row, sum);
    slots.push_back({number, {nullptr, &records_.emplace_back(make_record(row))}});
  }
  warn_of_empty(next, WA.number_of_classes, warn);
  Wordclass_Lexicon = {std::move(slots), static_cast<size_t>(WA.number_of_classes)};
}

const entry_t* WordClasses::lookup(std::string_view word) const {
  const entry_t& slot = Wordclass_Lexicon[static_cast<size_t>(WA.wordclass(word, 0))];
  return slot.data != nullptr ? &slot : nullptr;
}

}  // namespace orvelle
