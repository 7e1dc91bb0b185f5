// SPDX-License-Identifier: MIT
#include "wordclass/wordclass.h"

#include <algorithm>
#include <utility>

#include "support/errors.h"

namespace orvelle {

namespace {

constexpr double Least_Share = 0.01;  // of the probability of a class's most probable tag

// Of the classes from `first` on, up to `end` and without it.
void warn_of_empty(int first, int end, const Warn& warn) {
  constexpr int Most_Singly = 1000;
  if (!warn) return;
  if (end - first > Most_Singly)
    return warn(formatted("\nWARNING: no lexicon entry for the word classes %d to %d!\n", first, end - 1));
  for (; first < end; ++first) warn(formatted("\nWARNING: no lexicon entry for word class %d!\n", first));
}

}  // namespace

// The sums of the probabilities, by class and tag; what no word has takes no memory. Every sum runs in the order of the
// lexicon.
std::vector<WordClasses::sum_t> WordClasses::sum_up_lexicon(const Automaton& automaton,
                                                            const Lexicon& lexicon) {
  std::vector<sum_t> sums;
  for (int i = 0; i < lexicon.Fullform_Lexicon_Size; ++i) {
    const entry_t& entry = lexicon.Fullform_Lexicon[i];
    const int word_class = automaton.wordclass(entry.word, 0);
    for (int k = 0; k < entry.data->n; ++k)
      sums.push_back({word_class, entry.data->tag[k], double{entry.data->prob[k]}});
  }
  const auto place = [](const sum_t& sum) { return std::pair(sum.word_class, sum.tag); };
  std::ranges::stable_sort(sums, {}, place);
  size_t last = 0;
  for (size_t i = 1; i < sums.size(); ++i) {
    if (place(sums[i]) == place(sums[last]))
      sums[last].prob += sums[i].prob;
    else
      sums[++last] = sums[i];
  }
  sums.resize(std::min(sums.size(), last + 1));
  return sums;
}

// What is kept of a row is not normalised again.
entrydata_t WordClasses::make_record(std::span<const sum_t> row) {
  const double threshold = Least_Share * std::ranges::max(row, {}, &sum_t::prob).prob;
  const auto is_kept = [threshold](const sum_t& value) { return value.prob > threshold; };

  const auto n = static_cast<int32_t>(std::ranges::count_if(row, is_kept));
  int32_t* tag = numbers_.take(static_cast<size_t>(n));
  float* prob = probs_.take(static_cast<size_t>(n));
  int kept = 0;
  for (const sum_t& value : row) {
    if (!is_kept(value)) continue;
    tag[kept] = value.tag;
    prob[kept++] = static_cast<float>(value.prob);
  }
  return {.n = n, .freq = 0, .tag = tag, .prob = prob, .lemma = nullptr};
}

WordClasses::WordClasses(Automaton automaton, const Lexicon& lexicon, const Warn& warn)
    : WA(std::move(automaton)) {
  if (WA.number_of_classes == 0) fail("Error: in transducer file: no word class!");
  std::vector<sum_t> sums = sum_up_lexicon(WA, lexicon);
  std::vector<SparseTable<entry_t>::Entry> slots;
  int next = 0;  // the first class that nothing was said of
  for (auto first = sums.begin(); first != sums.end();) {
    const int number = first->word_class;
    const auto end =
        std::find_if(first, sums.end(), [number](const sum_t& s) { return s.word_class != number; });
    const std::span row(first, end);
    first = end;
    double sum = 0.0;
    for (const sum_t& value : row) sum += value.prob;
    if (sum == 0.0) continue;
    warn_of_empty(next, number, warn);
    next = number + 1;
    const double reciprocal = 1.0 / sum;
    for (sum_t& value : row) value.prob *= reciprocal;
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
