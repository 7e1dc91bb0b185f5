// The options that the commands which tag have in common.
#pragma once

#include <orvelle/model.h>
#include <orvelle/tagger.h>

#include "commands/command.h"

namespace orvelle {

inline constexpr option_t Tagger_Options[] = {
    {"wordclass", "FILE"}, {"decode", "WHAT"}, {"beam", "N"}, {"jobs", "N"}};
inline constexpr char Tagger_Help[] =
    "  --wordclass FILE    a word-class transducer for words that the lexicon lacks\n"
    "  --decode WHAT       path: the most probable sequence of tags (default); word: the\n"
    "                      most probable tag of each word, a little more often right\n"
    "  --beam N            histories to follow where the model looks at more than two\n"
    "                      preceding tags (32)\n"
    "  --jobs N            threads that tag, sentence by sentence (1)\n";

// What --decode and --beam say.
tagger_options_t tagger_options(const CommandLine& line);
size_t jobs_option(const CommandLine& line, int64_t fallback);

// The name to open a binary file or a transducer by, "-" for standard input.
const char* path_of(const char* name);

// Loads the parameter file, the first operand, and the transducer if one is given.
Model load_model(const CommandLine& line);
// The second operand, or standard input.
const char* text_name(const CommandLine& line);

}  // namespace orvelle
