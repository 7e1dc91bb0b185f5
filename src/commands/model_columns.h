// SPDX-License-Identifier: MIT
// What a model says of a word in the columns of CoNLL-U.
#pragma once

#include <orvelle/model.h>
#include <orvelle/tagger.h>

#include <map>
#include <string>
#include <string_view>

#include "commands/conllu.h"

namespace orvelle {

class ModelColumns {
 public:
  // `unknown_lemma`: of words for which the lexicon has none; null for what the model's rules say. Both must outlive the
  // object.
  ModelColumns(const Model& model, const char* unknown_lemma);

  // The column that the tags are of: what the model says, or else Xpos; unless it is set.
  tag_column_t column() const { return column_; }
  void set_column(tag_column_t column) { column_ = column; }

  // The tag as the treebank has it in that column.
  std::string_view tag(const candidate_t& candidate, std::string_view form) const;

  // The lemma of a word with that candidate. Numbers have no lemma of their own here: theirs is the form. Valid until:
  // the next call. It has no CR.
  std::string_view lemma(const candidate_t& candidate, std::string_view form);
  // The same, but for numbers the lemma that stands for all of them.
  std::string_view lexicon_lemma(const candidate_t& candidate, std::string_view form);

  // Asks the memory for a lemma that will be wanted soon.
  void prefetch_lemma(const candidate_t& candidate) const {
    if (candidate.lemma != No_Lemma) __builtin_prefetch(model_.Lemma(candidate.lemma));
  }

  // Puts the tag into its column or columns, and the lemma, if asked for. Valid until: the next call.
  void fill(conllu_line_t& line, const candidate_t& candidate, bool with_lemma);

 private:
  std::string_view on_one_line(std::string_view lemma);
  std::string_view guessed_lemma(std::string_view form, int32_t tag);

  const Model& model_;
  const char* unknown_lemma_;
  tag_column_t column_ = tag_column_t::Xpos;
  std::string features_, key_, line_lemma_;
  std::map<std::string, std::string> guessed_;  // lemmas by form and tag
};

}  // namespace orvelle
