#include "tagger/tagger.h"

#include <algorithm>

#include "lexicon/lexicon_section.h"
#include "lexicon/tagset.h"

namespace orvelle {

Tagger::Tagger(Choice choice, size_t beam, bool strips_markup)
    : candidates_(strips_markup),
      context_(Context_Tree, A_Priori_Tag_Prob_Fac),
      decoder_(context_, beam),
      choice_(choice),
      preceding_(context_.order(), Sent_Tag) {}

void Tagger::tag(std::span<const std::string_view> forms, bool with_posteriors) {
  candidates_.trim();
  words_.clear();
  for (const std::string_view form : forms) words_.push_back(candidates_.of(form));
  posterior_starts_.clear();
  if (with_posteriors || choice_ == Choice::Word) {
    posteriors_.clear();
    decoder_.posteriors(words_, preceding_.data(), posteriors_);
    size_t start = 0;
    for (const candidates_t& candidates : words_) {
      posterior_starts_.push_back(start);
      start += candidates.size();
    }
  }
  if (choice_ == Choice::Word)
    choose_most_probable();
  else
    decoder_.best_path(words_, preceding_.data(), chosen_);
}

std::span<const double> Tagger::posteriors(size_t word) const {
  if (posterior_starts_.empty()) return {};
  return {posteriors_.data() + posterior_starts_[word], words_[word].size()};
}

void Tagger::choose_most_probable() {
  chosen_.clear();
  for (size_t i = 0; i < words_.size(); ++i) {
    const std::span<const double> p = posteriors(i);
    chosen_.push_back(static_cast<int>(std::max_element(p.begin(), p.end()) - p.begin()));
  }
}

void Tagger::settle(size_t words) {
  for (size_t i = words - std::min(words, preceding_.size()); i < words; ++i) {
    std::copy(preceding_.begin() + 1, preceding_.end(), preceding_.begin());
    preceding_.back() = chosen(i).tag;
  }
}

void Tagger::end_sentence() { std::fill(preceding_.begin(), preceding_.end(), Sent_Tag); }

}  // namespace orvelle
