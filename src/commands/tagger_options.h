// SPDX-License-Identifier: MIT
// The options that the commands which tag have in common.
#pragma once

#include <orvelle/model.h>
#include <orvelle/tagger.h>

#include <optional>
#include <vector>

#include "commands/command.h"
#include "commands/conllu.h"
#include "commands/text_io.h"

namespace orvelle {

inline constexpr option_t Tagger_Options[] = {
    {"lexicon", "FILE"}, {"wordclass", "FILE"}, {"decode", "WHAT"}, {"beam", "N"}, {"jobs", "N"}};
inline constexpr option_group_t Tagger_Group = {
    Tagger_Options,
    "  --lexicon FILE      more entries, in the trainer's format; may be repeated. They count\n"
    "                      for words that the training never or seldom met\n"
    "  --wordclass FILE    a word-class transducer for words that the lexicon lacks\n"
    "  --decode WHAT       path: the most probable sequence of tags; word: the most probable\n"
    "                      tag of each word, a little slower and more often right (word for\n"
    "                      a model, path for a plain parameter file)\n"
    "  --beam N            histories to follow where the model looks at more than two\n"
    "                      preceding tags (32)\n"
    "  --jobs N            threads that tag, sentence by sentence (1)\n"};

// What --decode and --beam say.
tagger_options_t tagger_options(const CommandLine& line);
size_t jobs_option(const CommandLine& line, int64_t fallback);

// The name to open a binary file or a transducer by, "-" for standard input.
const char* path_of(const char* name);

// Loads a model file or a parameter file; one that is neither, or damaged, is a Failure that names it.
Model load_model(const char* name);
// Loads the first operand, and the lexicons and the transducer that are given.
Model load_tagging_model(const CommandLine& line, Remarks& remarks);
// All files that the command reads.
std::vector<const char*> tagger_inputs(const CommandLine& line);

// Stops if the model's tags are of another column; those with features have universal tags in them.
void require_column(const Model& model, std::optional<tag_column_t> column);

// Remarks on what was changed or guessed of a text.
void tell_of_text(const TextInput& in, bool takes_lines_for_sentences, Remarks& remarks);
inline constexpr char Not_Utf8[] =
    "not UTF-8, which the model is for: such bytes are taken for question marks (told once)";

// The second operand, or standard input.
const char* text_name(const CommandLine& line);

}  // namespace orvelle
