// SPDX-License-Identifier: MIT
#include "commands/train_request.h"

#include <algorithm>
#include <filesystem>
#include <string>
#include <string_view>
#include <system_error>

#include "commands/text_io.h"
#include "commands/train_command_line.h"
#include "model/model_file.h"
#include "support/errors.h"
#include "support/strings.h"

namespace orvelle {

namespace {

// Good on all texts that were tried: two treebanks with five tagsets, and a corpus of a million words.
Settings usual_settings() {
  Settings settings;
  settings.Min_Info_Gain = 0.05;
  settings.Smoothing_Weight = 3.0;
  return settings;
}

// What options of train-orvelle say, read as it reads them.
Settings parse_settings(const char* text) {
  std::vector<std::string> words = {"train-orvelle"};
  std::string copy(text);
  char* cursor = copy.data();
  for (const char* word = next_string(&cursor); *word != '\0'; word = next_string(&cursor))
    words.push_back(word);
  if (std::ranges::find(words, "-st") != words.end()) misuse("--sentence-tag stands for -st");
  words.insert(words.end(), 4, "file");
  std::vector<char*> arguments;
  arguments.reserve(words.size());
  for (std::string& word : words) arguments.push_back(word.data());
  try {
    return parse_command_line(static_cast<int>(arguments.size()), arguments.data()).settings;
  } catch (const Error&) {
    misuse("--settings takes options of train-orvelle, not '" + std::string(text) + "'");
  }
}

// A model that is there may be replaced, anything else not: a treebank whose model was forgotten is the last name.
void require_model_name(const char* name) {
  std::error_code none;
  if (std::filesystem::is_directory(name, none))
    stop(std::string(name) + " is a folder; the last name is that of the model");
  if (!std::filesystem::is_regular_file(name, none) || std::filesystem::is_empty(name, none)) return;
  TextInput in(name);
  const auto begins = [&](std::string_view mark) {
    return in.look_ahead([&](std::string_view text) { return text.size() >= mark.size(); }).starts_with(mark);
  };
  if (!begins(Model_File_Mark) && !begins(std::string_view(" \0\0\0", 4)))
    stop(std::string(name) + " is there and is no model; the last name is that of the model");
}

}  // namespace

train_request_t parse_train_request(const CommandLine& line) {
  train_request_t request{line.operands(), line.operands().back(), usual_settings(), line.has("settings")};
  request.treebanks.pop_back();
  std::vector<const char*> inputs = request.treebanks;
  for (const char* option : {"dev", "lexicon", "open-classes", "corpus"})
    for (const char* name : line.values(option)) inputs.push_back(name);
  if (line.has("corpus") != line.has("open-classes") || (line.has("corpus") && !line.has("lexicon")))
    misuse("--lexicon, --open-classes and --corpus go together where there is no treebank");
  if (line.has("corpus") && line.operands().size() > 1)
    misuse("--corpus stands for a treebank: give one of them");
  if (!line.has("corpus") && line.operands().size() < 2) misuse("which treebank, and which model?");
  if (std::string_view(request.model) == "-") misuse("the model needs a file name");
  if (request.has_settings) request.settings = parse_settings(line.value("settings", ""));
  request.settings.SENT_TAG = line.value("sentence-tag", request.settings.SENT_TAG.c_str());
  if (std::ranges::count(inputs, std::string_view("-")) > 1) misuse("only one file can be standard input");
  if (line.values("dev").size() > 1) misuse("--dev is one file");
  require_other_file(request.model, inputs);
  require_other_file("-", inputs);
  require_model_name(request.model);
  return request;
}

}  // namespace orvelle
