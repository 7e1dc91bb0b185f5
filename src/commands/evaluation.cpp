// SPDX-License-Identifier: MIT
#include "commands/evaluation.h"

#include <algorithm>

namespace orvelle {

void confusion_t::add_example(const std::string& form) {
  constexpr size_t Most_Examples = 5;
  if (examples.size() < Most_Examples && std::ranges::find(examples, form) == examples.end())
    examples.push_back(form);
}

void evaluation_t::add(const evaluation_t& other) {
  for (score_t evaluation_t::*const member :
       {&evaluation_t::all, &evaluation_t::known, &evaluation_t::unknown, &evaluation_t::ambiguous,
        &evaluation_t::sentences, &evaluation_t::marked_sentences, &evaluation_t::lemmas,
        &evaluation_t::universal, &evaluation_t::features})
    (this->*member).add(other.*member);
  has_empty_lines = has_empty_lines || other.has_empty_lines;
  if (broken_line == 0) broken_line = other.broken_line;
  for (const auto& [name, theirs] : other.tags) {
    tag_score_t& score = tags[name];
    score.gold += theirs.gold;
    score.given += theirs.given;
    score.right += theirs.right;
  }
  for (const auto& [pair, theirs] : other.confusions) {
    confusion_t& confusion = confusions[pair];
    confusion.words += theirs.words;
    for (const std::string& form : theirs.examples) confusion.add_example(form);
  }
  for (const auto& [name, words] : other.foreign_tags) foreign_tags[name] += words;
}

void Evaluator::add(std::string_view form, std::string_view tag, std::string_view lemma) {
  tokens_.push_back({std::string(form), std::string(tag), std::string(lemma)});
  if (tokens_.size() >= Tagger::Longest_Piece) compare(tokens_.size() - Tagger::Waiting_Words);
}

void Evaluator::end_sentence() {
  if (words_of_sentence_ + tokens_.size() == 0) return;
  compare(tokens_.size());
  tagger_.end_sentence();
  result_.sentences.count(sentence_is_right_);
  words_of_sentence_ = 0;
  sentence_is_right_ = true;
}

// Tags all that waits and takes the first `words` words as done.
void Evaluator::compare(size_t words) {
  forms_.clear();
  for (const token_t& token : tokens_) forms_.push_back(token.form);
  tagger_.tag(forms_);
  for (size_t i = 0; i < words; ++i) compare(tokens_[i], tagger_.chosen(i));
  tagger_.settle(words);
  words_of_sentence_ += words;
  tokens_.erase(tokens_.begin(), tokens_.begin() + static_cast<ptrdiff_t>(words));
}

void Evaluator::compare(const token_t& token, const candidate_t& chosen) {
  const char* const own = model_.Tag(chosen.tag);
  const std::string_view given = token.tag == own ? own : columns_.tag(chosen, token.form);
  if (!token.lemma.empty()) result_.lemmas.count(columns_.lemma(chosen, token.form) == token.lemma);
  if (token.tag.empty()) return;
  const bool is_right = token.tag == given;
  const entry_t* const entry = model_.find_entry(token.form.c_str());
  sentence_is_right_ = sentence_is_right_ && is_right;
  marked_sentence_is_right_ = marked_sentence_is_right_ && is_right;
  if (token.tag == model_.Tag(model_.Sent_Tag())) {
    result_.marked_sentences.count(marked_sentence_is_right_);
    marked_sentence_is_right_ = true;
  }
  result_.all.count(is_right);
  if (columns_.column() == tag_column_t::Upos_Feats) compare_parts(token.tag, given);
  (entry != nullptr ? result_.known : result_.unknown).count(is_right);
  if (entry != nullptr && entry->data->n > 1) result_.ambiguous.count(is_right);
  if (details_) count_details(token, given);
}

void Evaluator::compare_parts(std::string_view gold, std::string_view given) {
  const size_t gold_end = std::min(gold.find('|'), gold.size()),
               given_end = std::min(given.find('|'), given.size());
  result_.universal.count(gold.substr(0, gold_end) == given.substr(0, given_end));
  result_.features.count(gold.substr(gold_end) == given.substr(given_end));
}

void Evaluator::count_details(const token_t& token, std::string_view given) {
  const auto tag_score = [this](std::string_view name) -> tag_score_t& {
    const auto place = result_.tags.find(name);
    return place != result_.tags.end() ? place->second : result_.tags[std::string(name)];
  };
  ++tag_score(token.tag).gold;
  ++tag_score(given).given;
  if (token.tag == given) {
    ++tag_score(given).right;
    return;
  }
  if (model_.find_tag(token.tag) < 0) ++result_.foreign_tags[token.tag];
  confusion_t& confusion = result_.confusions[{token.tag, std::string(given)}];
  ++confusion.words;
  confusion.add_example(token.form);
}

}  // namespace orvelle
