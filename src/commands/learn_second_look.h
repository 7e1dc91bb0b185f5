// SPDX-License-Identifier: MIT
// The training of a second look (tagger/second_look.h): logistic regression by AdaGrad, one sentence after the other.
#pragma once

#include <orvelle/model.h>

#include <algorithm>
#include <array>
#include <functional>
#include <random>
#include <span>
#include <string_view>
#include <vector>

#include "commands/training_texts.h"
#include "model/second_look_weights.h"
#include "tagger/second_look.h"
#include "training/settings.h"

namespace orvelle {

// A sentence with its gold tags, by their names in the models.
struct gold_sentence_t {
  std::vector<std::string_view> forms, tags;
};

// The folds that the sentences of a text are dealt out to, in blocks of neighbouring sentences, so that a document is
// seldom trained on in one fold and tagged in another: probabilities would promise too much.
inline constexpr size_t Second_Look_Folds = 4;

inline size_t block_of(size_t sentence, size_t sentences) {
  constexpr size_t Longest_Block = 300, Least_Blocks = 40;
  return sentence / std::clamp<size_t>(sentences / Least_Blocks, 1, Longest_Block);
}

inline size_t second_look_fold(size_t sentence, size_t sentences) {
  return block_of(sentence, sentences) % Second_Look_Folds;
}

// A tenth, of the last fold: what was learned before can be measured on it.
inline bool is_learned_last(size_t sentence, size_t sentences) {
  const size_t block = block_of(sentence, sentences) % (5 * Second_Look_Folds);
  return block == Second_Look_Folds - 1 || block == 3 * Second_Look_Folds - 1;
}

class SecondLookLearner {
 public:
  // For about so many words.
  SecondLookLearner(size_t words, bool splits_tags);

  // Learns from sentences that the model was not trained on, in their order, or in one by chance.
  void learn(const Model& model, std::span<const gold_sentence_t> sentences);
  void learn_shuffled(const Model& model, std::vector<gold_sentence_t> sentences);

  second_look_weights_t weights() const;

 private:
  static constexpr size_t Temperatures = 32;

  struct cell_t {
    float weight = 0.0f;
    float squares = 0.0f;  // sum of the squares of its gradients
  };

  void learn_sentence(SecondLookView& view, std::span<const Candidates::word_t> words,
                      std::span<const int32_t> gold, std::span<double> posteriors);
  void look_at(SecondLookView& view, size_t word, const Candidates::word_t& found, const double* posteriors);
  void find_places(std::span<const uint32_t> features, std::span<const uint32_t> parts);
  void learn_word(size_t gold);
  void learn_scale(size_t gold);
  void judge(std::span<const double> probabilities, size_t gold);

  int bits_;
  bool splits_tags_;
  std::vector<cell_t> cells_;
  double scale_ = 1.0;          // of the logarithms of the first pass
  double scale_squares_ = 1.0;  // as in a cell
  // Of the word that was looked at last.
  const open_parts_t* parts_ = nullptr;
  std::vector<uint32_t> places_;  // of its weights in the table, one part behind the other
  struct part_sums_t {
    double weight = 0.0;    // of its places
    double gradient = 0.0;  // of the tags that have it
    double step = 0.0;
  };
  std::vector<part_sums_t> part_sums_;
  std::vector<double> logarithms_;             // of the probabilities before
  std::vector<double> scores_;                 // of the open tags: their probabilities
  std::array<double, Temperatures> losses_{};  // by temperature, from the least on
  size_t seen_ = 0;
  std::mt19937 random_{1};
};

// What a fold is trained on, and the sentences that it does not see.
struct unseen_fold_t {
  training_texts_t texts;
  std::vector<gold_sentence_t> sentences;  // the strings belong to whoever made the fold
  std::vector<gold_sentence_t> last;       // of them, those that are learned last

  std::vector<gold_sentence_t>& of(size_t sentence, size_t count) {
    return is_learned_last(sentence, count) ? last : sentences;
  }
};

struct learned_second_look_t {
  second_look_weights_t weights;
  second_look_weights_t without_last;  // before the last sentences were learned
};

// Learns from folds, each tagged by a model that was trained with the settings on its texts; `make_fold` is called for 0 to
// Second_Look_Folds - 1. `words`: of all of them.
learned_second_look_t learn_second_look(size_t words, bool splits_tags, const Settings& settings,
                                        const std::function<unseen_fold_t(size_t fold)>& make_fold);

}  // namespace orvelle
