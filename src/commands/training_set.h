// SPDX-License-Identifier: MIT
// The sentences of a treebank as a training takes them, with what a model needs to know of the treebank.
#pragma once

#include "commands/learn_second_look.h"
#include "commands/training_data.h"
#include "commands/training_texts.h"
#include "commands/treebank_options.h"
#include "model/treebank_columns.h"

namespace orvelle {

struct training_set_t {
  training_texts_t texts;
  treebank_columns_t columns;  // how the tags of the texts stand in the treebank
};

// The set of some sentences of a treebank. What the trainer would refuse is a Failure.
training_set_t make_training_set(const CommandLine& line, Treebank& treebank, const sentences_t& sentences,
                                 const treebank_options_t& options);

// What the treebank has at sentence ends: the most frequent tag, and those of the forms that mostly have another.
treebank_columns_t columns_of(const Treebank& treebank, const sentences_t& sentences,
                              const treebank_options_t& options);

// Whether the trainer will find the sentence tag in its lexicon.
bool can_be_trained_on(const Treebank& treebank, const sentences_t& sentences, std::string_view sentence_tag);

// The strings belong to the treebank.
gold_sentence_t gold_of(const Treebank& treebank, const range_t& sentence);

}  // namespace orvelle
