// SPDX-License-Identifier: MIT
#include "commands/learn_second_look.h"

#include <orvelle/tagger.h>

#include <algorithm>
#include <bit>
#include <cmath>
#include <numeric>
#include <random>
#include <utility>

#include "model/tables.h"
#include "support/string_table.h"
#include "tagger/second_look.h"
#include "training/train.h"

namespace orvelle {

namespace {

constexpr double Rate = 0.1;
constexpr double Least_Square = 0.01;     // under the root, so that the first steps are not too large
constexpr double Least_Gradient = 1e-3;   // smaller ones cost time and change nothing
constexpr size_t Least_Temperature = 12;  // sixteenths
constexpr double Least_Probability = 1e-6;
constexpr size_t Judged_Share = 8;  // one word in so many is enough
constexpr size_t Cells_a_Word = 4;
constexpr size_t Least_Cells = 1 << 12, Most_Cells = 1 << 21;

}  // namespace

SecondLookLearner::SecondLookLearner(size_t words, bool splits_tags)
    : bits_(std::countr_zero(std::bit_ceil(std::clamp(Cells_a_Word * words, Least_Cells, Most_Cells)))),
      splits_tags_(splits_tags),
      cells_(size_t{1} << bits_) {}

// Where the right tag is not left open, there is nothing to be learned but how sure one may be.
void SecondLookLearner::learn(const Model& model, std::span<const gold_sentence_t> sentences) {
  tagger_options_t options;
  options.choice = tagger_options_t::Choice::Word;
  options.warn = {};
  Tagger tagger(model, options);
  SecondLookView view(ModelAccess::tables(model), splits_tags_);
  std::vector<Candidates::word_t> words;
  StringTable forms;
  std::vector<double> posteriors, open_posteriors;
  for (const gold_sentence_t& sentence : sentences) {
    tagger.tag(sentence.forms, true);
    words.clear();
    posteriors.clear();
    for (size_t i = 0; i < sentence.forms.size(); ++i) {
      words.push_back({tagger.candidates(i), forms.number(sentence.forms[i])});
      const std::span<const double> p = tagger.posteriors(i);
      posteriors.insert(posteriors.end(), p.begin(), p.end());
    }
    view.see(sentence.forms, words, posteriors);
    double* of_word = posteriors.data();
    for (size_t i = 0; i < words.size(); of_word += words[i++].candidates.size()) {
      const int32_t gold = model.find_tag(sentence.tags[i]);
      const candidates_t candidates = words[i].candidates;
      const auto right = std::find_if(candidates.begin(), candidates.end(),
                                      [gold](const candidate_t& candidate) { return candidate.tag == gold; });
      if (right == candidates.end()) continue;
      const auto gold_place = static_cast<size_t>(right - candidates.begin());
      const std::span<const uint16_t> open = view.open_candidates(i);
      const auto open_place =
          static_cast<size_t>(std::find(open.begin(), open.end(), gold_place) - open.begin());
      if (open.size() > 1) {
        const std::span<const uint32_t> features = view.features(i);
        const auto parts = view.parts(candidates, open);
        open_posteriors.clear();
        for (const uint16_t k : open) open_posteriors.push_back(of_word[k]);
        find_scores(features, parts, open_posteriors);
        if (open_place < open.size()) learn_word(features, parts, open_place);
        const double left = std::accumulate(open_posteriors.begin(), open_posteriors.end(), 0.0);
        for (size_t k = 0; k < open.size(); ++k) of_word[open[k]] = left * scores_[k];
      }
      if (++seen_ % Judged_Share == 0) judge({of_word, candidates.size()}, gold_place);
    }
    tagger.end_sentence();
    view.end_sentence();
  }
}

// The probabilities of the open tags by the weights so far.
void SecondLookLearner::find_scores(std::span<const uint32_t> features,
                                    std::span<const std::vector<uint32_t>> parts,
                                    std::span<const double> probabilities) {
  scores_.clear();
  for (size_t i = 0; i < parts.size(); ++i) {
    double score = std::log(probabilities[i]);
    for (const uint32_t part : parts[i])
      for (const uint32_t f : features) score += cells_[place_of(f, part, bits_)].weight;
    scores_.push_back(score);
  }
  const double largest = *std::max_element(scores_.begin(), scores_.end());
  double total = 0.0;
  for (double& score : scores_) total += score = std::exp(score - largest);
  for (double& score : scores_) score /= total;
}

void SecondLookLearner::learn_word(std::span<const uint32_t> features,
                                   std::span<const std::vector<uint32_t>> parts, size_t gold) {
  for (size_t i = 0; i < parts.size(); ++i) {
    const double gradient = scores_[i] - (i == gold ? 1.0 : 0.0);
    if (std::abs(gradient) < Least_Gradient) continue;
    for (const uint32_t part : parts[i])
      for (const uint32_t f : features) {
        cell_t& cell = cells_[place_of(f, part, bits_)];
        cell.squares += static_cast<float>(gradient * gradient);
        cell.weight -= static_cast<float>(Rate * gradient / std::sqrt(cell.squares + Least_Square));
      }
  }
}

// How surprised each temperature is; the word was not learned when its probabilities were found, so they are honest.
void SecondLookLearner::judge(std::span<const double> probabilities, size_t gold) {
  for (size_t t = 0; t < Temperatures; ++t) {
    tempered_.assign(probabilities.begin(), probabilities.end());
    temper(tempered_, 16.0 / static_cast<double>(Least_Temperature + t));
    losses_[t] -= std::log(std::max(tempered_[gold], Least_Probability));
  }
}

second_look_weights_t SecondLookLearner::weights() const {
  second_look_weights_t result;
  result.splits_tags = splits_tags_;
  const auto best = std::min_element(losses_.begin(), losses_.end()) - losses_.begin();
  result.temperature = static_cast<uint8_t>(Least_Temperature + static_cast<size_t>(best));
  for (const cell_t& cell : cells_) {
    const double steps = std::round(cell.weight / second_look_weights_t::Step);
    result.table.push_back(static_cast<int8_t>(std::clamp(steps, -127.0, 127.0)));
  }
  return result;
}

second_look_weights_t learn_second_look(size_t words, bool splits_tags, const Settings& settings,
                                        const std::function<unseen_fold_t(size_t fold)>& make_fold) {
  SecondLookLearner learner(words, splits_tags);
  std::mt19937 random(1);
  for (size_t fold = 0; fold < Second_Look_Folds; ++fold) {
    unseen_fold_t unseen = make_fold(fold);
    std::vector<gold_sentence_t>& sentences = unseen.sentences;
    for (size_t i = sentences.size(); i > 1; --i) std::swap(sentences[i - 1], sentences[random() % i]);
    learner.learn(make_model(train(unseen.texts.inputs(), settings, {}, {})), sentences);
  }
  return learner.weights();
}

}  // namespace orvelle
