// SPDX-License-Identifier: MIT
// The lexicon file: a line holds a word form, a TAB, and pairs of a tag and a lemma (lexicon_line.h).
//
// Three passes make the tagset, the lemma table and the word entries of it. The file itself is read in the first pass
// alone: it numbers tags and lemmas as they come, keeps the lines as pairs of such numbers, and the later passes
// renumber them in sorted order. (Three readings of a file of 66,000 forms and 2,109 tags cost five times as much.)
#pragma once

#include <cstdint>
#include <string>
#include <vector>

#include "lexicon/lemmas.h"
#include "lexicon/lexicon.h"
#include "lexicon/tagset.h"
#include "support/messages.h"
#include "training/input.h"
#include "training/lexicon_line.h"

namespace orvelle {

// A lexicon while it is trained: its entries' arrays can be written. The readings of all entries lie one behind the
// other.
struct TrainingLexicon {
  Tagset tagset;
  LemmaTable lemmas;
  Lexicon lexicon;  // owns the arrays
  int32_t* tags = nullptr;
  int32_t* lemma_numbers = nullptr;
  float* probs = nullptr;
  size_t readings = 0;

  // Where the readings of an entry begin.
  size_t first_reading(const entrydata_t& data) const { return static_cast<size_t>(data.tag - tags); }
};

// Takes the lines of a lexicon file and what is wrong with them, as it is found. This one ends the reading with the
// message that stands for the fault; where a method is overridden and returns, the reading goes on without what was at
// fault.
class LexiconSink {
 public:
  virtual ~LexiconSink() = default;

  // Every line, before its faults.
  virtual void line(int64_t number, const lexicon_line_t& fields);

  virtual void missing_lemma(int64_t line, const char* tag);
  virtual void no_tags(int64_t line, const char* word);
  virtual void too_many_tags(int64_t line, const char* tag);  // the tag is one beyond the limit
  virtual void no_sentence_tag(const char* tag);
  virtual void tag_twice(int64_t line, const char* word, const char* tag);
  virtual void word_twice(int64_t line, int64_t first_line, const char* word);
};

// Reads the whole file: probabilities and frequencies are 0. A file that cannot be opened is "Can't open lexicon
// file: %s\n\n".
TrainingLexicon read_lexicon_file(const Input& input, const std::string& sentence_tag,
                                  const Progress& progress, LexiconSink& sink);

}  // namespace orvelle
