// The order of the run:
//
//   lexicon file -> tagset, lemmas, entries      lexicon_file
//   open-class file -> Open_Class                open_classes
//   corpus -> Tag_Freq, the entries' counts      corpus_pass
//   counts -> tags kept, relative frequencies    here
//   relative frequencies -> affix trees          affix/
//   relative frequencies -> smoothed             equivalence_classes
#include "lexicon/make_lexicon.h"

#include <algorithm>
#include <climits>
#include <cmath>
#include <cstdio>

#include "affix/affix_trees.h"
#include "context/ngram_table.h"
#include "driver/settings.h"
#include "lexicon/corpus_pass.h"
#include "lexicon/entries.h"
#include "lexicon/equivalence_classes.h"
#include "lexicon/lexicon_file.h"
#include "lexicon/open_classes.h"
#include "lexicon/tagset.h"
#include "support/errors.h"
#include "support/files.h"

namespace orvelle {

namespace {

void say(const char* stage) {
  if (!Quiet) std::fprintf(stderr, "\t%s ...\n", stage);
}

template <class Action>
void for_all_entries(Action action) {
  for (int i = First_Entry; i < Fullform_Lexicon_Size; ++i) action(i, *Fullform_Lexicon[i].data);
}

void read_lexicon(const char* name) {
  FILE* file = std::fopen(name, "rt");
  if (file == nullptr) fail("Can't open lexicon file: %s\n\n", name);
  say("reading the lexicon");
  read_tags(file, name);
  read_lemmas();
  read_words();
  std::fclose(file);
}

// One zeroed count for each tag of each entry. The counts are a working array of the run and go with it.
std::vector<int> make_counts() {
  size_t total = 0;
  for_all_entries([&](int, const entrydata_t& data) { total += data.n; });
  std::vector<int> counts(total, 0);
  int* next = counts.data();
  for_all_entries([&](int, entrydata_t& data) {
    data.count = next;
    next += data.n;
  });
  return counts;
}

// m x Lex_Threshold as an int: truncated, held to the range of int, 0 if it is no number.
int ordinary_threshold(int m) {
  const double threshold = m * Lex_Threshold;
  if (std::isnan(threshold)) return 0;
  return static_cast<int>(std::clamp<double>(threshold, INT_MIN, INT_MAX));
}

// Drops the tags of an entry that were counted less often than the threshold. A number entry starts with every tag of
// the tagset and keeps those seen at least once, if there are any.
void filter_tags(int index, entrydata_t& data) {
  int m = 0;
  for (int i = 0; i < data.n; ++i) m = std::max(m, data.count[i]);
  const int threshold = index >= 0 ? ordinary_threshold(m) : std::min(m, 1);
  if (threshold <= 0) return;
  int kept = 0;
  for (int i = 0; i < data.n; ++i) {
    if (data.count[i] < threshold) continue;
    data.tag[kept] = data.tag[i];
    data.count[kept] = data.count[i];
    data.lemma[kept] = data.lemma[i];
    ++kept;
  }
  data.n = kept;
}

void set_relative_frequencies(entrydata_t& data) {
  data.freq = 0;
  for (int i = 0; i < data.n; ++i) data.freq += data.count[i];
  for (int i = 0; i < data.n; ++i) {
    const double share = data.freq == 0 ? 1.0 / data.n : static_cast<double>(data.count[i]) / data.freq;
    data.prob[i] = static_cast<float>(share);
  }
}

void read_corpus(const char* name) {
  FILE* file = open_input(name, stdin);
  Tag_Freq.assign(Number_of_Tags, 0);
  count_corpus(file, name, start_ngrams_with_lexicon(name));
  close_file(file);
}

}  // namespace

void make_lexicon(const char* corpus, const char* lexicon, const char* open_classes) {
  read_lexicon(lexicon);
  read_open_classes(open_classes);

  say("calculating tag frequencies");
  const std::vector<int> counts = make_counts();
  read_corpus(corpus);
  for_all_entries(filter_tags);
  for_all_entries([](int, entrydata_t& data) { set_relative_frequencies(data); });

  say("making affix tree");
  make_affix_trees();

  smooth_with_classes();
  for_all_entries([](int, entrydata_t& data) { data.count = nullptr; });
  say("reading classes");
}

}  // namespace orvelle
