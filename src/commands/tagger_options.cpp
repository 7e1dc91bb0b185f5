// SPDX-License-Identifier: MIT
#include "commands/tagger_options.h"

#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <cstdio>
#include <cstring>

#include "commands/added_lexicon.h"
#include "support/errors.h"
#include "support/files.h"

namespace orvelle {

tagger_options_t tagger_options(const CommandLine& line) {
  tagger_options_t options;
  using Choice = tagger_options_t::Choice;
  options.choice =
      static_cast<Choice>(line.choice("decode", static_cast<int>(Choice::As_Suits), {"path", "word"}));
  options.warn = {};  // the commands tell of bytes that are not UTF-8 themselves, with the place
  options.beam = static_cast<size_t>(line.integer("beam", static_cast<int64_t>(options.beam), 1, 1 << 20));
  return options;
}

size_t jobs_option(const CommandLine& line, int64_t fallback) {
  return static_cast<size_t>(line.integer("jobs", fallback, 1, 1024));
}

const char* path_of(const char* name) { return std::strcmp(name, "-") == 0 ? "/dev/stdin" : name; }

std::vector<const char*> tagger_inputs(const CommandLine& line) {
  std::vector<const char*> inputs = {line.operands()[0], text_name(line)};
  if (const char* const transducer = line.value("wordclass", nullptr)) inputs.push_back(transducer);
  for (const char* const lexicon : line.values("lexicon")) inputs.push_back(lexicon);
  return inputs;
}

namespace {

// What is wrong with a transducer file.
std::string fault_of_transducer(const Error& failure) {
  const std::string message = message_of(failure);
  return message == "Can't read from input file" ? "it can't be read" : message;
}

// What is wrong with a model file, for a reader who does not know its inside.
std::string fault_of_model(const Error& failure) {
  std::string message = message_of(failure);
  if (message == "Can't read from input file" || message == "while reading string from binary file")
    return "it is cut short, or no model";
  if (message.starts_with("Can't read from input file")) return "it can't be read";
  if (message.ends_with("which must be 32")) return "it is no model";
  return message;
}

}  // namespace

Model load_model(const char* name) {
  if (std::strcmp(name, "-") != 0 && access(name, R_OK) != 0)
    stop(formatted("can't open %s: %s", name, std::strerror(errno)));
  try {
    return read_model_file(path_of(name));
  } catch (const Error& failure) {
    stop(formatted("%s: %s", shown_name(name, "standard input"), fault_of_model(failure).c_str()));
  }
}

Model load_tagging_model(const CommandLine& line, Remarks& remarks) {
  if (std::ranges::count(tagger_inputs(line), std::string_view("-")) > 1)
    misuse("only one file can be standard input");
  Model model = load_model(line.operands()[0]);
  for (const char* const lexicon : line.values("lexicon")) add_lexicon(model, lexicon, remarks);
  const char* const name = line.value("wordclass", nullptr);
  if (name == nullptr) return model;
  const File file = open_stream(path_of(name), "r");
  if (file == nullptr) stop(std::string("can't open ") + name + ": " + std::strerror(errno));
  try {
    model.read_wordclass(file.get());
  } catch (const Error& failure) {
    stop(formatted("%s: %s", shown_name(name, "standard input"), fault_of_transducer(failure).c_str()));
  }
  return model;
}

void require_column(const Model& model, std::optional<tag_column_t> column) {
  const std::string_view of_model = model.treebank_column();
  if (!column || of_model.empty() || of_model == Tag_Column_Names[static_cast<int>(*column)]) return;
  const bool has_universal_tags = of_model == Tag_Column_Names[static_cast<int>(tag_column_t::Upos_Feats)];
  if (has_universal_tags && *column == tag_column_t::Upos) return;
  stop("the model was trained on another column: " + std::string(of_model));
}

void tell_of_text(const TextInput& in, bool takes_lines_for_sentences, Remarks& remarks) {
  if (in.had_byte_order_mark()) remarks.say_at(in.name(), 1, "byte-order mark dropped");
  if (takes_lines_for_sentences)
    remarks.say(std::string(in.name()) +
                " has a sentence a line; its words are taken to stand between blanks (see --format)");
}

const char* text_name(const CommandLine& line) {
  return line.operands().size() > 1 ? line.operands()[1] : "-";
}

}  // namespace orvelle
