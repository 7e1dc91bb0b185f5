// SPDX-License-Identifier: MIT
// How far the tags given agree with those of a gold corpus.
#pragma once

#include <orvelle/tagger.h>

#include <cstdint>
#include <map>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "commands/model_columns.h"

namespace orvelle {

// Words of one kind, and those of them that got the gold tag.
struct score_t {
  int64_t words = 0;
  int64_t right = 0;

  void count(bool is_right) {
    ++words;
    right += is_right;
  }
  void add(const score_t& other) {
    words += other.words;
    right += other.right;
  }
  double accuracy() const {
    return words > 0 ? static_cast<double>(right) / static_cast<double>(words) : 0.0;
  }
};

// The counts of one tag, by its name: of the model's tagset or of the corpus.
struct tag_score_t {
  int64_t gold = 0;   // words with this gold tag
  int64_t given = 0;  // words that were given this tag
  int64_t right = 0;  // both

  double precision() const { return share(right, given); }
  double recall() const { return share(right, gold); }
  double f1() const { return share(2 * right, gold + given); }

 private:
  static double share(int64_t part, int64_t whole) {
    return whole > 0 ? static_cast<double>(part) / static_cast<double>(whole) : 0.0;
  }
};

struct confusion_t {
  int64_t words = 0;
  std::vector<std::string> examples;  // distinct word forms, the first that were met

  void add_example(const std::string& form);
};

struct evaluation_t {
  score_t all;
  score_t known;  // the lexicon lists the word form
  score_t unknown;
  score_t ambiguous;             // the lexicon lists it with several tags
  score_t sentences;             // right: every word is; as end_sentence ends them
  score_t marked_sentences;      // the same, but each ends at a word with the gold tag of sentence ends
  score_t lemmas;                // of the words that have a gold lemma
  score_t universal, features;   // of tags with features: the universal tag, and the features
  bool has_empty_lines = false;  // for the reader of the corpus to say, as is the next
  int64_t broken_line = 0;       // the first that is not UTF-8 though the model is; 0 for none
  std::map<std::string, tag_score_t, std::less<>> tags;
  std::map<std::pair<std::string, std::string>, confusion_t> confusions;  // by gold tag and given tag
  std::map<std::string, int64_t, std::less<>>
      foreign_tags;  // gold tags that the model does not have, and their words

  // What follows in the corpus. A marked sentence must not go on from one part into the next.
  void add(const evaluation_t& other);
};

// Compares a gold corpus word by word; holds a piece of a sentence at a time.
class Evaluator {
 public:
  // `details`: also the tags, confusions and foreign tags. The model must outlive the evaluator.
  // `column` is where the gold tags of a treebank stand.
  Evaluator(const Model& model, Tagger tagger, bool details, tag_column_t column = tag_column_t::Xpos)
      : model_(model), tagger_(std::move(tagger)), columns_(model, nullptr), details_(details) {
    columns_.set_column(column);
  }

  // A word with its gold tag (the treebank's; where a sentence ends the model's own will do), "" if nobody knows it,
  // and its gold lemma if it has one.
  void add(std::string_view form, std::string_view tag, std::string_view lemma = {});
  void end_sentence();

  evaluation_t take_result() { return std::exchange(result_, {}); }

 private:
  struct token_t {
    std::string form;
    std::string tag;
    std::string lemma;
  };
  void compare(size_t words);
  void compare(const token_t& token, const candidate_t& chosen);
  void compare_parts(std::string_view gold, std::string_view given);
  void count_details(const token_t& token, std::string_view given);

  const Model& model_;
  Tagger tagger_;
  ModelColumns columns_;
  evaluation_t result_;
  bool details_;
  std::vector<token_t> tokens_;
  std::vector<std::string_view> forms_;
  size_t words_of_sentence_ = 0;  // compared already
  bool sentence_is_right_ = true;
  bool marked_sentence_is_right_ = true;
};

}  // namespace orvelle
