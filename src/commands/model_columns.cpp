// SPDX-License-Identifier: MIT
#include "commands/model_columns.h"

#include <algorithm>

#include "lexicon/lemmas.h"

namespace orvelle {

ModelColumns::ModelColumns(const Model& model, const char* unknown_lemma)
    : model_(model), unknown_lemma_(unknown_lemma) {
  const std::string_view column = model.treebank_column();
  if (column == "upos") column_ = tag_column_t::Upos;
  if (column == "upos+feats") column_ = tag_column_t::Upos_Feats;
}

std::string_view ModelColumns::lemma(const candidate_t& candidate, std::string_view form) {
  const std::string_view lemma = lexicon_lemma(candidate, form);
  const bool is_of_numbers = lemma == Card_Lemma || lemma == Ord_Lemma;
  return is_of_numbers ? form : lemma;
}

std::string_view ModelColumns::lexicon_lemma(const candidate_t& candidate, std::string_view form) {
  if (candidate.lemma != No_Lemma) return on_one_line(model_.Lemma(candidate.lemma));
  if (unknown_lemma_ != nullptr) return unknown_lemma_;
  return on_one_line(guessed_lemma(form, candidate.tag));
}

// Lemmas of a lexicon with CR LF line ends end in a CR, others hold one: it would break the line for many a reader.
std::string_view ModelColumns::on_one_line(std::string_view lemma) {
  if (lemma.find('\r') == lemma.npos) return lemma;
  line_lemma_ = lemma.substr(0, lemma.find_last_not_of('\r') + 1);
  std::ranges::replace(line_lemma_, '\r', ' ');
  return line_lemma_;
}

std::string_view ModelColumns::tag(const candidate_t& candidate, std::string_view form) const {
  const std::string_view tag = model_.treebank_tag(candidate.tag, form);
  const bool has_more = column_ == tag_column_t::Upos && model_.treebank_column() == "upos+feats";
  return has_more ? tag.substr(0, tag.find('|')) : tag;
}

// The same few unknown words come again and again.
std::string_view ModelColumns::guessed_lemma(std::string_view form, int32_t tag) {
  constexpr size_t Most_Remembered = 1 << 16;
  if (guessed_.size() > Most_Remembered) guessed_.clear();
  (key_ = form) += '\0';
  key_ += std::to_string(tag);
  const auto [place, is_new] = guessed_.try_emplace(key_);
  if (is_new) place->second = model_.guess_lemma(std::string(form).c_str(), tag);
  return place->second;
}

void ModelColumns::fill(conllu_line_t& line, const candidate_t& candidate, bool with_lemma) {
  const std::string_view form = line.columns[conllu_line_t::Form];
  if (with_lemma) {
    const std::string_view found = lemma(candidate, form);
    line.columns[conllu_line_t::Lemma] = found.empty() ? "_" : found;
  }
  const std::string_view tag = this->tag(candidate, form);
  if (column_ != tag_column_t::Upos_Feats) {
    line.columns[column_ == tag_column_t::Xpos ? conllu_line_t::Xpos : conllu_line_t::Upos] = tag;
    return;
  }
  const size_t end = std::min(tag.find('|'), tag.size());
  features_ = sorted_features(tag.substr(std::min(end + 1, tag.size())));
  line.columns[conllu_line_t::Upos] = tag.substr(0, end);
  line.columns[conllu_line_t::Feats] = features_.empty() ? "_" : std::string_view(features_);
}

}  // namespace orvelle
