// SPDX-License-Identifier: MIT
// The tags that a word form may have, and the Tagger as a whole.
#include <gtest/gtest.h>
#include <orvelle/tagger.h>

#include <cmath>
#include <map>
#include <random>
#include <thread>

#include "model/tables.h"
#include "sample_file.h"
#include "tagger/guesser.h"

namespace orvelle {
namespace {

const Warn Silent = [](std::string_view) {};

tagger_options_t silent_options() {
  tagger_options_t options;
  options.warn = Silent;
  return options;
}

enum { A, B, C, Sent };

// Rare words that end in "ing" are B, all others C; lemmas are numbered as their names say.
sample_file_t words_file() {
  sample_file_t file;
  file.utf8 = 1;
  file.sent_tag = Sent;
  file.tags = {"A", "B", "C", "SENT"};
  file.factors = {2, 4, 8, 16};
  file.lemmas = {"0", "1", "2"};
  file.set_words({sample_entry(".", {{Sent, 1.F}}, 900), sample_entry("Known", {{A, .5F}}, 21),
                  sample_entry("any", {{A, .5F}, {B, .25F}, {C, .125F}}, 50),  // all scores alike
                  sample_entry("bring", {{A, .25F}, {B, .75F}}, 1), sample_entry("empty", {}, 5),
                  sample_entry("known", {{A, .75F}, {C, .25F}}, 21), sample_entry("other", {{C, 1.F}}, 1),
                  sample_entry("rare", {{A, .25F}, {B, .75F}}, 20), sample_entry("singing", {{B, 1.F}}, 1),
                  sample_entry("unseen", {{A, .25F}, {C, .75F}}, 0),
                  sample_entry("unlikely", {{A, 1.F}, {B, .0009F}, {C, .0011F}}, 50),
                  sample_entry("\xC3\xA9t\xC3\xA9", {{A, 1.F}}, 50)});
  std::swap(file.entries[11], file.entries[12]);
  for (sample_entry_t& entry : file.entries)
    for (size_t k = 0; k < entry.lemmas.size(); ++k) entry.lemmas[k] = static_cast<int32_t>(k);
  file.entries[0] = {"", 4, {A}, {1.F}, {2}};  // cardinal numbers
  file.entries[1] = {"", 0, {A, B}, {.5F, .5F}, {1, 1}};
  return file;
}

// Expected: shares of the entry and of the guess for `guessed`; nothing of the guess where that is "".
struct row_t {
  const char* word;
  std::map<int, double> entry;
  double guess_share;
  const char* guessed;
  std::map<int, int> lemmas;  // No_Lemma for the others
};

void expect_candidates(const Model& model, Tagger& tagger, const row_t& row) {
  SCOPED_TRACE(row.word);
  Guesser guesser(ModelAccess::tables(model), std::make_shared<RareWords>(ModelAccess::tables(model), Silent),
                  Silent);
  const entry_t* const entry = model.find_entry(row.guessed);
  std::vector<double> p(4);
  if (row.guess_share > 0) p = guesser.guess(row.guessed, entry != nullptr ? entry->data : nullptr).by_tag();
  double largest = 0.0;
  for (int t = 0; t < 4; ++t) {
    p[t] *= row.guess_share;
    if (row.entry.contains(t)) p[t] += row.entry.at(t);
    largest = std::max(largest, p[t]);
  }
  std::vector<std::pair<double, int>> expected;
  for (int t = 0; t < 4; ++t)
    if (p[t] > largest * 1e-3) expected.emplace_back(-p[t], t);
  std::sort(expected.begin(), expected.end());
  const std::string_view form = row.word;
  tagger.tag({&form, 1});
  const candidates_t got = tagger.candidates(0);
  ASSERT_EQ(got.size(), expected.size());
  for (size_t i = 0; i < got.size(); ++i) {
    const int tag = expected[i].second;
    EXPECT_EQ(got[i].tag, tag);
    EXPECT_NEAR(got[i].score, p[tag] / largest * model.A_Priori_Tag_Prob_Fac(tag), 1e-6);
    EXPECT_EQ(got[i].lemma, row.lemmas.contains(tag) ? row.lemmas.at(tag) : No_Lemma);
  }
}

TEST(Candidates, ComeFromTheEntryTheGuessOrBoth) {
  Model model = words_file().model();
  tagger_options_t options = silent_options();
  options.strips_markup = true;
  const double rare = 20 / 20.2, once = 1 / 1.2;
  const std::map<int, double> known = {{A, .75}, {C, .25}}, small = {{A, .9 * .75}, {C, .9 * .25}};
  const row_t plain[] = {
      {"known", known, 0, "", {{A, 0}, {C, 1}}},
      {"Known", {{A, .5}}, 0, "", {{A, 0}}},
      {"rare", {{A, .25 * rare}, {B, .75 * rare}}, 1 - rare, "rare", {{A, 0}, {B, 1}, {C, 1}, {Sent, 1}}},
      {"bring", {{A, .25 * once}, {B, .75 * once}}, 1 - once, "bring", {{A, 0}, {B, 1}, {C, 1}, {Sent, 1}}},
      {"empty", {}, .2 / 5.2, "empty", {}},
      {"unseen", {{A, .25}, {C, .75}}, 0, "", {{A, 0}, {C, 1}}},
      {"unlikely", {{A, 1.}, {B, .0009}, {C, .0011}}, 0, "", {{A, 0}, {B, 1}, {C, 2}}},
      {"17", {{A, 1.}}, 0, "", {{A, 2}}},
      {"17.", {}, 1, "17.", {}},  // an ordinal, of which the corpus had none
      {"KNOWN", small, .1, "KNOWN", {{A, 0}, {C, 1}}},
      {"\xC3\x89T\xC3\xA9", {{A, .9}}, .1, "\xC3\x89T\xC3\xA9", {{A, 0}}},
      {"kNOWN", {}, 1, "kNOWN", {}},
      {"ringing", {}, 1, "ringing", {}},
      {"", {}, 1, "", {}},
      {"<b>known</b>", known, 0, "", {{A, 0}, {C, 1}}},
      {"<b>KNOWN</b>", small, .1, "KNOWN", {{A, 0}, {C, 1}}},
      {"<b>17</b>", {{A, 1.}}, 0, "", {{A, 2}}},
      {"ring<b>ing", {}, 1, "ringing", {}},
  };
  for (int round = 0; round < 2; ++round) {  // the second time they are remembered
    Tagger tagger(model, options), again(tagger);
    for (const row_t& row : plain) expect_candidates(model, round ? again : tagger, row);
  }
  Tagger without_stripping(model, silent_options());
  expect_candidates(model, without_stripping, {"<b>known</b>", {}, 1, "<b>known</b>", {}});

  // Class 1 accepts "k" and what follows; class 0 says nothing about a word form.
  model.read_wordclass(ByteStream("0 k 1 1 n 1 1 o 1 1 w 1 1 wordclass 1"), Silent);
  Tagger with_classes(model, options);
  const row_t by_class[] = {
      {"known", known, 0, "", {{A, 0}, {C, 1}}},
      {"knooown", {{A, 0}}, 0, "", {}},
      {"ringing", {}, 1, "ringing", {}},
      {"17", {{A, 1.}}, 0, "", {{A, 2}}},
      {"17.", {}, 1, "17.", {}},
      {"<b>17</b>", {{A, 1.}}, 0, "", {{A, 2}}},
  };
  for (row_t row : by_class) {
    if (row.word == std::string("knooown")) row.entry = known;
    expect_candidates(model, with_classes, row);
  }
}

// An entry with more tags than are followed, and probabilities that no path could bear.
TEST(Candidates, AreAtMostSixteenAndUsable) {
  sample_file_t file;
  file.sent_tag = 0;
  file.tags.clear();
  file.factors.clear();
  std::vector<std::pair<int, float>> many, odd;
  for (int t = 0; t < 30; ++t) {
    file.tags.push_back(std::to_string(10 + t));
    file.factors.push_back(t == 3 ? INFINITY : 2.0);
    many.emplace_back(t, t % 7 ? .5F : 1.F);
    odd.emplace_back(t, t == 0 ? -1.F : t == 1 ? NAN : t == 2 ? INFINITY : t < 6 ? 1.F : 0.F);
  }
  file.set_words({sample_entry("many", many, 100), sample_entry("odd", odd, 100)});
  const Model model = file.model();
  Tagger tagger(model);
  const std::string_view forms[] = {"many", "odd"};
  tagger.tag(forms);
  ASSERT_EQ(tagger.candidates(0).size(), 16u);
  const int expected[] = {0, 7, 14, 21, 28, 1,  2,  3,
                          4, 5, 6,  8,  9,  10, 11, 12};  // the likelier, then by number
  for (int i = 0; i < 16; ++i) EXPECT_EQ(tagger.candidates(0)[i].tag, expected[i]);
  ASSERT_EQ(tagger.candidates(1).size(), 3u);
  for (int i = 0; i < 3; ++i) {
    EXPECT_EQ(tagger.candidates(1)[i].tag, 3 + i);
    EXPECT_EQ(tagger.candidates(1)[i].score, i == 0 ? 1.0 : 2.0);
  }
}

// ---- The tagger

// Contexts matter: after A comes B, after B comes C, after C comes A.
sample_file_t cycle_file() {
  sample_file_t file = words_file();
  file.context_size = 1;
  file.nodes.clear();
  for (const int before : {A, B, C}) {
    file.nodes += raw(0, 0, before) + raw(1, 4, 10u);
    for (int t = 0; t < 4; ++t) file.nodes += raw(t, t == (before + 1) % 3 ? .85 : .05);
  }
  file.nodes += raw(1, 4, 10u);
  for (int t = 0; t < 4; ++t) file.nodes += raw(t, t == A ? .85 : .05);
  return file;
}

// The choices and their probabilities in text form.
std::string tagged(Tagger& tagger, const std::vector<std::string_view>& forms) {
  tagger.tag(forms, true);
  std::string text;
  for (size_t i = 0; i < forms.size(); ++i) {
    char p[40];
    std::snprintf(p, sizeof p, "%d %.17g|", tagger.chosen(i).tag, tagger.posteriors(i)[tagger.choice(i)]);
    text += p;
  }
  return text;
}

std::vector<std::string_view> random_text(unsigned seed, size_t size) {
  const std::string_view words[] = {".",    "Known",  "bring", "known", "other",
                                    "rare", "unseen", "xing",  "Xes",   "17"};
  std::mt19937 random(seed);
  std::vector<std::string_view> text;
  while (text.size() < size) text.push_back(words[random() % 10]);
  return text;
}

TEST(Tagger, ChoosesPathsOrWords) {
  const Model model = cycle_file().model();
  Tagger by_path(model, silent_options());
  tagger_options_t options = silent_options();
  options.choice = tagger_options_t::Choice::Word;
  Tagger by_word(model, options);
  int different = 0;
  for (unsigned seed = 0; seed < 50; ++seed) {
    const std::vector<std::string_view> text = random_text(seed, 12);
    by_path.tag(text, true);
    by_word.tag(text, seed % 2 == 0);
    for (size_t i = 0; i < text.size(); ++i) {
      const std::span<const double> p = by_path.posteriors(i), q = by_word.posteriors(i);
      ASSERT_TRUE(seed % 2 == 0 ? std::ranges::equal(p, q) : q.empty());
      EXPECT_EQ(by_word.choice(i), static_cast<size_t>(std::max_element(p.begin(), p.end()) - p.begin()));
      different += by_word.choice(i) != by_path.choice(i);
    }
  }
  EXPECT_GT(different, 0);
  by_path.tag(random_text(1, 3));
  EXPECT_TRUE(by_path.posteriors(0).empty());
}

// What was settled is what the next words follow; the end of a sentence forgets it.
TEST(Tagger, GoesOnBehindWhatWasSettled) {
  const Model model = cycle_file().model();
  Tagger tagger(model, silent_options());
  const auto tags = [&](std::vector<std::string_view> words) {
    tagger.tag(words);
    std::string text;
    for (size_t i = 0; i < words.size(); ++i) text += model.Tag(tagger.chosen(i).tag);
    return text;
  };
  EXPECT_EQ(tags({"any"}), "A");
  tagger.settle(0);
  EXPECT_EQ(tags({"any", "any", "any", "any"}), "ABCA");
  tagger.settle(2);
  EXPECT_EQ(tags({"any", "any"}), "CA");
  tagger.settle(1);
  EXPECT_EQ(tags({"any", "Known", "any"}), "AAB");
  tagger.settle(2);
  EXPECT_EQ(tags({"any"}), "B");
  EXPECT_EQ(tags({}), "");
  tagger.end_sentence();
  EXPECT_EQ(tags({"any"}), "A");
}

// Copies share what was learned and nothing else; models answer independently of each other.
TEST(Tagger, CopiesInThreadsGiveTheSame) {
  const Model model = cycle_file().model(), other_model = words_file().model();
  Tagger tagger(model, silent_options()), other(other_model, silent_options());
  std::vector<std::string> expected, other_expected;
  for (unsigned seed = 0; seed < 20; ++seed) {
    expected.push_back(tagged(tagger, random_text(seed, 40)));
    other_expected.push_back(tagged(other, random_text(seed, 40)));
  }
  EXPECT_NE(expected, other_expected);
  std::vector<std::thread> threads;
  std::vector<int> wrong(4);
  for (unsigned n = 0; n < 4; ++n)
    threads.emplace_back([&, n, copy = Tagger(n % 2 ? other : tagger)]() mutable {
      const Tagger start(copy);
      for (unsigned i = 0; i < 20; ++i) {
        const unsigned seed = (i * 7 + n) % 20;
        Tagger fresh(start);
        wrong[n] +=
            tagged(i % 2 ? copy : fresh, random_text(seed, 40)) != (n % 2 ? other_expected : expected)[seed];
        model.fullform_lookup("known");
      }
    });
  for (std::thread& thread : threads) thread.join();
  EXPECT_EQ(wrong, std::vector<int>(4));
}

// A word form that is not UTF-8 is reported once, to whom the options name.
TEST(Tagger, WarnsOfBytesThatAreNotUtf8) {
  const Model model = words_file().model();
  std::string warnings;
  tagger_options_t options;
  options.warn = into(warnings);
  Tagger tagger(model, options);
  const std::string_view forms[] = {"x\xE9", "known"};
  tagger.tag(forms);
  EXPECT_NE(warnings.find("Warning: incomplete utf8 character in function utf8_get_char!\n"),
            std::string::npos);
  warnings.clear();
  tagger.tag(forms);
  EXPECT_EQ(warnings, "");
}

}  // namespace
}  // namespace orvelle
