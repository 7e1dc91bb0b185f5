// SPDX-License-Identifier: MIT
// The second look: what its weights do to the probabilities, against sums formed one by one; and what is learned.
#include "tagger/second_look.h"

#include <gtest/gtest.h>

#include <array>
#include <cmath>
#include <map>
#include <random>

#include "commands/learn_second_look.h"
#include "sample_file.h"
#include "tagger/first_pass.h"

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

// The first pass and the view of a text.
struct seen_text_t {
  seen_text_t(const Model& model, std::span<const std::string_view> forms, bool splits_tags = false)
      : tables(ModelAccess::tables(model)),
        first(tables, {Candidates::Width::Wide, false, {}}, 32),
        view(tables, splits_tags) {
    first.find(forms);
    first.posteriors(posteriors);
    view.see(first.words(), posteriors);
  }
  const Tables& tables;
  FirstPass first;
  SecondLookView view;
  std::vector<double> posteriors;
};

// The formula, with both rounds in full.
std::vector<double> look_slowly(seen_text_t& text, const second_look_weights_t& weights) {
  std::vector<double> result = text.posteriors;
  for (int round = 0; round < 2; ++round) {
    size_t start = 0;
    for (size_t i = 0; i < text.first.words().size(); start += text.first.words()[i++].candidates.size()) {
      const Candidates::word_t& word = text.first.words()[i];
      const std::span<const uint16_t> open = text.view.open_candidates(i);
      if (open.size() < 2) continue;
      const open_parts_t parts = text.view.parts(word, open);
      double total = 0.0, left = 0.0;
      size_t best = open[0];
      for (size_t k = 0; k < open.size(); ++k) {
        const double p = text.posteriors[start + open[k]];
        double score = weights.scale / 64.0 * std::log(p);
        for (const uint32_t part : parts.of(k))
          for (const uint32_t f : text.view.features(i))
            score += weights.table[place_of(f, parts.hashes[part], 12)] / 64.0;
        left += p;
        total += result[start + open[k]] = std::exp(score);
        if (result[start + open[k]] > result[start + best]) best = open[k];
      }
      for (const uint16_t k : open) result[start + k] *= left / total;
      text.view.take(i, word.candidates[best]);
    }
  }
  return result;
}

TEST(SecondLook, DoesWhatTheFormulaSays) {
  std::mt19937 random(7);
  constexpr std::string_view Forms[] = {"w", "v", ".", "x", "Word-7", "W"};
  std::vector<std::string_view> forms;
  for (int i = 0; i < 500; ++i) forms.push_back(Forms[random() % std::size(Forms)]);
  for (const bool splits : {false, true}) {
    second_look_weights_t weights = random_weights(1, splits);
    weights.scale = 40;
    const Model model = model_with(weights);
    seen_text_t text(model, forms, splits);
    SecondLook looking(text.tables);
    std::vector<double> got = text.posteriors;
    looking.look(text.first.words(), got);
    const std::vector<double> expected = look_slowly(text, weights);
    ASSERT_EQ(got.size(), expected.size());
    int changed = 0;
    for (size_t i = 0; i < got.size(); ++i) {
      EXPECT_NEAR(got[i], expected[i], 1e-12) << i;
      changed += std::abs(got[i] - text.posteriors[i]) > 0.1;
    }
    EXPECT_GT(changed, 100);
  }
}

// The tags A|x and B|x of w have a part in common, which tells nothing; B|x is not listed.
TEST(SecondLookView, KnowsThePartsOfTags) {
  const Model model = file_without_opinion().model();
  const std::string_view form[] = {"w"};
  seen_text_t text(model, form, true);
  Candidates::word_t word = text.first.words()[0];
  const uint16_t open[] = {0, 1};
  word.listed = 1;
  const open_parts_t& parts = text.view.parts(word, open);
  EXPECT_EQ(parts.of(0).size(), 2u);
  EXPECT_EQ(parts.of(1).size(), 3u);
  EXPECT_EQ(parts.hashes.size(), 5u);
}

