// SPDX-License-Identifier: MIT
#include "tagger/candidates.h"

#include <orvelle/word_forms.h>

#include <algorithm>
#include <array>
#include <cmath>
#include <optional>
#include <utility>

namespace orvelle {

namespace {

// Chosen on held-out parts of the training texts; see docs/tagging.md.
constexpr int Trusted_Frequency = 20;       // an entry seen more often is taken as it stands
constexpr double Guess_Weight = 0.2;        // tokens that a guess counts for beside those of a rare entry
constexpr double Small_Letter_Share = 0.9;  // of the small form's entry, for a capitalised form without one
constexpr double Least_Ratio = 1e-3;        // of a tag's probability to that of the most probable tag

}  // namespace

Candidates::Candidates(const Tables& tables, std::shared_ptr<const RareWords> rare_words, bool strips_markup,
                       Warn warn)
    : tables_(tables),
      strips_markup_(strips_markup),
      warn_(warn),
      guesser_(tables, std::move(rare_words), std::move(warn)),
      known_(static_cast<size_t>(tables.fullex.lexicon.Fullform_Lexicon_Size)),
      probability_(tables.fullex.A_Priori_Tag_Prob_Fac.size(), 0.0),
      lemma_(probability_.size(), No_Lemma) {}

// The record that stands in for a word form without an entry, or null. Of the word classes, class 0 is that of the word
// forms which the transducer does not accept: it says nothing about them, and hides the number entries from a lookup. A
// number entry that no number of the corpus was counted in lists all tags alike.
const entrydata_t* Candidates::stand_in(const char* word, bool strips_markup) const {
  const entry_t* entry = tables_.fullform_lookup2(word, strips_markup);
  if (entry == nullptr) return nullptr;
  if (tables_.word_classes && entry == &tables_.word_classes->Wordclass_Lexicon[0]) {
    if (const std::optional<std::string> stripped = strip_xml(word, strips_markup))
      return stand_in(stripped->c_str(), false);
    entry = tables_.fullex.lexicon.number_entry(word);
    if (entry == nullptr) return nullptr;
  }
  const entry_t* const entries = tables_.fullex.lexicon.Fullform_Lexicon;
  const bool is_number = entry == &entries[Ordinal_Entry] || entry == &entries[Cardinal_Entry];
  return is_number && entry->data->freq <= 0 ? nullptr : entry->data;
}

// The lexicon is asked for many words together, so that they wait for the memory at the same time.
void Candidates::find(std::span<const std::string_view> forms, std::vector<word_t>& words) {
  std::array<std::string_view, Lexicon::Max_Words_At_Once> group;
  std::array<const entry_t*, Lexicon::Max_Words_At_Once> entries;
  words.clear();
  while (!forms.empty()) {
    const size_t size = std::min(forms.size(), group.size());
    for (size_t i = 0; i < size; ++i) group[i] = forms[i].substr(0, forms[i].find('\0'));
    tables_.fullex.lexicon.find_entries(std::span(group).first(size), entries.data());
    for (size_t i = 0; i < size; ++i) words.push_back(of(group[i], entries[i]));
    forms = forms.subspan(size);
  }
}

Candidates::word_t Candidates::of(std::string_view form, const entry_t* entry) {
  if (entry != nullptr) {
    const int number = tables_.fullex.lexicon.index_of(*entry);
    std::vector<candidate_t>& known = known_[static_cast<size_t>(number)];
    if (known.empty()) {
      choose_known(entry->word, *entry);
      known = take_choice();
    }
    return {known, number};
  }
  auto place = unknown_.find(form);
  if (place == unknown_.end()) {
    choose_unknown(std::string(form).c_str());
    const auto number = static_cast<int32_t>(known_.size() + unknown_.size());
    place = unknown_.emplace(form, unknown_t{take_choice(), number}).first;
    remembered_ += form.size() + place->second.candidates.size() * sizeof(candidate_t) + 128;
  }
  return {place->second.candidates, place->second.number};
}

bool Candidates::trim() {
  if (remembered_ <= Remembered_Bytes) return false;
  unknown_.clear();
  remembered_ = 0;
  return true;
}

void Candidates::begin_choice() {
  std::fill(probability_.begin(), probability_.end(), 0.0);
  std::fill(lemma_.begin(), lemma_.end(), No_Lemma);
}

void Candidates::choose_known(const char* word, const entry_t& entry) {
  begin_choice();
  const entrydata_t& data = *entry.data;
  if (data.freq < 1 || data.freq > Trusted_Frequency) {
    add_listed(data, 1.0);
    return;
  }
  const double share = data.freq / (data.freq + Guess_Weight);
  add_listed(data, share);
  add_guess(word, &data, 1.0 - share);
  // A tag that the entry does not list goes with the lemma of the one it has most often.
  if (data.n == 0) return;
  const int32_t lemma = data.lemma[std::max_element(data.prob, data.prob + data.n) - data.prob];
  for (int32_t& l : lemma_)
    if (l == No_Lemma) l = lemma;
}

void Candidates::choose_unknown(const char* word) {
  begin_choice();
  if (const entrydata_t* const data = stand_in(word, strips_markup_)) {
    add_listed(*data, 1.0);
    return;
  }
  const std::optional<std::string> stripped = strip_xml(word, strips_markup_);
  if (stripped) word = stripped->c_str();
  const bool utf8 = tables_.UTF8_Processing;
  const entry_t* const small = *word != '\0' && is_upper(word, utf8, warn_)
                                   ? tables_.fullex.lexicon.find_entry(all_to_lower(word, utf8, warn_))
                                   : nullptr;
  if (small != nullptr) add_listed(*small->data, Small_Letter_Share);
  add_guess(word, nullptr, small != nullptr ? 1.0 - Small_Letter_Share : 1.0);
}

void Candidates::add_listed(const entrydata_t& data, double share) {
  for (int k = 0; k < data.n; ++k) {
    probability_[data.tag[k]] += share * data.prob[k];
    if (data.lemma != nullptr) lemma_[data.tag[k]] = data.lemma[k];
  }
}

void Candidates::add_guess(const char* word, const entrydata_t* entry, double share) {
  const std::vector<double>& guess = guesser_.guess(word, entry);
  for (size_t tag = 0; tag < guess.size(); ++tag) probability_[tag] += share * guess[tag];
}

// Nothing is known, as in a file whose entry lost all its tags: any tag, by its frequency.
void Candidates::add_any() {
  const std::vector<double>& factors = tables_.fullex.A_Priori_Tag_Prob_Fac;
  for (size_t tag = 0; tag < factors.size(); ++tag) probability_[tag] = 1.0 / factors[tag];
}

// The best tags by probability, with scores that a decoder can multiply.
std::vector<candidate_t> Candidates::take_choice() {
  const auto usable = [](double p) { return p > 0.0 && std::isfinite(p); };
  if (std::none_of(probability_.begin(), probability_.end(), usable)) add_any();
  double largest = 0.0;
  for (const double p : probability_)
    if (usable(p)) largest = std::max(largest, p);
  std::vector<candidate_t> best;
  for (size_t tag = 0; tag < probability_.size(); ++tag)
    if (usable(probability_[tag]) && probability_[tag] > largest * Least_Ratio)
      best.push_back({static_cast<int32_t>(tag), lemma_[tag], probability_[tag]});
  if (best.empty()) best.push_back({tables_.fullex.tagset.Sent_Tag, No_Lemma, 1.0});
  std::sort(best.begin(), best.end(), [](const candidate_t& a, const candidate_t& b) {
    return a.score != b.score ? a.score > b.score : a.tag < b.tag;
  });
  if (best.size() > Most) best.resize(Most);
  for (candidate_t& candidate : best) {
    const double score = candidate.score / largest * tables_.fullex.A_Priori_Tag_Prob_Fac[candidate.tag];
    candidate.score = score > 0.0 && std::isfinite(score) ? score : 1.0;
  }
  best.shrink_to_fit();
  return best;
}

}  // namespace orvelle
