// A loaded parameter file as a tagger: word forms in, a tag for each out.
//
//   sentence     ... 1024 words and no end yet ...
//   tag          |------------------------------------------------|
//   settle       |-------------------------------------------|    |    the caller hands these out,
//                                                             `---'    and tags these again with what follows
//
// Each sentence is tagged by itself: the sentence tag stands before its first word, as the end of a sentence
// before it would. Input without ends of sentences is settled piece by piece; the last words of a piece wait
// for what follows them, so that no cut lies next to a word whose tag it could change.
#pragma once

#include <cstdint>
#include <span>
#include <string_view>
#include <vector>

#include "tagger/candidates.h"
#include "tagger/context_model.h"
#include "tagger/decoder.h"

namespace orvelle {

class Tagger {
 public:
  // What is chosen: the tags of the most probable path, or the most probable tag of each word.
  enum class Choice { Path, Word };

  static constexpr size_t Longest_Piece = 1024;  // words that a caller should let wait
  static constexpr size_t Waiting_Words = 64;    // of them, those that should be tagged again

  // For the loaded parameter file, until another one is loaded. `strips_markup`: as for Candidates.
  explicit Tagger(Choice choice = Choice::Path, size_t beam = Decoder::Default_Beam,
                  bool strips_markup = false);

  // Tags the words that follow what was settled. The results below are valid until the next call.
  void tag(std::span<const std::string_view> forms, bool with_posteriors = false);

  const candidate_t& chosen(size_t word) const { return words_[word][chosen_[word]]; }
  candidates_t candidates(size_t word) const { return words_[word]; }
  // Parallel to the candidates; empty unless asked for or needed.
  std::span<const double> posteriors(size_t word) const;

  // The first `words` words are done: the next call goes on behind them.
  void settle(size_t words);
  // The sentence is done: the next call begins a new one.
  void end_sentence();

 private:
  void choose_most_probable();

  Candidates candidates_;
  ContextModel context_;
  Decoder decoder_;
  Choice choice_;
  std::vector<int32_t> preceding_;
  std::vector<candidates_t> words_;
  std::vector<int> chosen_;
  std::vector<double> posteriors_;
  std::vector<size_t> posterior_starts_;  // by word; empty without posteriors
};

}  // namespace orvelle