// A text that is settled piece by piece gets what it would get at once, as long as enough of it waits.
TEST(SecondLook, GoesOnBehindWhatWasSettled) {
  const Model model = model_with(random_weights(2, false));
  Tagger whole(model, by_word()), pieces(model, by_word());
  whole.tag(Text, true);
  std::string expected, got;
  for (size_t i = 0; i < Text.size(); ++i) expected += std::to_string(whole.chosen(i).tag);
  for (size_t first = 0; first < Text.size(); first += 2) {
    pieces.tag(std::span(Text).subspan(first));
    for (size_t i = 0; i < 2; ++i) got += std::to_string(pieces.chosen(i).tag);
    pieces.settle(2);
  }
  EXPECT_EQ(got, expected);
  pieces.end_sentence();
  pieces.tag(Text, true);
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
  const std::string_view form[] = {"w"};
  seen_text_t text(model, form);
  const open_parts_t& parts = text.view.parts(text.first.words()[0], text.view.open_candidates(0));
  const double p = text.posteriors[0], gradient = p, scale_gradient = p * std::log(p / (1.0 - p));
  const double step = 0.1 * gradient / std::sqrt(gradient * gradient + 0.01);
  for (const uint32_t f : text.view.features(0)) {
    EXPECT_EQ(weights.table[place_of(f, parts.hashes[0], 12)], std::lround(-step * 64));
    EXPECT_EQ(weights.table[place_of(f, parts.hashes[1], 12)], std::lround(step * 64));
  }
  EXPECT_EQ(count_if(weights.table.begin(), weights.table.end(), [](int8_t w) { return w != 0; }),
            static_cast<std::ptrdiff_t>(2 * text.view.features(0).size()));
  EXPECT_EQ(weights.scale,
            std::lround(64 - 6.4 * scale_gradient / std::sqrt(1 + scale_gradient * scale_gradient)));
}

// The learner done slowly: the gradients are differences of the loss. For sentences of one fold and tags with parts.
class SlowLearner {
 public:
  explicit SlowLearner(const Model& model) : model_(model) {}

  void learn(const gold_sentence_t& sentence) {
    seen_text_t text(model_, sentence.forms, true);
    for (const bool learns : {false, true})
      for (size_t i = 0, start = 0; i < sentence.forms.size();
           start += text.first.words()[i++].candidates.size())
        look_at(text, i, &text.posteriors[start], learns ? model_.find_tag(sentence.tags[i]) : -1);
  }

  std::map<uint32_t, double> weights;  // by place
  double scale = 1.0;

 private:
  using scores_t = std::vector<double>;

  static double loss(const scores_t& scores, size_t gold) {
    double sum = 0.0;
    for (const double score : scores) sum += std::exp(score - scores[gold]);
    return std::log(sum);
  }

  static double gradient(scores_t scores, size_t gold, const scores_t& direction) {
    constexpr double Little = 1e-5;
    scores_t before = scores;
    for (size_t k = 0; k < scores.size(); ++k) {
      scores[k] += Little * direction[k];
      before[k] -= Little * direction[k];
    }
    return (loss(scores, gold) - loss(before, gold)) / (2 * Little);
  }

  void look_at(seen_text_t& text, size_t i, const double* posteriors, int32_t gold_tag) {
    const std::span<const uint16_t> open = text.view.open_candidates(i);
    if (open.size() < 2) return;
    const Candidates::word_t& word = text.first.words()[i];
    const open_parts_t parts = text.view.parts(word, open);
    const std::span<const uint32_t> features = text.view.features(i);
    scores_t logarithms, scores;
    std::vector<scores_t> tags_of(parts.hashes.size(),
                                  scores_t(open.size()));  // 1 for those that have the part
    size_t gold = open.size();
    for (size_t k = 0; k < open.size(); ++k) {
      logarithms.push_back(std::log(posteriors[open[k]]));
      scores.push_back(scale * logarithms[k]);
      for (const uint32_t part : parts.of(k)) {
        tags_of[part][k] = 1.0;
        for (const uint32_t f : features) scores[k] += weights[place_of(f, parts.hashes[part], 12)];
      }
      if (word.candidates[open[k]].tag == gold_tag) gold = k;
    }
    const size_t best = static_cast<size_t>(std::ranges::max_element(scores) - scores.begin());
    text.view.take(i, word.candidates[open[best]]);
    if (gold == open.size()) return;
    for (size_t part = 0; part < tags_of.size(); ++part) {
      scores_t shares = tags_of[part];
      for (size_t k = 0; k < shares.size(); ++k) shares[k] /= static_cast<double>(parts.of(k).size());
      const double g = gradient(scores, gold, tags_of[part]);
      if (std::abs(g) < 1e-3) continue;
      for (const uint32_t f : features) {
        const uint32_t place = place_of(f, parts.hashes[part], 12);
        weights[place] -= 0.1 * gradient(scores, gold, shares) / std::sqrt((squares_[place] += g * g) + 0.01);
      }
    }
    const double g = gradient(scores, gold, logarithms);
    scale -= 0.1 * g / std::sqrt(scale_squares_ += g * g);
  }

