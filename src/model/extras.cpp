// SPDX-License-Identifier: MIT
#include "model/extras.h"

#include <algorithm>

namespace orvelle {

namespace {

std::vector<card_line_t> card_of(std::string_view text) {
  std::vector<card_line_t> card;
  while (!text.empty()) {
    const std::string_view line = text.substr(0, text.find('\n'));
    text.remove_prefix(std::min(line.size() + 1, text.size()));
    const size_t tab = line.find('\t');
    if (tab == line.npos) bad_model_file("card");
    card.push_back({std::string(line.substr(0, tab)), std::string(line.substr(tab + 1))});
  }
  return card;
}

std::string text_of(const std::vector<card_line_t>& card) {
  std::string text;
  for (const auto& [key, value] : card) ((text += key) += '\t') += value + '\n';
  return text;
}

}  // namespace

model_extras_t::model_extras_t(const std::vector<section_t>& sections, int number_of_tags) {
  for (const auto& [name, content] : sections) {
    if (name == "card")
      card = card_of(content);
    else if (name == "treebank")
      treebank = treebank_columns_t(content);
    else if (name == "lemmas")
      lemma_rules = LemmaRules(content, number_of_tags);
    else if (name == "weights")
      weights = second_look_weights_t(content);
    else if (name == "added")
      added = AddedReadings(content, number_of_tags);
    else
      bad_model_file("unknown section");
  }
}

std::vector<section_t> model_extras_t::sections() const {
  std::vector<section_t> sections = {{"card", text_of(card)}};
  if (!treebank.column.empty()) sections.push_back({"treebank", treebank.text()});
  if (!lemma_rules.empty()) sections.push_back({"lemmas", lemma_rules.text()});
  if (!weights.empty()) sections.push_back({"weights", weights.section()});
  if (!added.empty()) sections.push_back({"added", added.section()});
  return sections;
}

}  // namespace orvelle
