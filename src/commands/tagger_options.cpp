#include "commands/tagger_options.h"

#include <algorithm>
#include <cerrno>
#include <cstdio>
#include <cstring>

#include "support/files.h"

namespace orvelle {

tagger_options_t tagger_options(const CommandLine& line) {
  tagger_options_t options;
  using Choice = tagger_options_t::Choice;
  options.choice = line.choice("decode", 0, {"path", "word"}) == 0 ? Choice::Path : Choice::Word;
  options.beam = static_cast<size_t>(line.integer("beam", static_cast<int64_t>(options.beam), 1, 1 << 20));
  return options;
}

size_t jobs_option(const CommandLine& line, int64_t fallback) {
  return static_cast<size_t>(line.integer("jobs", fallback, 1, 1024));
}

const char* path_of(const char* name) { return std::strcmp(name, "-") == 0 ? "/dev/stdin" : name; }

Model load_model(const CommandLine& line) {
  const char* const name = line.value("wordclass", nullptr);
  const char* const inputs[] = {line.operands()[0], text_name(line), name != nullptr ? name : ""};
  if (std::ranges::count(inputs, std::string_view("-")) > 1) misuse("only one file can be standard input");
  Model model = read_parameter_file(path_of(line.operands()[0]));
  if (name == nullptr) return model;
  const File file(std::fopen(path_of(name), "r"));
  if (file == nullptr) stop(std::string("can't open ") + name + ": " + std::strerror(errno));
  model.read_wordclass(file.get());
  return model;
}

const char* text_name(const CommandLine& line) {
  return line.operands().size() > 1 ? line.operands()[1] : "-";
}

}  // namespace orvelle
