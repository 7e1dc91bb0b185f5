// A lexicon made in memory, for tests of what stands on one.
#pragma once

#include <tuple>
#include <utility>
#include <vector>

#include "lexicon/entries.h"
#include "lexicon/tagset.h"

namespace orvelle {

struct test_word_t {
  const char* word;
  std::vector<std::pair<int, float>> readings;  // tag number, probability
};

// Makes these the tagset and the lexicon, with number entries of no tags. Requires: tags and words in
// ascending order.
inline void set_small_lexicon(const std::vector<const char*>& tags, const std::vector<test_word_t>& words) {
  define_tagset(tags, 0);
  lexicon_storage_t storage;
  storage.records.reserve(words.size() + 2);
  const auto add = [&](const test_word_t& word) {
    const size_t n = word.readings.size();
    entrydata_t data{.n = static_cast<int>(n),
                     .tag = nullptr,
                     .prob = nullptr,
                     .count = nullptr,
                     .freq = 0,
                     .lemma = nullptr};
    data.tag = storage.blocks.emplace_back(new int[n]).get();
    data.prob = storage.prob_blocks.emplace_back(new float[n]).get();
    for (size_t i = 0; i < n; ++i) std::tie(data.tag[i], data.prob[i]) = word.readings[i];
    storage.slots.push_back({word.word, &storage.records.emplace_back(data)});
  };
  add({"", {}});
  add({"", {}});
  for (const test_word_t& word : words) add(word);
  define_lexicon(std::move(storage));
}

}  // namespace orvelle
