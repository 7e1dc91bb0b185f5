// The full-form lexicon: one entry for each word form with its tags, their probabilities and lemmas.
//
//   index    -2          -1         0      1       2          ...  Fullform_Lexicon_Size - 1
//   word     ""          ""         "."    "dog"   "the"
//   data  cardinal    ordinal     SENT     NN      DT
//
// The two number entries stand for all numbers that the lexicon does not list.
#pragma once

#include <memory>
#include <span>
#include <string_view>
#include <vector>

namespace orvelle {

// The tag record of an entry. `tag`, `prob`, `count` and `lemma` have `n` elements and belong together by position;
// tag numbers are strictly ascending. All memory belongs to the lexicon.
struct entrydata_t {
  int n;        // number of tags
  int* tag;     // tag numbers
  float* prob;  // probability of the tag given the word form
  int* count;   // corpus tokens of this word form with the tag; null but during training
  int freq;     // sum of the counts: corpus tokens of this word form
  int* lemma;   // lemma numbers
};

struct entry_t {
  const char* word;   // the word form; "" in a number entry, null in a word-class slot
  entrydata_t* data;  // null only in a word-class slot without an entry
};

inline constexpr int First_Entry = -2;  // index of the first entry in memory and in the parameter file
inline constexpr int Cardinal_Entry = -2;
inline constexpr int Ordinal_Entry = -1;

// Fullform_Lexicon[First_Entry] to Fullform_Lexicon[Fullform_Lexicon_Size - 1]; written by define_lexicon alone,
// null and 0 before. From index 0 on strictly ascending by word form in byte order.
extern entry_t* Fullform_Lexicon;
extern int Fullform_Lexicon_Size;

// The memory of a lexicon: slots (number entries first), records and the blocks that their arrays lie in.
struct lexicon_storage_t {
  std::vector<entry_t> slots;
  std::vector<entrydata_t> records;
  std::vector<std::unique_ptr<int[]>> blocks;
  std::vector<std::unique_ptr<float[]>> prob_blocks;
};

// Makes `storage` the lexicon and builds the index for lookups. Its word forms belong to the caller and must outlive
// the lexicon. Requires: at least the two number entries.
void define_lexicon(lexicon_storage_t storage);

// The entry of a word form; for a word form that the lexicon does not list the entry that stands for it: its word
// class if a word-class automaton is loaded, else the ordinal or the cardinal entry if it looks like one; or null,
// as for every word form before there is a lexicon. Valid until: another lexicon or automaton is loaded.
entry_t* fullform_lookup(const char* word);

// The same, but null for every word form that the lexicon does not list.
entry_t* find_entry(const char* word);

// find_entry for up to Max_Words_At_Once word forms, which need no NULs: entries[i] becomes the entry of words[i] or null.
// All of them take each step from the index to the tags together, so that they wait for the memory at the same time
// and not one after the other.
inline constexpr size_t Max_Words_At_Once = 64;
void find_entries(std::span<const std::string_view> words, entry_t** entries);

// 1 if the whole string looks like an ordinal number: a digit, then digits, blanks and commas, then one last period.
int ord(const char* s);

// 1 if the string has a digit and nothing but digits, blanks and % ' + , - . / : in it.
int card(const char* s);

}  // namespace orvelle
