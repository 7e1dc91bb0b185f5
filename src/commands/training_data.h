// SPDX-License-Identifier: MIT
// What a treebank becomes for a training: the lexicon, the open classes and the corpus, as the trainer reads them.
#pragma once

#include <cstddef>
#include <cstdint>
#include <functional>
#include <span>
#include <string>
#include <vector>

#include "commands/treebank.h"

namespace orvelle {

// A sentence.
struct range_t {
  size_t first, end;  // tokens
};
using sentences_t = std::vector<range_t>;

struct parts_t {
  sentences_t training, test;
};

// Sets a share of the sentences aside, spread evenly.
parts_t split(const Treebank& treebank, double share);
// Sets those sentences aside whose numbers the function wants.
parts_t split_by(const Treebank& treebank, const std::function<bool(size_t sentence)>& is_aside);

struct lexicon_entry_t {
  struct pair_t {
    int tag;
    int lemma;
  };
  int form;                   // strings of the treebank, by number
  std::vector<pair_t> pairs;  // by tag in byte order
};
using lexicon_entries_t = std::vector<lexicon_entry_t>;

// The lexicon of the sentences and of the entries that were read: forms in byte order, each tag with its most frequent
// lemma; where there is none, the form.
lexicon_entries_t make_lexicon(Treebank& treebank, const sentences_t& sentences);

enum open_t { By_Universal_Tag, By_Forms_Seen_Once };

// Tags in the byte order of their names, without the sentence tag: those of which more than half of the tokens have an
// open universal tag; or those of more than `once` forms that occur once.
std::vector<const char*> choose_open_classes(const Treebank& treebank, const sentences_t& sentences,
                                             const lexicon_entries_t& lexicon, open_t how, int64_t once,
                                             const char* sentence_tag);

int count_tags(const Treebank& treebank, const lexicon_entries_t& lexicon);

// Stops where the trainer would refuse what was made, or something of the treebank was refused.
void require_soundness(const Treebank& treebank, const lexicon_entries_t& lexicon, const char* sentence_tag);

// The files of the training.
std::string lexicon_text(const Treebank& treebank, const lexicon_entries_t& lexicon);
std::string open_class_text(std::span<const char* const> tags);
std::string corpus_text(const Treebank& treebank, const sentences_t& sentences, const char* sentence_end);

}  // namespace orvelle
