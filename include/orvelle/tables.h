// SPDX-License-Identifier: MIT
// What the tables of a model consist of. All of it belongs to the model and lives as long.
#pragma once

#include <cstdint>

namespace orvelle {

inline constexpr int Max_Number_of_Tags = 20000;  // so that a tag number fits into 16 bits

// The tags of an entry: `n` elements each, which belong together by position, by strictly ascending tag number.
struct entrydata_t {
  int32_t n;           // number of tags
  int32_t freq;        // corpus tokens of the word form; 0 for a word class
  const int32_t* tag;  // tag numbers
  const float* prob;   // probability of the tag given the word form
  const int32_t*
      lemma;  // lemma numbers; null for a word class, whose word forms have no lemma (see Model::lemma)
};

struct entry_t {
  const char* word;         // the word form; "" in a number entry, null for a word class
  const entrydata_t* data;  // null only for a word class without an entry
};

// Two number entries stand before the word forms, for all numbers that the lexicon does not list.
inline constexpr int First_Entry = -2;  // index of the first entry in memory and in the parameter file
inline constexpr int Cardinal_Entry = -2;
inline constexpr int Ordinal_Entry = -1;

// A tag of an affix, and its probability.
struct tagprob_t {
  int16_t tag;
  float prob;
};

// A node of an affix tree. A tree is one array of nodes; the root is element 0 and the children of a node are
// consecutive elements:
//
//   index   leaf  symbol  number  first_child
//     0      0     257      2         1          root with two children
//     1      1     'a'      3         -          three tag pairs
//     2      1     256      1         -          default child: stands for all other bytes
struct ANODE {
  int16_t leaf = 0;    // 1: carries tag pairs, 0: inner node
  int16_t symbol = 0;  // byte that leads here, as a signed 8-bit value; or Default_Symbol or Root_Symbol
  int16_t number = 0;  // inner node: children; leaf: tag pairs
  uint16_t first_child = 0;            // inner node: index of the first child, in the same array; 0 in a leaf
  const tagprob_t* tagprob = nullptr;  // leaf: `number` pairs
};
inline constexpr int Root_Symbol = 257;
inline constexpr int Default_Symbol = 256;

// A leaf of the decision tree: tag numbers, strictly ascending, and their probabilities, `n` of each.
struct context_leaf_t {
  const int32_t* tag;
  const double* prob;
  int32_t n;
  uint32_t freq;  // n-grams of the training corpus that reach the leaf
};

}  // namespace orvelle
