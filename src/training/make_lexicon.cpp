// SPDX-License-Identifier: MIT
#include "training/make_lexicon.h"

#include <algorithm>
#include <climits>
#include <cmath>

namespace orvelle {

namespace {

// Calls `action(index, record, first)` for every entry, the number entries included; `first` is its first reading.
template <class Action>
void for_all_entries(TrainingLexicon& lexicon, Action action) {
  for (int i = First_Entry; i < lexicon.lexicon.Fullform_Lexicon_Size; ++i) {
    entrydata_t& record = lexicon.lexicon.record(i);
    action(i, record, lexicon.first_reading(record));
  }
}

// m x Lex_Threshold as an int: truncated, held to the range of int, 0 if it is no number.
int ordinary_threshold(int m, double Lex_Threshold) {
  const double threshold = m * Lex_Threshold;
  if (std::isnan(threshold)) return 0;
  return static_cast<int>(std::clamp<double>(threshold, INT_MIN, INT_MAX));
}

}  // namespace

void filter_tags(TrainingLexicon& lexicon, std::vector<int32_t>& readings, double Lex_Threshold) {
  for_all_entries(lexicon, [&](int index, entrydata_t& data, size_t first) {
    int32_t* const count = readings.data() + first;
    int32_t* const tag = lexicon.tags + first;
    int32_t* const lemma = lexicon.lemma_numbers + first;
    const int m = data.n > 0 ? std::max(0, *std::max_element(count, count + data.n)) : 0;
    const int threshold = index >= 0 ? ordinary_threshold(m, Lex_Threshold) : std::min(m, 1);
    if (threshold <= 0) return;
    int kept = 0;
    for (int i = 0; i < data.n; ++i) {
      if (count[i] < threshold) continue;
      tag[kept] = tag[i];
      count[kept] = count[i];
      lemma[kept] = lemma[i];
      ++kept;
    }
    data.n = kept;
  });
}

void set_relative_frequencies(TrainingLexicon& lexicon, const std::vector<int32_t>& readings) {
  for_all_entries(lexicon, [&](int, entrydata_t& data, size_t first) {
    const int32_t* const count = readings.data() + first;
    float* const prob = lexicon.probs + first;
    data.freq = 0;
    for (int i = 0; i < data.n; ++i) data.freq += count[i];
    for (int i = 0; i < data.n; ++i) {
      const double share = data.freq == 0 ? 1.0 / data.n : static_cast<double>(count[i]) / data.freq;
      prob[i] = static_cast<float>(share);
    }
  });
}

std::vector<double> tag_factors(const std::vector<int32_t>& Tag_Freq) {
  int32_t tokens = 0;
  for (const int32_t freq : Tag_Freq) tokens += freq;
  std::vector<double> factors;
  factors.reserve(Tag_Freq.size());
  for (const int32_t freq : Tag_Freq) factors.push_back(static_cast<double>(tokens) / (freq + 0.5));
  return factors;
}

}  // namespace orvelle
