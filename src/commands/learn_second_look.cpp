// SPDX-License-Identifier: MIT
#include "commands/learn_second_look.h"

#include <orvelle/tagger.h>

#include <algorithm>
#include <bit>
#include <cmath>
#include <memory>
#include <utility>

#include "model/tables.h"
#include "tagger/first_pass.h"
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
constexpr size_t Least_Cells = 1 << 12, Most_Cells = 1 << 22;

}  // namespace

SecondLookLearner::SecondLookLearner(size_t words, bool splits_tags)
    : bits_(std::countr_zero(std::bit_ceil(std::clamp(Cells_a_Word * words, Least_Cells, Most_Cells)))),
      splits_tags_(splits_tags),
      cells_(size_t{1} << bits_) {}

void SecondLookLearner::learn(const Model& model, std::span<const gold_sentence_t> sentences) {
  const Tables& tables = ModelAccess::tables(model);
  FirstPass first(tables, {Candidates::Width::Wide, false, {}}, tagger_options_t().beam);
  SecondLookView view(tables, splits_tags_);
  std::vector<double> posteriors;
  std::vector<int32_t> gold;
  const auto learn_piece = [&](std::span<const std::string_view> forms,
                               std::span<const std::string_view> tags) {
    first.find(forms);
    posteriors.clear();
    first.posteriors(posteriors);
    view.see(first.words(), posteriors);
    gold.clear();
    for (const std::string_view tag : tags) gold.push_back(model.find_tag(tag));
    learn_sentence(view, first.words(), gold, posteriors);
    view.end_sentence();
  };
  // Like tagging, learning takes no more memory for a sentence that never ends.
  for (const gold_sentence_t& sentence : sentences)
    for (size_t start = 0; start < sentence.forms.size(); start += Tagger::Longest_Piece) {
      const size_t words = std::min(Tagger::Longest_Piece, sentence.forms.size() - start);
      learn_piece(std::span(sentence.forms).subspan(start, words),
                  std::span(sentence.tags).subspan(start, words));
    }
}

void SecondLookLearner::learn_shuffled(const Model& model, std::vector<gold_sentence_t> sentences) {
  for (size_t i = sentences.size(); i > 1; --i) std::swap(sentences[i - 1], sentences[random_() % i]);
  learn(model, sentences);
}

// In two rounds, as a text is tagged; the second one learns. Where the right tag is not left open, there is nothing to be
// learned but how sure one may be.
void SecondLookLearner::learn_sentence(SecondLookView& view, std::span<const Candidates::word_t> words,
                                       std::span<const int32_t> gold, std::span<double> posteriors) {
  for (const bool learns : {false, true}) {
    double* of_word = posteriors.data();
    for (size_t i = 0; i < words.size(); of_word += words[i++].candidates.size()) {
      look_at(view, i, words[i], of_word);
      if (!learns) continue;
      const candidates_t candidates = words[i].candidates;
      const auto right = std::ranges::find(candidates, gold[i], &candidate_t::tag);
      if (right == candidates.end()) continue;
      const auto place = static_cast<size_t>(right - candidates.begin());
      const std::span<const uint16_t> open = view.open_candidates(i);
      if (open.size() > 1) {
        const auto open_place = static_cast<size_t>(std::ranges::find(open, place) - open.begin());
        if (open_place < open.size()) learn_word(open_place);
        double left = 0.0;
        for (const uint16_t k : open) left += of_word[k];
        for (size_t k = 0; k < open.size(); ++k) of_word[open[k]] = left * scores_[k];
      }
      if (++seen_ % Judged_Share == 0) judge({of_word, candidates.size()}, place);
    }
  }
}

// Finds the probabilities of the open tags by the weights so far, and takes the best.
void SecondLookLearner::look_at(SecondLookView& view, size_t word, const Candidates::word_t& found,
                                const double* posteriors) {
  const std::span<const uint16_t> open = view.open_candidates(word);
  if (open.size() < 2) return;
  parts_ = &view.parts(found, open);
  find_places(view.features(word), parts_->hashes);
  scores_.clear();
  logarithms_.clear();
  for (size_t i = 0; i < open.size(); ++i) {
    logarithms_.push_back(std::log(posteriors[open[i]]));
    double score = scale_ * logarithms_.back();
    for (const uint32_t part : parts_->of(i)) score += part_sums_[part].weight;
    scores_.push_back(score);
  }
  const auto best = std::ranges::max_element(scores_);
  const double largest = *best;
  view.take(word, found.candidates[open[static_cast<size_t>(best - scores_.begin())]]);
  double total = 0.0;
  for (double& score : scores_) total += score = std::exp(score - largest);
  for (double& score : scores_) score /= total;
}

