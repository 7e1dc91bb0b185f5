// SPDX-License-Identifier: MIT
// Trials of training settings: each trains on all folds of a corpus but one and tags that one.
//
//   corpus       sentences 1 to 100   101 to 200   201 to 300
//   fold                0                 1            2
//
//   fold 0       train on folds 1 and 2, tag fold 0, and so on
//
// A fold is one stretch of the corpus, so that few of its documents are in the training as well, as with new text. On
// English web text (UD English-EWT) that promises 93.2% where the dev and test files give 92.7 and 93.4; twenty shorter
// stretches a fold 93.9, random sentences 94.5.
//
// The files are read once; a trial makes the text of its corpus from them, and all that it makes is gone when it ends.
#pragma once

#include <cstdint>
#include <functional>
#include <string>
#include <string_view>
#include <unordered_set>
#include <vector>

#include "commands/evaluation.h"
#include "commands/learn_second_look.h"
#include "commands/remarks.h"
#include "commands/training_texts.h"
#include "support/string_table.h"
#include "training/settings.h"

namespace orvelle {

// How to train and how to tag.
struct choice_t {
  Settings settings;
  tagger_options_t::Choice decoding = tagger_options_t::Choice::Path;

  bool operator==(const choice_t&) const = default;
};

// What the trials of one choice came to.
struct trial_t {
  choice_t choice;
  score_t all;
  score_t known;
  score_t unknown;
  std::vector<double> accuracy;  // by fold
  std::string failure;           // what the first training that failed said
};

class Folds {
 public:
  // Reads the three files and makes the folds. A word form loses in the lexicon of a fold's training what only the
  // held-out sentences know: its tags that are seen there and nowhere else. What the corpus never shows stays, as do
  // the last word form of a tag that the training needs. Texts that cannot be used are a Failure. They must outlive the
  // object.
  enum class Dealing { Stretches, Blocks };  // one stretch each, or those of a second look
  // Another `seed`, other stretches.
  Folds(const training_texts_t& texts, std::string_view sentence_tag, size_t folds, Dealing dealing,
        uint64_t seed = 1);

  // One fold: trains on all of the texts and tags the corpus `dev`.
  Folds(const training_texts_t& texts, std::string_view sentence_tag, const training_text_t& dev);

  size_t size() const { return folds_.size(); }
  size_t sentences() const { return sentences_.size(); }
  size_t tokens() const { return tokens_.size(); }
  // A trial tags one sentence in so many; of a large corpus that tells enough, and tagging is most of the work.
  size_t tagged_share() const { return tagged_share_; }

  // What a fold is trained on, and its own sentences.
  unseen_fold_t unseen_fold(size_t fold) const;

  // Runs the trials in `jobs` threads and fills in what they came to; `take` gets each as it is done, in their order.
  // Begins no more when `is_over()`, and returns false then: a trial that was not done has fewer results than folds.
  bool run(std::vector<trial_t>& trials, size_t jobs, ProgressLine& progress,
           const std::function<void(const trial_t&)>& take, const std::function<bool()>& is_over) const;

 private:
  struct token_t {
    int form, tag;  // numbers in strings_
  };
  struct reading_t {
    int form, tag, lemma;
    int64_t line;
  };
  struct sentence_t {
    size_t first, end;  // tokens
    size_t fold;
  };
  using string_set_t = std::unordered_set<std::string_view>;
  struct fold_t {  // what its training reads beside the corpus
    std::string lexicon;
    string_set_t tags;  // of the lexicon
    std::string open_classes;
  };

  void read_lexicon();
  void read_corpus(const training_text_t& corpus);
  void deal_out(Dealing dealing, uint64_t seed);
  void make_lexicons();
  std::string training_corpus(size_t fold) const;
  evaluation_t try_out(size_t fold, const choice_t& choice) const;

  const training_texts_t& texts_;
  StringTable strings_;
  int sentence_tag_;
  std::vector<reading_t> readings_;  // of the lexicon, in the order of the file
  std::vector<token_t> tokens_;
  std::vector<sentence_t> sentences_;
  std::vector<fold_t> folds_;
  size_t tagged_share_ = 1;
};

}  // namespace orvelle
