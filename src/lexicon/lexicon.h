// SPDX-License-Identifier: MIT
// The full-form lexicon: one entry for each word form with its tags, their probabilities and lemmas.
//
//   index    -2          -1         0      1       2          ...  Fullform_Lexicon_Size - 1
//   word     ""          ""         "."    "dog"   "the"
//   data  cardinal    ordinal     SENT     NN      DT
//
// The two number entries stand for all numbers that the lexicon does not list.
#pragma once

#include <orvelle/tables.h>

#include <span>
#include <string_view>
#include <vector>

#include "support/block_arena.h"
#include "support/string_index.h"
#include "support/strings.h"

namespace orvelle {

// The parts of a lexicon before it is one: the word forms, number entries first, their records parallel to them, the
// arrays that the records point into, and the strings that the word forms lie in.
struct lexicon_parts_t {
  std::vector<const char*> words;
  std::vector<entrydata_t> records;
  BlockArena<int32_t> numbers;
  BlockArena<float> probs;
  StringArena strings;
};

class Lexicon {
 public:
  Lexicon() = default;
  // Requires: at least the two number entries.
  explicit Lexicon(lexicon_parts_t parts);
  Lexicon(Lexicon&&) = default;
  Lexicon& operator=(Lexicon&&) = default;

  // The entry of a word form that the lexicon lists, or null.
  const entry_t* find_entry(std::string_view word) const;

  // find_entry for up to Max_Words_At_Once word forms: entries[i] becomes the entry of words[i] or null. All of them
  // take each step from the index to the tags together, so that they wait for the memory at the same time and not one
  // after the other.
  static constexpr size_t Max_Words_At_Once = 64;
  void find_entries(std::span<const std::string_view> words, const entry_t** entries) const;

  // The entry of a word form; for a word form that is not listed the ordinal or the cardinal entry if it looks like
  // such a number, else null.
  const entry_t* fullform_lookup(std::string_view word) const;

  // The ordinal or the cardinal entry for a word form that looks like such a number, else null.
  const entry_t* number_entry(std::string_view word) const;

  // Index of an entry of this lexicon.
  int index_of(const entry_t& entry) const { return static_cast<int>(&entry - Fullform_Lexicon); }

  // The record of an entry, for the training to fill.
  entrydata_t& record(int index) { return parts_.records[static_cast<size_t>(index - First_Entry)]; }

  // Fullform_Lexicon[First_Entry] to Fullform_Lexicon[Fullform_Lexicon_Size - 1], from index 0 on strictly ascending by
  // word form in byte order. Written by the constructor alone; null and 0 without one.
  const entry_t* Fullform_Lexicon = nullptr;
  int Fullform_Lexicon_Size = 0;

 private:
  lexicon_parts_t parts_;
  std::vector<entry_t> slots_;  // what Fullform_Lexicon points into
  StringIndex index_;           // from a word form to its index in Fullform_Lexicon
};

}  // namespace orvelle
