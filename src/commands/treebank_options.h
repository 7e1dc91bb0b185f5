// SPDX-License-Identifier: MIT
// The options that the commands which read a treebank have in common.
#pragma once

#include <optional>
#include <vector>

#include "commands/command.h"
#include "commands/training_data.h"
#include "commands/treebank.h"

namespace orvelle {

inline constexpr option_t Treebank_Options[] = {
    {"format", "FORMAT"},      {"column", "KIND"},     {"without-tag", "HOW"}, {"sentence-tag", "TAG"},
    {"sentence-end", "FORMS"}, {"only-last", nullptr}, {"open", "HOW"},        {"once", "N"}};

inline constexpr option_group_t Treebank_Group = {
    Treebank_Options,
    "\n"
    "How the treebank is read:\n"
    "  --format FORMAT       conllu or columns (what the first line looks like)\n"
    "  --column KIND         the tags of CoNLL-U: xpos, upos or upos+feats (xpos)\n"
    "  --without-tag HOW     a token without such a tag: refuse stops, upos takes its\n"
    "                        universal tag, skip leaves the token out (refuse)\n"
    "  --sentence-tag TAG    the tag of sentence ends inside the model (SENT)\n"
    "  --sentence-end FORMS  the tokens that get it, separated by blanks ('. ! ?');\n"
    "                        '' if the treebank has it already\n"
    "  --only-last           they get it only as the last token of a sentence\n"
    "  --open HOW            open classes, the tags that unknown words may have: upos, those\n"
    "                        whose tokens are mostly adjectives, adverbs, interjections,\n"
    "                        nouns or verbs by their universal tags; or once, those that\n"
    "                        many forms have that occur once (upos for CoNLL-U, once for\n"
    "                        columns)\n"
    "  --once N              for once: more than N such forms (10)\n"};

// What --column, or an option like it, names.
std::optional<tag_column_t> tag_column(const CommandLine& line, const char* option = "column");

treebank_options_t treebank_options(const CommandLine& line);

// The open classes as --open and --once say.
std::vector<const char*> choose_open_classes(const CommandLine& line, const Treebank& treebank,
                                             const sentences_t& sentences, const lexicon_entries_t& lexicon,
                                             const char* sentence_tag);

}  // namespace orvelle
