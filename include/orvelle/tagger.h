// SPDX-License-Identifier: MIT
// From word forms to tags.
//
//   orvelle::Tagger tagger(model);
//   const std::string_view sentence[] = {"The", "light", "is", "on", "."};
//   tagger.tag(sentence);
//   for (size_t i = 0; i < 5; ++i) std::puts(model.Tag(tagger.chosen(i).tag));
//   tagger.end_sentence();
//
// Each sentence is tagged by itself: the sentence tag stands before its first word, as the end of a sentence before it
// would. Input without ends of sentences is settled piece by piece; the last words of a piece wait for what follows
// them, so that no cut lies next to a word whose tag it could change:
//
//   sentence     ... 1024 words and no end yet ...
//   tag          |------------------------------------------------|
//   settle       |-------------------------------------------|    |    the caller hands these out,
//                                                             `---'    and tags these again with what follows
#pragma once

#include <cstddef>
#include <cstdint>
#include <memory>
#include <span>
#include <string_view>

#include <orvelle/error.h>
#include <orvelle/export.h>
#include <orvelle/model.h>

namespace orvelle {

// A tag that a word may have.
struct candidate_t {
  int32_t tag;
  int32_t lemma;  // lemma number; No_Lemma if the lexicon has none for it
  double score;   // in proportion to the probability of the word form given the tag; above 0
};
inline constexpr int32_t No_Lemma = -1;

// The candidates of a word: at least one, tags distinct.
using candidates_t = std::span<const candidate_t>;

struct tagger_options_t {
  // What is chosen: the tags of the most probable path; or the most probable tag of each word, after a second look if
  // the model has weights for one; or what suits the model, by word for a model file and by path for a parameter file.
  enum class Choice { Path, Word, As_Suits } choice = Choice::As_Suits;
  size_t beam = 32;  // histories that are followed where the model looks at more than two preceding tags
  bool strips_markup =
      false;  // a word form without an entry is taken without the tags in it, "walk" for "walk<br/>"
  Warn warn = warn_on_standard_error;  // of word forms that are not UTF-8
};

class ORVELLE_API Tagger {
 public:
  static constexpr size_t Longest_Piece = 1024;  // words that a caller should let wait
  static constexpr size_t Waiting_Words = 64;    // of them, those that should be tagged again

  // Learns from the lexicon how to guess, which takes some milliseconds. The model must outlive the tagger and have its
  // word classes already, if it gets any; it may be moved, but not assigned to.
  explicit Tagger(const Model& model, const tagger_options_t& options = {});
  explicit Tagger(Model&&, const tagger_options_t& = {}) = delete;

  // A tagger of the same model and options at the start of a sentence, for another thread; shares what was learned.
  Tagger(const Tagger& other);

  // What was moved from may only be assigned to or destroyed.
  Tagger(Tagger&&) noexcept;
  Tagger& operator=(Tagger&&) noexcept;
  ~Tagger();

  // Tags the words that follow what was settled. A word form ends at a NUL. The results below are valid until the next
  // call, for a `word` from 0 to the number of forms - 1; the forms themselves are needed during the call alone.
  void tag(std::span<const std::string_view> forms, bool with_posteriors = false);

  candidates_t candidates(size_t word) const;
  size_t choice(size_t word) const;  // place of the chosen one among them
  const candidate_t& chosen(size_t word) const { return candidates(word)[choice(word)]; }
  // Parallel to the candidates: their probabilities in this place of the text, which sum to 1. Empty unless asked for.
  std::span<const double> posteriors(size_t word) const;

  // The first `words` of the words are done: the next call of tag goes on behind them.
  void settle(size_t words);
  // The sentence is done: the next call of tag begins a new one.
  void end_sentence();

 private:
  struct Parts;
  std::unique_ptr<Parts> parts_;
};

}  // namespace orvelle