void SecondLookLearner::find_places(std::span<const uint32_t> features, std::span<const uint32_t> parts) {
  places_.clear();
  for (const uint32_t part : parts)
    for (const uint32_t f : features) {
      places_.push_back(place_of(f, part, bits_));
      __builtin_prefetch(&cells_[places_.back()], 1);
    }
  part_sums_.assign(parts.size(), {});
  for (size_t i = 0; i < places_.size(); ++i)
    part_sums_[i / features.size()].weight += cells_[places_[i]].weight;
}

// A tag of many parts would move as many times as far: the step is divided among them.
void SecondLookLearner::learn_word(size_t gold) {
  for (size_t i = 0; i < scores_.size(); ++i) {
    const double gradient = scores_[i] - (i == gold ? 1.0 : 0.0);
    const std::span<const uint32_t> its_parts = parts_->of(i);
    for (const uint32_t part : its_parts) {
      part_sums_[part].gradient += gradient;
      part_sums_[part].step += Rate * gradient / static_cast<double>(its_parts.size());
    }
  }
  const size_t features = places_.size() / part_sums_.size();
  for (size_t part = 0; part < part_sums_.size(); ++part) {
    const auto [weight, gradient, step] = part_sums_[part];
    if (std::abs(gradient) < Least_Gradient) continue;
    for (const uint32_t place : std::span(places_).subspan(part * features, features)) {
      cell_t& cell = cells_[place];
      cell.squares += static_cast<float>(gradient * gradient);
      cell.weight -= static_cast<float>(step / std::sqrt(cell.squares + Least_Square));
    }
  }
  learn_scale(gold);
}

void SecondLookLearner::learn_scale(size_t gold) {
  double gradient = -logarithms_[gold];
  for (size_t i = 0; i < scores_.size(); ++i) gradient += scores_[i] * logarithms_[i];
  scale_squares_ += gradient * gradient;
  scale_ -= Rate * gradient / std::sqrt(scale_squares_);
}

// How surprised each temperature is; the word was not learned when its probabilities were found, so they are honest.
void SecondLookLearner::judge(std::span<const double> probabilities, size_t gold) {
  if (probabilities.size() < 2) return;
  logarithms_.clear();
  for (const double p : probabilities) logarithms_.push_back(std::log(p));
  for (size_t t = 0; t < Temperatures; ++t) {
    const double power = 16.0 / static_cast<double>(Least_Temperature + t);
    double sum = 0.0;
    for (const double logarithm : logarithms_) sum += std::exp(power * logarithm);
    losses_[t] -= std::max(power * logarithms_[gold] - std::log(sum), std::log(Least_Probability));
  }
}

second_look_weights_t SecondLookLearner::weights() const {
  second_look_weights_t result;
  result.splits_tags = splits_tags_;
  result.scale =
      static_cast<uint8_t>(std::clamp(std::round(scale_ / second_look_weights_t::Step), 0.0, 255.0));
  const auto best = std::min_element(losses_.begin(), losses_.end()) - losses_.begin();
  result.temperature = static_cast<uint8_t>(Least_Temperature + static_cast<size_t>(best));
  for (const cell_t& cell : cells_) {
    const double steps = std::round(cell.weight / second_look_weights_t::Step);
    result.table.push_back(static_cast<int8_t>(std::clamp(steps, -127.0, 127.0)));
  }
  return result;
}

learned_second_look_t learn_second_look(size_t words, bool splits_tags, const Settings& settings,
                                        const std::function<unseen_fold_t(size_t fold)>& make_fold) {
  SecondLookLearner learner(words, splits_tags);
  learned_second_look_t learned;
  for (size_t fold = 0; fold < Second_Look_Folds; ++fold) {
    unseen_fold_t unseen = make_fold(fold);
    const Model model = make_model(train(unseen.texts.inputs(), settings, {}, {}));
    learner.learn_shuffled(model, std::move(unseen.sentences));
    if (unseen.last.empty()) continue;
    learned.without_last = learner.weights();
    learner.learn_shuffled(model, std::move(unseen.last));
  }
  learned.weights = learner.weights();
  return learned;
}

}  // namespace orvelle
