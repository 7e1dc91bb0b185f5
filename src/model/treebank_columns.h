// SPDX-License-Identifier: MIT
// How the tags of a model stand in the columns of its treebank.
#pragma once

#include <map>
#include <string>
#include <string_view>

namespace orvelle {

// The section "treebank" of a model file (model_file.h).
struct treebank_columns_t {
  std::string column;  // "xpos", "upos" or "upos+feats"; "" if nothing is known
  std::string
      sentence_tag;  // what the sentence tag stands for where `by_form` says nothing else; "": for itself
  std::map<std::string, std::string, std::less<>> by_form;

  treebank_columns_t() = default;
  explicit treebank_columns_t(std::string_view text);
  std::string text() const;

  // The tag of the treebank, for a word form that got the sentence tag.
  const std::string& tag_of_sentence_end(std::string_view form) const {
    const auto place = by_form.find(form);
    return place != by_form.end() ? place->second : sentence_tag;
  }
};

}  // namespace orvelle
