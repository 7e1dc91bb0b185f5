// SPDX-License-Identifier: MIT
#include <orvelle/tagger.h>

#include <algorithm>
#include <optional>
#include <utility>
#include <vector>

#include "model/tables.h"
#include "tagger/candidates.h"
#include "tagger/context_model.h"
#include "tagger/decoder.h"
#include "tagger/second_look.h"

namespace orvelle {

struct Tagger::Parts {
  Parts(const Tables& model_tables, const tagger_options_t& given, std::shared_ptr<const RareWords> learned)
      : tables(model_tables),
        options(given),
        by_word(options.choice == tagger_options_t::Choice::Word ||
                (options.choice == tagger_options_t::Choice::As_Suits && !tables.extras.card.empty())),
        rare_words(std::move(learned)),
        words_candidates(tables, rare_words, options.strips_markup, options.warn),
        context(tables.Context_Tree, tables.fullex.A_Priori_Tag_Prob_Fac),
        decoder(context, options.beam),
        preceding(static_cast<size_t>(context.order()), tables.fullex.tagset.Sent_Tag) {
    if (by_word && !tables.extras.weights.empty()) second_look.emplace(tables);
  }
  Parts(const Parts&) = delete;
  Parts& operator=(const Parts&) = delete;

  std::span<const double> posteriors_of(size_t word) const {
    if (posterior_starts.empty()) return {};
    return {posteriors.data() + posterior_starts[word], words[word].size()};
  }

  void find_posteriors(std::span<const std::string_view> forms) {
    posteriors.clear();
    decoder.posteriors(words, preceding.data(), posteriors);
    if (second_look) second_look->look(forms, found, posteriors);
    size_t start = 0;
    for (const candidates_t& candidates : words) {
      posterior_starts.push_back(start);
      start += candidates.size();
    }
  }

  void choose_most_probable() {
    chosen.clear();
    for (size_t i = 0; i < words.size(); ++i) {
      const std::span<const double> p = posteriors_of(i);
      chosen.push_back(static_cast<int>(std::max_element(p.begin(), p.end()) - p.begin()));
    }
  }

  const Tables& tables;
  const tagger_options_t options;
  const bool by_word;
  const std::shared_ptr<const RareWords> rare_words;
  Candidates words_candidates;
  ContextModel context;
  Decoder decoder;
  std::optional<SecondLook> second_look;
  std::vector<int32_t> preceding;         // tags of what was settled, the nearest last
  std::vector<Candidates::word_t> found;  // of the words
  std::vector<candidates_t> words;
  std::vector<int> chosen;
  std::vector<double> posteriors;
  std::vector<size_t> posterior_starts;  // by word; empty without posteriors
};

Tagger::Tagger(const Model& model, const tagger_options_t& options)
    : parts_(std::make_unique<Parts>(
          ModelAccess::tables(model), options,
          std::make_shared<const RareWords>(ModelAccess::tables(model), options.warn))) {}

Tagger::Tagger(const Tagger& other)
    : parts_(std::make_unique<Parts>(other.parts_->tables, other.parts_->options, other.parts_->rare_words)) {
}

Tagger::Tagger(Tagger&&) noexcept = default;
Tagger& Tagger::operator=(Tagger&&) noexcept = default;
Tagger::~Tagger() = default;

void Tagger::tag(std::span<const std::string_view> forms, bool with_posteriors) {
  Parts& p = *parts_;
  if (p.words_candidates.trim() && p.second_look) p.second_look->forget();
  p.words_candidates.find(forms, p.found);
  p.words.clear();
  for (const Candidates::word_t& word : p.found) p.words.push_back(word.candidates);
  p.posterior_starts.clear();
  if (with_posteriors || p.by_word) p.find_posteriors(forms);
  if (p.by_word)
    p.choose_most_probable();
  else
    p.decoder.best_path(p.words, p.preceding.data(), p.chosen);
}

candidates_t Tagger::candidates(size_t word) const { return parts_->words[word]; }

size_t Tagger::choice(size_t word) const { return static_cast<size_t>(parts_->chosen[word]); }

std::span<const double> Tagger::posteriors(size_t word) const { return parts_->posteriors_of(word); }

void Tagger::settle(size_t words) {
  if (parts_->second_look) parts_->second_look->settle(words);
  std::vector<int32_t>& preceding = parts_->preceding;
  for (size_t i = words - std::min(words, preceding.size()); i < words; ++i) {
    std::copy(preceding.begin() + 1, preceding.end(), preceding.begin());
    preceding.back() = chosen(i).tag;
  }
}

void Tagger::end_sentence() {
  if (parts_->second_look) parts_->second_look->end_sentence();
  std::fill(parts_->preceding.begin(), parts_->preceding.end(), parts_->tables.fullex.tagset.Sent_Tag);
}

}  // namespace orvelle
