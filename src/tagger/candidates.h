// SPDX-License-Identifier: MIT
// From a word form to the tags that it may have, each with its score and lemma.
//
//   word form                          distribution
//   in the lexicon, seen often         that of the entry
//   in the lexicon, seen seldom        that of the entry, mixed with a guess
//   in the lexicon, never seen         that of the entry, which its class gave it; wide: ranked by a guess
//   only added to the lexicon          what was added, ranked by a guess
//   a number, or in a word class       that of the number entry or of the class
//   capital, small in the lexicon      that of the small one, mixed with a guess
//   any other                          a guess
//
// The score is the probability times the tag's factor: in proportion to that of the word form given the tag.
#pragma once

#include <cstdint>
#include <memory>
#include <span>
#include <string>
#include <string_view>
#include <vector>

#include "model/tables.h"
#include "support/shared_slots.h"
#include "support/string_table.h"
#include "tagger/decoder.h"
#include "tagger/guesser.h"
#include "tagger/word_view.h"

namespace orvelle {

// The candidates that were chosen for a word form.
struct shortlist_t {
  static constexpr uint16_t All_Listed = 0xFFFF;

  word_view_t view;  // for wide lists
  std::vector<candidate_t> candidates;
  uint16_t listed = All_Listed;  // as in Candidates::word_t
};

// What was learned from the lexicon and chosen for its entries. For taggers in several threads: what one of them chose is
// there for all.
struct SharedWords {
  SharedWords(const Tables& tables, const Warn& warn);

  RareWords rare_words;
  SharedSlots<shortlist_t> choices;  // by entry of the lexicon
};

class Candidates {
 public:
  static constexpr size_t Most = 16;  // for a word form; more cost time and gain nothing

  // Narrow lists are best where the first pass has the last word; wide ones where a second look chooses among them.
  enum class Width { Narrow, Wide };

  struct options_t {
    Width width = Width::Narrow;
    bool strips_markup = false;  // as in tagger_options_t
    Warn warn;                   // as well
  };

  // The tables must outlive the object. `shared` is of the same tables, and all who share it have the same options.
  Candidates(const Tables& tables, std::shared_ptr<SharedWords> shared, options_t options);

  // A word form with its candidates, at least one, the most probable first.
  struct word_t {
    candidates_t candidates;
    const word_view_t* view;
    uint16_t
        listed;  // a bit for each candidate: the lexicon lists the tag; all of them for what is not in the lexicon
  };

  // Those of word forms, one behind the other into `words`. A word form ends at a NUL. Valid until: the next call of trim.
  void find(std::span<const std::string_view> forms, std::vector<word_t>& words);

  // Forgets the word forms that are not in the lexicon if there are many of them, so that memory is bounded.
  void trim();

 private:
  static constexpr size_t Remembered_Bytes = 1 << 24;

  using readings_t = std::span<const AddedReadings::reading_t>;

  size_t number_of(const entry_t& entry) const {
    return static_cast<size_t>(tables_.fullex.lexicon.index_of(entry));
  }
  const shortlist_t& choice_of(std::string_view form, const entry_t* entry);
  std::unique_ptr<const shortlist_t> choose(std::string_view form, const entry_t* entry);
  void begin_choice();
  void choose_known(const char* word, const entrydata_t& data, readings_t added);
  void choose_unknown(const char* word);
  void choose_unseen(const char* word);
  void add_listed(const entrydata_t& data, double share);
  void add_ranked(const char* word, const entrydata_t* data, readings_t added, double share);
  void add_guess(const char* word, const entrydata_t* entry, double share);
  void add_any();
  void add_main_lemma(const entrydata_t& data);
  std::vector<candidate_t> take_choice();
  uint16_t listed_of(const shortlist_t& choice, const entrydata_t* data, readings_t added) const;

  const entrydata_t* stand_in(const char* word, bool strips_markup) const;

  const Tables& tables_;
  const options_t options_;
  const std::shared_ptr<SharedWords> shared_;
  Guesser guesser_;
  StringTable unknown_;  // word forms that the lexicon does not have
  std::vector<std::unique_ptr<const shortlist_t>> choice_of_unknown_;  // by their number in unknown_
  size_t remembered_ = 0;                                              // bytes of the unknown, about
  TagWeights probability_;
  std::vector<int32_t> lemma_;  // by tag
};

}  // namespace orvelle
