// SPDX-License-Identifier: MIT
#include <orvelle/tagger.h>

#include <algorithm>
#include <optional>
#include <utility>
#include <vector>

#include "model/tables.h"
#include "tagger/first_pass.h"
#include "tagger/second_look.h"

namespace orvelle {

namespace {

Candidates::options_t candidate_options(const Tables& tables, const tagger_options_t& options) {
  const auto width = tables.extras.weights.empty() ? Candidates::Width::Narrow : Candidates::Width::Wide;
  return {width, options.strips_markup, options.warn};
}

}  // namespace

struct Tagger::Parts {
  Parts(const Tables& model_tables, const tagger_options_t& given, std::shared_ptr<SharedWords> its_words)
      : tables(model_tables),
        options(given),
        by_word(options.choice == tagger_options_t::Choice::Word ||
                (options.choice == tagger_options_t::Choice::As_Suits && !tables.extras.card.empty())),
        shared(std::move(its_words)),
        first(tables, candidate_options(tables, options), options.beam, shared) {
    if (by_word && !tables.extras.weights.empty()) second_look.emplace(tables);
  }

  std::span<const double> posteriors_of(size_t word) const {
    const size_t end = word + 1 < starts.size() ? starts[word + 1] : posteriors.size();
    return std::span(posteriors).subspan(starts[word], end - starts[word]);
  }

  void find_posteriors() {
    posteriors.clear();
    first.posteriors(posteriors);
    starts.clear();
    size_t start = 0;
    for (const Candidates::word_t& word : first.words()) {
      starts.push_back(start);
      start += word.candidates.size();
    }
    if (!second_look) return;
    second_look->look(first.words(), posteriors);
    if (with_posteriors) second_look->temper(first.words(), posteriors);
  }

  void choose_most_probable() {
    chosen.clear();
    for (size_t i = 0; i < starts.size(); ++i) {
      const std::span<const double> p = posteriors_of(i);
      chosen.push_back(static_cast<int>(std::max_element(p.begin(), p.end()) - p.begin()));
    }
  }

  const Tables& tables;
  const tagger_options_t options;
  const bool by_word;
  const std::shared_ptr<SharedWords> shared;
  FirstPass first;
  std::optional<SecondLook> second_look;
  std::vector<int> chosen;
  bool with_posteriors = false;
  std::vector<double> posteriors;
  std::vector<size_t> starts;  // of the words in the posteriors
};

Tagger::Tagger(const Model& model, const tagger_options_t& options)
    : parts_(
          std::make_unique<Parts>(ModelAccess::tables(model), options,
                                  std::make_shared<SharedWords>(ModelAccess::tables(model), options.warn))) {}

Tagger::Tagger(const Tagger& other)
    : parts_(std::make_unique<Parts>(other.parts_->tables, other.parts_->options, other.parts_->shared)) {}

Tagger::Tagger(Tagger&&) noexcept = default;
Tagger& Tagger::operator=(Tagger&&) noexcept = default;
Tagger::~Tagger() = default;

void Tagger::tag(std::span<const std::string_view> forms, bool with_posteriors) {
  Parts& p = *parts_;
  p.with_posteriors = with_posteriors;
  p.first.find(forms);
  if (with_posteriors || p.by_word) p.find_posteriors();
  if (p.by_word)
    p.choose_most_probable();
  else
    p.first.best_path(p.chosen);
}

candidates_t Tagger::candidates(size_t word) const { return parts_->first.words()[word].candidates; }

size_t Tagger::choice(size_t word) const { return static_cast<size_t>(parts_->chosen[word]); }

std::span<const double> Tagger::posteriors(size_t word) const {
  return parts_->with_posteriors ? parts_->posteriors_of(word) : std::span<const double>();
}

void Tagger::settle(size_t words) {
  if (parts_->second_look) parts_->second_look->settle(words);
  parts_->first.settle(std::span(parts_->chosen).first(words));
}

void Tagger::end_sentence() {
  if (parts_->second_look) parts_->second_look->end_sentence();
  parts_->first.end_sentence();
}

}  // namespace orvelle
