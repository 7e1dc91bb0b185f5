// SPDX-License-Identifier: MIT
#include "model/treebank_columns.h"

#include <algorithm>

#include "model/model_file.h"

namespace orvelle {

treebank_columns_t::treebank_columns_t(std::string_view text) {
  const auto take_line = [&text] {
    const std::string_view line = text.substr(0, text.find('\n'));
    text.remove_prefix(std::min(line.size() + 1, text.size()));
    return line;
  };
  column = take_line();
  if (column != "xpos" && column != "upos" && column != "upos+feats")
    bad_model_file("column of the treebank");
  while (!text.empty()) {
    const std::string_view line = take_line();
    const size_t tab = line.find('\t');
    if (tab == line.npos) bad_model_file("tags of sentence ends");
    const std::string_view form = line.substr(0, tab), tag = line.substr(tab + 1);
    if (tag.find('\t') != tag.npos) bad_model_file("tags of sentence ends");
    if (form.empty())
      sentence_tag = tag;
    else
      by_form.emplace(form, tag);
  }
}

std::string treebank_columns_t::text() const {
  std::string text = column + '\n';
  if (!sentence_tag.empty()) text += '\t' + sentence_tag + '\n';
  for (const auto& [form, tag] : by_form) ((text += form) += '\t') += tag + '\n';
  return text;
}

}  // namespace orvelle
