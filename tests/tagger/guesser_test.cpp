// SPDX-License-Identifier: MIT
// Guesses from the rare words against slow ones, written down as they are described in docs/tagging.md.
#include "tagger/guesser.h"

#include <gtest/gtest.h>
#include <orvelle/word_forms.h>

#include <algorithm>
#include <cmath>
#include <random>
#include <set>

#include "sample_file.h"

namespace orvelle {
namespace {

constexpr int Tags = 4;

// What stands for a word in the tables: its shape and its first seven bytes, or last seven, with a mark at its end.
struct slow_key_t {
  int kind;
  bool hyphen, period;
  std::string affix;
};

slow_key_t slow_key(const std::string& word, bool utf8, bool ending) {
  const auto any = [&](auto test) { return std::any_of(word.begin(), word.end(), test); };
  const bool letters = any([](char c) { return std::isalpha(static_cast<unsigned char>(c)) || (c & 0x80); });
  const bool digits = any([](char c) { return c >= '0' && c <= '9'; });
  const bool small = any([](char c) { return c >= 'a' && c <= 'z'; });
  const bool capital = is_upper(word.c_str(), utf8, [](std::string_view) {});
  const int kind = digits                      ? (letters ? 3 : 4)
                   : !letters                  ? 5
                   : !capital                  ? 0
                   : word.size() > 1 && !small ? 2
                                               : 1;
  slow_key_t key{kind, word.find('-', 1) != std::string::npos,
                 kind < 4 && word.find_first_of(".@/") != std::string::npos,
                 all_to_lower(word.c_str(), utf8, [](std::string_view) {})};
  if (ending) std::reverse(key.affix.begin(), key.affix.end());
  key.affix = (key.affix + '$').substr(0, 7);
  return key;
}

using distribution_t = std::vector<double>;

class SlowGuesser {
 public:
  explicit SlowGuesser(const sample_file_t& file) : utf8_(file.utf8), start_(Tags, 0.01 / Tags) {
    int64_t tokens = 0;
    for (size_t i = 2; i < file.entries.size(); ++i) tokens += file.entries[i].freq;
    const int64_t rare_frequency = std::clamp<int64_t>(tokens / 5000, 1, 30);
    for (size_t i = 2; i < file.entries.size(); ++i) {
      const sample_entry_t& entry = file.entries[i];
      if (entry.freq < 1 || entry.freq > rare_frequency) continue;
      rare_.push_back({entry, slow_key(entry.word, utf8_, true), slow_key(entry.word, utf8_, false)});
    }
    for (const tagprob_t& pair : file.open_class.pairs) start_[pair.tag] += 0.99 * pair.prob;
  }

  // A word of the lexicon is left out of its own guess.
  distribution_t guess(const std::string& word, bool is_entry) const {
    const slow_key_t own = slow_key(word, utf8_, true);
    const auto same_shape = [&](const slow_key_t& k) {
      return k.kind == own.kind && k.hyphen == own.hyphen && k.period == own.period;
    };
    distribution_t shape = start_;
    mix(shape, 5, [](const rare_word_t&) { return true; });
    mix(shape, 5, [&](const rare_word_t& w) { return w.by_ending.kind == own.kind; });
    mix(shape, 5, [&](const rare_word_t& w) { return same_shape(w.by_ending); });
    const auto descend = [&](slow_key_t rare_word_t::*key) {
      distribution_t result = shape;
      const std::string affix = slow_key(word, utf8_, key == &rare_word_t::by_ending).affix;
      for (size_t n = 1; n <= affix.size(); ++n)
        if (!mix(result, 2, [&](const rare_word_t& w) {
              return !(is_entry && w.entry.word == word) && same_shape(w.by_ending) &&
                     (w.*key).affix.substr(0, n) == affix.substr(0, n);
            }))
          break;
      return result;
    };
    distribution_t result = descend(&rare_word_t::by_ending);
    const distribution_t by_beginning = descend(&rare_word_t::by_beginning);
    double sum = 0.0;
    for (int t = 0; t < Tags; ++t) sum += result[t] *= std::pow(by_beginning[t] / shape[t], 0.25);
    for (double& p : result) p /= sum;
    return result;
  }

 private:
  struct rare_word_t {
    sample_entry_t entry;
    slow_key_t by_ending, by_beginning;
  };

  // (what the words of the row have + weight * what stood before) / (words + weight); false for an empty row.
  template <class IsInRow>
  bool mix(distribution_t& result, double weight, IsInRow is_in_row) const {
    distribution_t sum(Tags);
    double count = 0;
    for (const rare_word_t& word : rare_) {
      if (!is_in_row(word)) continue;
      ++count;
      for (size_t k = 0; k < word.entry.tags.size(); ++k) sum[word.entry.tags[k]] += word.entry.probs[k];
    }
    if (count == 0) return false;
    for (int t = 0; t < Tags; ++t) result[t] = (sum[t] + weight * result[t]) / (count + weight);
    return true;
  }