  const Model& model_;
  std::map<uint32_t, double> squares_;
  double scale_squares_ = 1.0;
};

TEST(SecondLookLearner, DoesWhatASlowOneDoes) {
  sample_file_t file = file_without_opinion();
  file.sent_tag = 3;
  file.tags = {"A|x", "B|x", "C|y", "SENT"};
  file.factors = {2, 2, 2, 2};
  file.set_words({sample_entry(".", {{3, 1.F}}, 100), sample_entry("v", {{0, .5F}, {1, .3F}, {2, .2F}}, 100),
                  sample_entry("w", {{0, .6F}, {2, .4F}}, 100)});
  file.nodes = raw(1, 4, 9u, 0, .25, 1, .25, 2, .25, 3, .25);
  const Model model = file.model();
  std::mt19937 random(11);
  std::vector<gold_sentence_t> sentences;
  for (int i = 0; i < 60; ++i) {
    gold_sentence_t& sentence = sentences.emplace_back();
    for (int words = 6; words > 0; --words) {
      const bool is_w = random() % 2;
      sentence.forms.push_back(is_w ? "w" : "v");
      sentence.tags.push_back(is_w ? "A|x" : std::array{"A|x", "B|x", "C|y"}[random() % 3]);
    }
  }
  SecondLookLearner learner(10, true);
  SlowLearner slow(model);
  learner.learn(model, sentences);
  for (const gold_sentence_t& sentence : sentences) slow.learn(sentence);
  const second_look_weights_t weights = learner.weights();
  int moved = 0;
  for (uint32_t place = 0; place < weights.table.size(); ++place) {
    EXPECT_NEAR(weights.table[place], slow.weights[place] * 64, 1.0) << place;
    moved += std::abs(weights.table[place]) > 2;
  }
  EXPECT_GT(moved, 50);
  EXPECT_NEAR(weights.scale, slow.scale * 64, 1.0);
}

// What a sentence that never ends is learned like.
TEST(SecondLookLearner, LearnsLongSentencesInPieces) {
  const Model model = file_without_opinion().model();
  const auto words = [](size_t count) {
    return gold_sentence_t{std::vector<std::string_view>(count, "w"),
                           std::vector<std::string_view>(count, "B|x")};
  };
  SecondLookLearner whole(10, false), pieces(10, false);
  whole.learn(model, std::array{words(2 * Tagger::Longest_Piece + 3)});
  pieces.learn(model, std::array{words(Tagger::Longest_Piece), words(Tagger::Longest_Piece), words(3)});
  EXPECT_EQ(whole.weights().table, pieces.weights().table);
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
    tagger.tag(s.forms, true);
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
  weights.scale = 30;
  const second_look_weights_t again(weights.section());
  EXPECT_EQ(again.table, weights.table);
  EXPECT_TRUE(again.splits_tags && again.temperature == 20 && again.scale == 30);
  for (const std::string& bad : {std::string(), std::string("\0\x10\1", 3), std::string("\2\x10\1\1\1", 5),
                                 std::string("\0\0\1\1\1", 5), std::string("\0\x10\1\1\1\1", 6)})
    EXPECT_ERROR(second_look_weights_t{bad}, "in model file: weights of the second look");
}

}  // namespace
}  // namespace orvelle
