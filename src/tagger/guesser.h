// SPDX-License-Identifier: MIT
// What tags a word form may have that the lexicon does not list, or has seen too seldom to know: learned from
// the rare word forms of the lexicon.
//
// Rare words are sorted by a 64-bit key, so that all words which share a shape and an ending lie in a row:
//
//   bits      6      1       1        8      8      8     ...  7 bytes
//   key     kind  hyphen   period    'g'    'n'    'i'         "walking"
//           `------ shape ------'    `--- ending, small letters, backwards; a 1 before its first byte
//
// A guess starts from the open-class distribution and that of all rare words and moves on to those that share the kind, the
// shape, the last byte, the last two and so on; each step mixes what the words of its row have with what the
// step before gave. A second table of beginnings shifts the result a little.
#pragma once

#include <orvelle/error.h>

#include <cstdint>
#include <memory>
#include <string_view>
#include <vector>

#include "model/tables.h"
#include "support/shared_slots.h"
#include "tagger/tag_weights.h"

namespace orvelle {

// What was learned from the rare words. Guessers in several threads share it.
class RareWords {
 public:
  struct word_t {
    uint64_t key;
    int32_t first_pair;  // of its tags in `pairs`
    int32_t number_of_pairs;
  };
  struct pair_t {
    int32_t tag;
    float probability;
  };

  // Words that follow each other in a table.
  struct row_t {
    const word_t* begin;
    const word_t* end;
    int bits;  // that their keys have in common, from the first on

    size_t size() const { return static_cast<size_t>(end - begin); }
  };
  struct table_t {
    explicit table_t(std::vector<word_t> its_words);

    // Where the sum of the distributions of a long row stands. Long rows of one length of the key do not overlap, so the
    // places of their first words can be told apart without the last digits.
    size_t slot(const row_t& row) const;

    const std::vector<word_t> words;  // by key
    SharedSlots<std::vector<pair_t>> sums;
  };
  // What a shape alone tells.
  struct shape_t {
    std::vector<double> probability;  // by tag
    std::vector<int32_t> tags;        // the most probable first
    std::vector<double> rest;         // for each of them, what it and those behind it have together; and 0
  };
  static constexpr int Shape_Bits = 8;
  static constexpr size_t Long_Row = 8;  // words from which on a row's sum is kept

  // Costs a sort of the rare entries. `warn` hears of word forms that are not UTF-8 though they should be.
  RareWords(const Tables& tables, const Warn& warn) : RareWords(collect(tables, warn)) {}

  bool is_rare(const entrydata_t& data) const { return is_rare(data, rare_frequency_); }

  const std::vector<pair_t> pairs;  // the tags of the rare words side by side: their entries lie scattered
  table_t endings, beginnings;
  // By the first bits of the key, of which there are up to Shape_Bits, with a 1 before them.
  SharedSlots<shape_t> shapes{2 << Shape_Bits};

 private:
  struct lists_t {
    int rare_frequency;
    std::vector<pair_t> pairs;
    std::vector<word_t> endings, beginnings;
  };
  static lists_t collect(const Tables& tables, const Warn& warn);
  explicit RareWords(lists_t lists);

  static bool is_rare(const entrydata_t& data, int most) { return data.freq >= 1 && data.freq <= most; }

  int rare_frequency_;
};

class Guesser {
 public:
  // The tables must outlive the guesser.
  Guesser(const Tables& tables, std::shared_ptr<RareWords> rare_words, Warn warn);

  // The distribution for a word form, without tags that have next to nothing. `entry` is the word form's own record, which
  // is then left out of account, or null. Valid until: the next call.
  const TagWeights& guess(const char* word, const entrydata_t* entry);

 private:
  struct step_t {
    RareWords::row_t row;
    double count;  // words in the row but the one left out
  };
  void add_words(const RareWords::row_t& row, double weight, TagWeights& sum) const;
  void add_row(RareWords::table_t& table, const RareWords::row_t& row, double weight, TagWeights& sum);
  const std::vector<RareWords::pair_t>& summed(RareWords::table_t& table, const RareWords::row_t& row);
  double descend(RareWords::table_t& table, uint64_t key, const entrydata_t* entry, TagWeights& result);
  const RareWords::shape_t& shape_of(uint64_t key, int bits);
  RareWords::shape_t make_shape(uint64_t key, int bits);
  void add_shape(uint64_t key, int bits, std::vector<double>& probability) const;
  void guess_from_trees(const char* word);

  const Tables& tables_;
  std::shared_ptr<RareWords> rare_words_;
  Warn warn_;
  TagWeights result_;
  TagWeights by_beginning_;
  TagWeights sums_;
  std::vector<step_t> steps_;
};

}  // namespace orvelle
