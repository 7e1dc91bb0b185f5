// SPDX-License-Identifier: MIT
// A trained model: what a parameter file holds, ready for lookups.
//
//   const orvelle::Model model = orvelle::read_parameter_file("english.par");
//   if (const orvelle::entry_t* entry = model.fullform_lookup("light"))
//     for (int k = 0; k < entry->data->n; ++k)
//       std::printf("%s %.4f %s\n", model.Tag(entry->data->tag[k]), entry->data->prob[k], model.lemma(*entry, k));
//
// A model is a value: as many as you like, each independent of the others. It does not change once it is made, so any
// number of threads may ask it. It can be moved, and what points into it stays valid then; a model that was moved from
// may only be assigned to or destroyed. Numbers and indexes are not checked: they must be in their range.
#pragma once

#include <cstddef>
#include <cstdint>
#include <cstdio>
#include <memory>
#include <span>
#include <string>
#include <string_view>

#include <orvelle/automaton.h>
#include <orvelle/error.h>
#include <orvelle/export.h>
#include <orvelle/tables.h>

namespace orvelle {

struct Tables;  // inside the library

// A line of a model's card.
struct card_line_t {
  std::string key;
  std::string value;
};

class ORVELLE_API Model {
 public:
  Model(Model&&) noexcept;
  Model& operator=(Model&&) noexcept;
  ~Model();

  // Whether word forms are UTF-8, or single bytes.
  bool UTF8_Processing() const noexcept;

  // ---- tags: numbers from 0 to Number_of_Tags() - 1, in byte order of their names

  int Number_of_Tags() const noexcept;
  const char* Tag(int number) const noexcept;
  int Sent_Tag() const noexcept;                         // number of the tag of sentence ends
  int find_tag(std::string_view name) const noexcept;    // -1 for a name that is no tag
  int tag_number(const char* name) const;                // an Error for a name that is no tag
  double A_Priori_Tag_Prob_Fac(int tag) const noexcept;  // inverse of the tag's share of the training corpus

  // ---- lemmas: numbers from 0 to Number_of_Lemmas() - 1, in byte order

  int Number_of_Lemmas() const noexcept;
  const char* Lemma(int number) const noexcept;  // also of a candidate's lemma that only add_reading gave
  int lemma_number(const char* lemma) const;     // an Error for a string that is no lemma

  // The lemma that goes with tag `k` of an entry; "" where the entry is a word class and has none.
  const char* lemma(const entry_t& entry, int k) const noexcept;

  // The lemma that the rules of a model file give a word form which the lexicon does not list; the form itself where no
  // rule is for it, and of a model without rules.
  std::string guess_lemma(const char* word, int tag) const;

  // ---- the treebank, of a model file

  // The column of CoNLL-U that the tags are of: "xpos", "upos" or "upos+feats" (a universal tag, and its features behind
  // a |); "" where it is not known.
  std::string_view treebank_column() const noexcept;

  // The tag as the treebank has it: what the tag of sentence ends stands for at a word form, or the tag's name.
  const char* treebank_tag(int tag, std::string_view word) const noexcept;

  // What the model was made of and how, line by line; empty for a plain parameter file.
  std::span<const card_line_t> card() const noexcept;

  // ---- the lexicon

  int Fullform_Lexicon_Size() const noexcept;

  // The entry of that index: the cardinal and the ordinal numbers at -2 and -1, then the word forms in byte order.
  const entry_t& Fullform_Lexicon(int index) const noexcept;

  // The entry of a word form; for a word form that the lexicon does not list the entry that stands for it: that of its
  // word class if there are word classes, else the entry of ordinal or cardinal numbers if it looks like one; or null.
  const entry_t* fullform_lookup(std::string_view word) const noexcept;

  // The same, but where it finds nothing and `strip` is not 0, a second try without the markup in the word.
  const entry_t* fullform_lookup2(const char* word, int strip) const;

  // The same as the first, but null for every word form that the lexicon does not list.
  const entry_t* find_entry(std::string_view word) const noexcept;

  // ---- affixes, for word forms that the lexicon does not list

  std::span<const ANODE> Prefix_Lexicon() const noexcept;
  std::span<const ANODE> Suffix_Lexicon() const noexcept;

  // A leaf with the open-class tags of the word forms whose prefix no leaf of the prefix tree accounts for.
  const ANODE& Open_Class_Node() const noexcept;

  // The leaf for the first, or last, bytes of a word form; null where no leaf accounts for them. The walk takes the
  // child for the next byte, else the default child; a short word form is walked as far as it goes.
  const ANODE* prefix_leaf(std::string_view word) const noexcept;
  const ANODE* suffix_leaf(std::string_view word) const noexcept;

  // ---- tag contexts

  int Context_Size() const noexcept;  // preceding tags that the decision tree may ask for

  // The leaf for the tags before a word: preceding[Context_Size() - 1] is the tag number of the word directly before
  // it, preceding[0] that of the farthest. At the start of a text all of them are Sent_Tag().
  const context_leaf_t& context_leaf(const int32_t* preceding) const noexcept;

  // The probability of a tag at a leaf; 0 for a tag that the leaf does not list.
  static double tag_probability(const context_leaf_t& leaf, int32_t tag) noexcept;

  // ---- word classes, optional

  // Reads an automaton from the stream and sums the lexicon up into its word classes: the tags of a class are those
  // that have more than a hundredth of the probability of its most probable tag. Each class without any is warned
  // of. From then on fullform_lookup answers unknown word forms with their class. Throws as the constructor of
  // Automaton does, also for a file without a triple, and then leaves the model as it was. Requires: nobody else uses
  // the model meanwhile, and no tagger was made of it before. What was looked up in earlier word classes is no longer
  // valid.
  void read_wordclass(FILE* file, const Warn& warn = warn_on_standard_error);

  // Adds a tag and a lemma to those that taggers think of for a word form. A word form of the lexicon that the training
  // met often keeps what it has; for any other the tags that were added are ranked by what a guess gives them. Lookups do
  // not see them. A tag that was added before keeps its lemma. Requires: `tag` is the number of a tag, nobody else uses the
  // model meanwhile, and no tagger was made of it before.
  void add_reading(std::string_view word, int tag, std::string_view lemma);

  const Automaton* WA() const noexcept;                            // null without word classes
  const SparseTable<entry_t>& Wordclass_Lexicon() const noexcept;  // by class number

 private:
  friend struct ModelAccess;  // of the library's own sources
  explicit Model(std::unique_ptr<Tables> tables) noexcept;

  std::unique_ptr<Tables> tables_;
};

// Loads a parameter file, or one whose bytes are in memory, and checks it: afterwards no lookup can fail. A file that
// cannot be opened or read, is cut short, is none that the training can have written, or has bytes behind its end, is
// an Error. Never takes much more memory than the file is long.
ORVELLE_API Model read_parameter_file(const char* name);
ORVELLE_API Model read_parameter_file(std::span<const std::byte> content);

// The same for a model file, which has a parameter file and more in it; a plain parameter file will do. The file's
// checksum must be right.
ORVELLE_API Model read_model_file(const char* name);
ORVELLE_API Model read_model_file(std::span<const std::byte> content);

// Writes a model's parameter file: the bytes that were read, without word classes and all that only a model file has.
// A file of that name is emptied first; a write that fails, closing included, is the Error "Can't write to output
// file".
ORVELLE_API void write_parameter_file(const char* name, const Model& model);

}  // namespace orvelle
