// SPDX-License-Identifier: MIT
#include "commands/treebank_options.h"

#include <string>
#include <string_view>

#include "support/strings.h"

namespace orvelle {

namespace {

std::vector<std::string> words(std::string_view text) {
  std::vector<std::string> result;
  std::string copy(text);
  char* cursor = copy.data();
  for (const char* word = next_string(&cursor); *word != '\0'; word = next_string(&cursor))
    result.push_back(word);
  return result;
}

}  // namespace

std::optional<tag_column_t> tag_column(const CommandLine& line, const char* option) {
  if (!line.has(option)) return std::nullopt;
  return static_cast<tag_column_t>(line.choice(option, 0, {"xpos", "upos", "upos+feats"}));
}

treebank_options_t treebank_options(const CommandLine& line) {
  using Options = treebank_options_t;
  Options options;
  if (line.has("format"))
    options.format = static_cast<Options::format_t>(line.choice("format", 0, {"conllu", "columns"}) + 1);
  const char* const column = line.has("column") ? "column" : "tag";
  options.tag = tag_column(line, column).value_or(tag_column_t::Xpos);
  options.without_tag =
      static_cast<Options::without_tag_t>(line.choice("without-tag", 0, {"refuse", "upos", "skip"}));
  options.sentence_tag = line.value("sentence-tag", "SENT");
  if (words(options.sentence_tag) != std::vector<std::string>{options.sentence_tag})
    misuse("--sentence-tag is one word");
  options.sentence_ends = words(line.value("sentence-end", ". ! ?"));
  options.only_last = line.has("only-last");
  return options;
}

std::vector<const char*> choose_open_classes(const CommandLine& line, const Treebank& treebank,
                                             const sentences_t& sentences, const lexicon_entries_t& lexicon,
                                             const char* sentence_tag) {
  const open_t usual = treebank.has_universal_tags ? By_Universal_Tag : By_Forms_Seen_Once;
  const auto how = static_cast<open_t>(line.choice("open", usual, {"upos", "once"}));
  const int64_t once = line.integer("once", 10, 0, 1000000000);
  return choose_open_classes(treebank, sentences, lexicon, how, once, sentence_tag);
}

}  // namespace orvelle
