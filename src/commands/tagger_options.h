// The options that the commands which tag have in common.
#pragma once

#include <cerrno>
#include <cstdio>
#include <cstring>

#include "commands/command.h"
#include "commands/text_io.h"
#include "driver/parameter_file.h"
#include "tagger/tagger.h"
#include "wordclass/wordclass.h"

#define ORVELLE_TAGGER_OPTIONS \
  {"wordclass", "FILE"}, {"decode", "WHAT"}, { "beam", "N" }
#define ORVELLE_TAGGER_HELP                                                               \
  "  --wordclass FILE    a word-class transducer for words that the lexicon lacks\n"      \
  "  --decode WHAT       path: the most probable sequence of tags (default); word: the\n" \
  "                      most probable tag of each word, a little more often right\n"     \
  "  --beam N            histories to follow where the model looks at more than two\n"    \
  "                      preceding tags (32)\n"

namespace orvelle {

// Loads the parameter file and, if one is given, the transducer.
inline void load_model(const CommandLine& line, const char* parameter_file) {
  read_parameter_file(parameter_file);
  const char* const name = line.value("wordclass", nullptr);
  if (name == nullptr) return;
  FILE* const file = std::fopen(name, "r");
  if (file == nullptr) stop("can't open %s: %s", name, std::strerror(errno));
  read_wordclass(file);
  std::fclose(file);
}

inline Tagger::Choice choice_option(const CommandLine& line) {
  return line.choice("decode", 0, {"path", "word"}) == 0 ? Tagger::Choice::Path : Tagger::Choice::Word;
}

inline size_t beam_option(const CommandLine& line) {
  return static_cast<size_t>(line.integer("beam", static_cast<int64_t>(Decoder::Default_Beam), 1, 1 << 20));
}

}  // namespace orvelle
