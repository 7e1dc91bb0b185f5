// SPDX-License-Identifier: MIT
// The lexicon of word classes: what an automaton makes of the words of a lexicon, for lookups of other word forms.
#pragma once

#include <orvelle/automaton.h>
#include <orvelle/error.h>
#include <orvelle/tables.h>

#include <deque>
#include <span>
#include <string_view>
#include <vector>

#include "lexicon/lexicon.h"
#include "support/block_arena.h"

namespace orvelle {

class WordClasses {
 public:
  // Sums the lexicon up into the automaton's word classes: the tags of a class are those that have more than a
  // hundredth of the probability of its most probable tag. Each class without any gets a warning; more than a
  // thousand in a row get one together. An automaton without a class is an Error.
  WordClasses(Automaton automaton, const Lexicon& lexicon, const Warn& warn);

  // The slot of a word form's class; null if that has no entry.
  const entry_t* lookup(std::string_view word) const;

  Automaton WA;

  // Slot m holds the tag distribution of word class m: a null word, and a null data if no word of the lexicon is in
  // the class; such slots cost nothing. WA.number_of_classes slots, at least one. Records have no lemmas and the
  // frequency 0. Class 0 is that of the lexicon words which the automaton does not accept.
  SparseTable<entry_t> Wordclass_Lexicon;

 private:
  // Of the probabilities of a tag in a class.
  struct sum_t {
    int word_class;
    int32_t tag;
    double prob;
  };
  static std::vector<sum_t> sum_up_lexicon(const Automaton& automaton, const Lexicon& lexicon);
  entrydata_t make_record(std::span<const sum_t> row);

  std::deque<entrydata_t> records_;  // what the slots point to
  BlockArena<int32_t> numbers_;
  BlockArena<float> probs_;
};

}  // namespace orvelle
