// SPDX-License-Identifier: MIT
#include "commands/training_set.h"

#include <algorithm>
#include <map>
#include <string_view>
#include <utility>

namespace orvelle {

treebank_columns_t columns_of(const Treebank& treebank, const sentences_t& sentences,
                              const treebank_options_t& options) {
  treebank_columns_t columns;
  columns.column = Tag_Column_Names[static_cast<int>(options.tag)];
  std::map<int, std::map<int, int>> by_form;
  std::map<int, int> all;
  const std::string_view sentence_tag = options.sentence_tag;
  for (const range_t& sentence : sentences)
    for (size_t i = sentence.first; i < sentence.end; ++i) {
      const token_t& token = treebank.tokens[i];
      if (treebank.strings.text(token.tag) != sentence_tag) continue;
      ++by_form[token.form][token.treebank_tag];
      ++all[token.treebank_tag];
    }
  const auto most_frequent = [&](const std::map<int, int>& counts) {
    const auto best = std::ranges::max_element(counts, {}, [](const auto& count) { return count.second; });
    return best != counts.end() ? treebank.strings.text(best->first) : "";
  };
  columns.sentence_tag = most_frequent(all);
  for (const auto& [form, counts] : by_form)
    if (most_frequent(counts) != columns.sentence_tag)
      columns.by_form.emplace(treebank.strings.text(form), most_frequent(counts));
  return columns;
}

training_set_t make_training_set(const CommandLine& line, Treebank& treebank, const sentences_t& sentences,
                                 const treebank_options_t& options) {
  const lexicon_entries_t lexicon = make_lexicon(treebank, sentences);
  require_soundness(treebank, lexicon, options.sentence_tag);
  const std::vector<const char*> open =
      choose_open_classes(line, treebank, sentences, lexicon, options.sentence_tag);
  return {{{"lexicon of the treebank", lexicon_text(treebank, lexicon)},
           {"open classes of the treebank", open_class_text(open)},
           {"corpus of the treebank", corpus_text(treebank, sentences, "")}},
          columns_of(treebank, sentences, options)};
}

bool can_be_trained_on(const Treebank& treebank, const sentences_t& sentences,
                       std::string_view sentence_tag) {
  return std::ranges::any_of(sentences, [&](const range_t& sentence) {
    return std::any_of(
        treebank.tokens.begin() + static_cast<std::ptrdiff_t>(sentence.first),
        treebank.tokens.begin() + static_cast<std::ptrdiff_t>(sentence.end),
        [&](const token_t& token) { return treebank.strings.text(token.tag) == sentence_tag; });
  });
}

gold_sentence_t gold_of(const Treebank& treebank, const range_t& sentence) {
  gold_sentence_t gold;
  for (size_t i = sentence.first; i < sentence.end; ++i) {
    gold.forms.push_back(treebank.strings.text(treebank.tokens[i].form));
    gold.tags.push_back(treebank.strings.text(treebank.tokens[i].tag));
  }
  return gold;
}

}  // namespace orvelle
