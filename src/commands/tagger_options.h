// The options that the commands which tag have in common.
#pragma once

#include <algorithm>
#include <cerrno>
#include <cstdio>
#include <cstring>
#include <string_view>
#include <vector>

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

// The name to open a binary file or a transducer by, "-" for standard input.
inline const char* path_of(const char* name) { return std::strcmp(name, "-") == 0 ? "/dev/stdin" : name; }

// Loads the parameter file, the first operand, and the transducer if one is given. The second operand is the text;
// without it standard input is.
inline void load_model(const CommandLine& line) {
  const std::vector<const char*>& files = line.operands();
  const char* const inputs[] = {files[0], files.size() > 1 ? files[1] : "-", line.value("wordclass", "")};
  if (std::ranges::count(inputs, std::string_view("-")) > 1) misuse("only one file can be standard input");
  read_parameter_file(path_of(files[0]));
  const char* const name = line.value("wordclass", nullptr);
  if (name == nullptr) return;
  FILE* const file = std::fopen(path_of(name), "r");
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
