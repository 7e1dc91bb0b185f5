#include "tagger/evaluation.h"

#include <algorithm>

#include "lexicon/entries.h"
#include "lexicon/tagset.h"

namespace orvelle {

void Evaluator::add(std::string_view form, std::string_view gold) {
  tokens_.push_back({std::string(form), std::string(gold)});
  if (tokens_.size() >= Tagger::Longest_Piece) compare(tokens_.size() - Tagger::Waiting_Words);
}

void Evaluator::end_sentence() {
  if (!in_sentence()) return;
  compare(tokens_.size());
  tagger_.end_sentence();
  result_.sentences.add(sentence_is_right_);
  words_of_sentence_ = 0;
  sentence_is_right_ = true;
}

// Tags all that waits and takes the first `words` words as done.
void Evaluator::compare(size_t words) {
  forms_.clear();
  for (const token_t& token : tokens_) forms_.push_back(token.form);
  tagger_.tag(forms_);
  for (size_t i = 0; i < words; ++i) compare(tokens_[i], Tag[tagger_.chosen(i).tag]);
  tagger_.settle(words);
  words_of_sentence_ += words;
  tokens_.erase(tokens_.begin(), tokens_.begin() + static_cast<ptrdiff_t>(words));
}

void Evaluator::compare(const token_t& token, std::string_view given) {
  const bool is_right = token.gold == given;
  const entry_t* const entry = find_entry(token.form.c_str());
  sentence_is_right_ = sentence_is_right_ && is_right;
  marked_sentence_is_right_ = marked_sentence_is_right_ && is_right;
  if (token.gold == Tag[Sent_Tag]) {
    result_.marked_sentences.add(marked_sentence_is_right_);
    marked_sentence_is_right_ = true;
  }
  result_.all.add(is_right);
  (entry != nullptr ? result_.known : result_.unknown).add(is_right);
  if (entry != nullptr && entry->data->n > 1) result_.ambiguous.add(is_right);
  if (!details_) return;

  const auto tag_score = [this](std::string_view name) -> tag_score_t& {
    const auto place = result_.tags.find(name);
    return place != result_.tags.end() ? place->second : result_.tags[std::string(name)];
  };
  ++tag_score(token.gold).gold;
  ++tag_score(given).given;
  if (is_right) {
    ++tag_score(given).right;
    return;
  }
  if (find_tag(token.gold) < 0) ++result_.foreign_tags[token.gold];
  confusion_t& confusion = result_.confusions[{token.gold, std::string(given)}];
  ++confusion.words;
  std::vector<std::string>& examples = confusion.examples;
  if (examples.size() < Most_Examples &&
      std::find(examples.begin(), examples.end(), token.form) == examples.end())
    examples.push_back(token.form);
}

}  // namespace orvelle
