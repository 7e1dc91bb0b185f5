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
#include <unordered_map>
#include <vector>

#include "model/tables.h"
#include "tagger/tag_weights.h"

namespace orvelle {

// What was learned from the rare words; does not change, so that guessers in several threads share it.
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

  // Costs a sort of the rare entries. `warn` hears of word forms that are not UTF-8 though they should be.
  RareWords(const Tables& tables, const Warn& warn);

  bool is_rare(const entrydata_t& data) const { return data.freq >= 1 && data.freq <= rare_frequency_; }

  std::vector<pair_t> pairs;  // the tags of the rare words side by side: their entries lie scattered
  std::vector<word_t> endings, beginnings;  // by key

 private:
  int rare_frequency_;
};

class Guesser {
 public:
  // The tables must outlive the guesser.
  Guesser(const Tables& tables, std::shared_ptr<const RareWords> rare_words, Warn warn);

  // The distribution for a word form, without tags that have next to nothing. `entry` is the word form's own record, which
  // is then left out of account, or null. Valid until: the next call.
  const TagWeights& guess(const char* word, const entrydata_t* entry);

 private:
  // The sum of the distributions of the words in a row.
  using row_t = std::vector<RareWords::pair_t>;
  struct Table {
    explicit Table(const std::vector<RareWords::word_t>& its_words);

    const std::vector<RareWords::word_t>& words;
    std::vector<row_t> rows;  // long rows that were summed up
    // Their numbers, -1 for a row that was not, by length of the key and the place of the first word. Long rows of one
    // length do not overlap, so the places can be told apart without their last digits.
    std::vector<int32_t> numbers;
  };
  // The words whose keys have the first `bits` bits in common.
  struct step_t {
    const RareWords::word_t* begin;
    const RareWords::word_t* end;
    int bits;
    double count;  // words in the row but the one left out
  };
  // What a shape alone tells.
  struct shape_t {
    std::vector<double> probability;  // by tag
    std::vector<int32_t> tags;        // the most probable first
    std::vector<double> rest;         // for each of them, what it and those behind it have together; and 0
  };

  void add_words(const step_t& step, double weight, TagWeights& sum) const;
  void add_row(Table& table, const step_t& step, double weight, TagWeights& sum);
  const row_t& summed_row(Table& table, const step_t& step);
  double descend(Table& table, uint64_t key, const entrydata_t* entry, TagWeights& result);
  const shape_t& shape_of(uint64_t key);
  shape_t make_shape(uint64_t key);
  void guess_from_trees(const char* word);

  const Tables& tables_;
  std::shared_ptr<const RareWords> rare_words_;
  Warn warn_;
  Table endings_;
  Table beginnings_;
  std::unordered_map<uint64_t, shape_t> shapes_;  // by the shape's byte
  TagWeights result_;
  TagWeights by_beginning_;
  TagWeights sums_;
  std::vector<step_t> steps_;
};

}  // namespace orvelle