  bool utf8_;
  distribution_t start_;
  std::vector<rare_word_t> rare_;
};

sample_file_t random_file(unsigned seed, bool utf8, int rare_frequency) {
  std::mt19937 random(seed);
  const auto below = [&](size_t n) { return random() % n; };
  std::set<std::string> words;
  const std::string syllables[] = {"wal", "k", "ing", "ed", "s",  "e", "\xC3\xA9", "un", "re",
                                   "-",   ".", "7",   "A",  "XY", "/", "\xC3\x89", "i"};
  while (words.size() < 300) {
    std::string word;
    for (size_t left = 1 + below(4); left > 0; --left)
      word += syllables[words.size() % 5 == 0 ? below(17) : below(9)];
    if (words.size() % 7 == 0) word[0] = static_cast<char>(std::toupper(word[0]));
    words.insert(word);
  }
  sample_file_t file;
  file.utf8 = utf8;
  file.tags = {"A", "B", "C", "SENT"};
  file.sent_tag = 3;
  file.factors = {4, 4, 4, 4};
  file.open_class.nodes[0].number = 2;
  file.open_class.pairs = {{0, .75F}, {2, .25F}};
  std::vector<sample_entry_t> entries;
  for (const std::string& word : words) {
    const auto tag = static_cast<int>((word.size() + (word.back() == 'g')) % 3);
    const float p = static_cast<float>(1 + below(4)) / 4;
    std::vector<std::pair<int, float>> readings = {{tag, p}};
    if (p < 1) readings.emplace_back(tag + 1, 1 - p);
    entries.push_back(sample_entry(word, readings, static_cast<int32_t>(below(rare_frequency + 2))));
  }
  const int tokens_to_spare = 5000 * rare_frequency;
  entries.push_back(sample_entry("\xFF", {{0, 1.F}}, tokens_to_spare));  // far from rare
  file.set_words(entries);
  return file;
}

TEST(Guesser, GuessesAsDescribed) {
  for (const auto& [seed, utf8, rare_frequency] : {std::tuple{1u, false, 1}, {2u, true, 3}, {3u, true, 31}}) {
    const sample_file_t file = random_file(seed, utf8, rare_frequency);
    const SlowGuesser slow(file);
    const Model model = file.model();
    const Warn silent = [](std::string_view) {};
    Guesser guesser(ModelAccess::tables(model),
                    std::make_shared<RareWords>(ModelAccess::tables(model), silent), silent);
    const auto expect_same = [&](const std::string& word, const entry_t* entry) {
      const distribution_t expected = slow.guess(word, entry != nullptr);
      const distribution_t got =
          guesser.guess(word.c_str(), entry != nullptr ? entry->data : nullptr).by_tag();
      ASSERT_EQ(got.size(), expected.size());
      for (int t = 0; t < Tags; ++t)
        ASSERT_NEAR(got[t], expected[t], 2e-4)
            << word << " as an entry: " << (entry != nullptr) << " tag " << t;
    };
    for (int i = 0; i < model.Fullform_Lexicon_Size(); i += 3)
      expect_same(model.Fullform_Lexicon(i).word, &model.Fullform_Lexicon(i));
    for (const char* word : {"walking",  "Walking",    "WALKING",   "jumping", "s",        "X",  "x",
                             "\xC3\x89", "\xC3\xA9",   "A-7",       "7",       "7.5",      "-",  ".",
                             "--",       "e-s",        "e.s",       "a@b",     "u/n",      "-s", "zzzzzzzzzz",
                             "unreed",   "rewalkings", "\xC3\x89s", "",        "ingwaling"})
      expect_same(word, nullptr);
  }
}

// Where no word is rare the leaves of the affix trees do it: the suffix, 0.3 of the prefix and a little of the open
// classes.
TEST(Guesser, TakesTheAffixTreesWithoutRareWords) {
  sample_file_t file;
  file.suffix = {{{0, 257, 1, 1}, {1, 'g', 2, 0}}, {{0, .5F}, {1, .5F}}};
  for (sample_entry_t& entry : file.entries) entry.freq = 0;
  const Model model = file.model();
  const Warn silent = [](std::string_view) {};
  Guesser guesser(ModelAccess::tables(model), std::make_shared<RareWords>(ModelAccess::tables(model), silent),
                  silent);
  const struct {
    const char* word;
    distribution_t expected;
  } cases[] = {{"w\xE9lking", {.5 + .3 * .25, .5 + .3 * .75 + .01, 0}},
               {"walking", {.5, .5 + .01, 0}},
               {"jumps", {0, .3 + .01, 0}}};
  for (const auto& c : cases) {
    const distribution_t got = guesser.guess(c.word, nullptr).by_tag();
    for (size_t t = 0; t < c.expected.size(); ++t) EXPECT_NEAR(got[t], c.expected[t], 1e-7) << c.word << t;
  }
}

}  // namespace
}  // namespace orvelle
