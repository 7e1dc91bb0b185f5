// SPDX-License-Identifier: MIT
// The second look: what its weights do to the probabilities, against sums formed one by one; and what is learned.
#include "tagger/second_look.h"

#include <gtest/gtest.h>

#include <cmath>
#include <random>

#include "commands/learn_second_look.h"
#include "sample_file.h"

namespace orvelle {
namespace {

// A and B are alike for w and v; the tag contexts know nothing.
sample_file_t file_without_opinion() {
  sample_file_t file;
  file.sent_tag = 2;
  file.tags = {"A|x", "B|x", "SENT"};
  file.factors = {2, 2, 2};
  file.set_words({sample_entry(".", {{2, 1.F}}, 100), sample_entry("v", {{0, .5F}, {1, .5F}}, 100),
                  sample_entry("w", {{0, .6F}, {1, .4F}}, 100)});
  file.context_size = 1;
  file.nodes = raw(1, 3, 9u, 0, 1 / 3.0, 1, 1 / 3.0, 2, 1 / 3.0);
  return file;
}

Model model_with(const second_look_weights_t& weights) {
  Model model = file_without_opinion().model();
  ModelAccess::tables(model).extras.weights = weights;
  return model;
}

tagger_options_t by_word() {
  tagger_options_t options;
  options.choice = tagger_options_t::Choice::Word;
  return options;
}

second_look_weights_t random_weights(unsigned seed, bool splits_tags) {
  second_look_weights_t weights;
  weights.splits_tags = splits_tags;
  std::mt19937 random(seed);
  for (int i = 0; i < 4096; ++i)
    weights.table.push_back(static_cast<int8_t>(static_cast<int>(random() % 41) - 20));
  return weights;
}

const std::vector<std::string_view> Text = {"w", "v", "w", "x", "v", ".", "w", "w", "v", "v", "Word-7", "w"};

TEST(SecondLook, AddsItsWeightsToTheLogarithms) {
  for (const bool splits : {false, true}) {
    const second_look_weights_t weights = random_weights(1, splits);
    const Model model = model_with(weights), plain = model_with({});
    Tagger looking(model, by_word()), first(plain, by_word());
    looking.tag(Text);
    first.tag(Text);
    SecondLookView view(ModelAccess::tables(model), splits);
    std::vector<Candidates::word_t> words;
    std::vector<double> posteriors;
    for (size_t i = 0; i < Text.size(); ++i) {
      words.push_back({first.candidates(i), static_cast<int32_t>(i)});
      posteriors.insert(posteriors.end(), first.posteriors(i).begin(), first.posteriors(i).end());
    }
    view.see(Text, words, posteriors);
    int changed = 0;
    for (size_t i = 0; i < Text.size(); ++i) {
      const std::span<const double> before = first.posteriors(i), after = looking.posteriors(i);
      const std::span<const uint16_t> open = view.open_candidates(i);
      const auto parts = view.parts(words[i].candidates, open);
      for (const std::vector<uint32_t>& of_tag : parts)
        EXPECT_TRUE(open.size() != 2 || of_tag.size() == 1u + splits);  // the x of A and B tells nothing
      double total = 0.0, left = 0.0;
      std::vector<double> expected(before.begin(), before.end());
      for (size_t k = 0; k < open.size(); ++k) {
        double sum = 0.0;
        for (const uint32_t part : parts[k])
          for (const uint32_t f : view.features(i)) sum += weights.table[place_of(f, part, 12)] / 64.0;
        left += before[open[k]];
        total += expected[open[k]] = before[open[k]] * std::exp(sum);
      }
      for (const uint16_t k : open) expected[k] *= left / total;
      ASSERT_EQ(after.size(), before.size());
      for (size_t k = 0; k < after.size(); ++k) EXPECT_NEAR(after[k], expected[k], 1e-12) << i;
      changed += looking.chosen(i).tag != first.chosen(i).tag;
    }
    EXPECT_GT(changed, 0);
  }
}

// A text that is settled piece by piece gets what it would get at once, as long as enough of it waits.
TEST(SecondLook, GoesOnBehindWhatWasSettled) {
  const Model model = model_with(random_weights(2, false));
  Tagger whole(model, by_word()), pieces(model, by_word());
  whole.tag(Text);
  std::string expected, got;
  for (size_t i = 0; i < Text.size(); ++i) expected += std::to_string(whole.chosen(i).tag);
  for (size_t first = 0; first < Text.size(); first += 2) {
    pieces.tag(std::span(Text).subspan(first));
    for (size_t i = 0; i < 2; ++i) got += std::to_string(pieces.chosen(i).tag);
    pieces.settle(2);
  }
  EXPECT_EQ(got, expected);
  pieces.end_sentence();
  pieces.tag(Text);
  EXPECT_EQ(pieces.posteriors(0)[0], whole.posteriors(0)[0]);
}

gold_sentence_t sentence(std::vector<std::string_view> forms, std::vector<std::string_view> tags) {
  return {std::move(forms), std::move(tags)};
}

// One word, by the formula: the gradient of an open tag is its probability, less 1 for the right one.
TEST(SecondLookLearner, MovesAgainstTheGradient) {
  const Model model = file_without_opinion().model();
  SecondLookLearner learner(10, false);
  const std::vector<gold_sentence_t> sentences = {sentence({"w"}, {"B|x"})};
  learner.learn(model, sentences);
  const second_look_weights_t weights = learner.weights();
  const double step_of_a = -0.1 * 0.6 / std::sqrt(0.36 + 0.01),
               step_of_b = 0.1 * 0.6 / std::sqrt(0.36 + 0.01);
  Tagger tagger(model, by_word());
  const std::string_view form[] = {"w"};
  tagger.tag(form);
  SecondLookView view(ModelAccess::tables(model), false);
  const Candidates::word_t words[] = {{tagger.candidates(0), 0}};
  view.see(form, words, tagger.posteriors(0));
  const auto parts = view.parts(words[0].candidates, view.open_candidates(0));
  for (const uint32_t f : view.features(0)) {
    EXPECT_EQ(weights.table[place_of(f, parts[0][0], 12)], std::lround(step_of_a * 64));
    EXPECT_EQ(weights.table[place_of(f, parts[1][0], 12)], std::lround(step_of_b * 64));
  }
  EXPECT_EQ(count_if(weights.table.begin(), weights.table.end(), [](int8_t w) { return w != 0; }),
            static_cast<std::ptrdiff_t>(2 * view.features(0).size()));
}

// The next word tells the tag of w, which nothing in the first pass can know; v is A in seven of ten places, whatever is
// around, and its probability says so.
TEST(SecondLookLearner, LearnsFromTheWordsAroundAndHowSureItMayBe) {
  Model model = file_without_opinion().model();
  std::mt19937 random(3);
  const auto make = [&](int count) {
    std::vector<gold_sentence_t> sentences;
    for (int i = 0; i < count; ++i) {
      const bool is_a = random() % 2;
      sentences.push_back(
          sentence({"w", is_a ? "x" : "y", "v", "."},
                   {is_a ? "A|x" : "B|x", "SENT", random() % 10 < 7 ? "A|x" : "B|x", "SENT"}));
    }
    return sentences;
  };
  SecondLookLearner learner(20000, false);
  learner.learn(model, make(4000));
  ModelAccess::tables(model).extras.weights = learner.weights();
  Tagger tagger(model, by_word());
  double sum = 0.0;
  int right = 0;
  for (const gold_sentence_t& s : make(200)) {
    tagger.tag(s.forms);
    right += model.Tag(tagger.chosen(0).tag) == s.tags[0];
    const candidates_t candidates = tagger.candidates(2);
    for (size_t k = 0; k < candidates.size(); ++k)
      if (candidates[k].tag == 0) sum += tagger.posteriors(2)[k];
    tagger.end_sentence();
  }
  EXPECT_EQ(right, 200);
  EXPECT_NEAR(sum / 200, 0.7, 0.06);
}

TEST(SecondLookWeights, AreReadAsTheyWereWritten) {
  second_look_weights_t weights = random_weights(5, true);
  weights.temperature = 20;
  const second_look_weights_t again(weights.section());
  EXPECT_EQ(again.table, weights.table);
  EXPECT_TRUE(again.splits_tags && again.temperature == 20);
  for (const std::string& bad : {std::string(), std::string("\0\x10", 2), std::string("\2\x10\1\1", 4),
                                 std::string("\0\0\1\1", 4), std::string("\0\x10\1\1\1", 5)})
    EXPECT_ERROR(second_look_weights_t{bad}, "in model file: weights of the second look");
}

}  // namespace
}  // namespace orvelle
