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
struct width_t {
  int trusted_frequency;  // an entry seen more often is taken as it stands
  double guess_weight;    // tokens that a guess counts for beside those of a rare entry
};
constexpr width_t Narrow = {20, 0.2}, Wide = {20, 0.5};
constexpr double Small_Letter_Share = 0.9;  // of the small form's entry, for a capitalised form without one
constexpr double Least_Ratio = 1e-3;        // of a tag's probability to that of the most probable tag
constexpr double Unlisted_Share = 0.05;  // of all tags, for a word form that only lists of tags are known of
constexpr double Least_Rank = 1e-3;      // of a listed tag, beside what the guess gives it

// The two cache lines that it fills; null: not chosen yet.
void prefetch(const shortlist_t* choice) {
  if (choice == nullptr) return;
  __builtin_prefetch(choice);
  __builtin_prefetch(&choice->candidates);
}

}  // namespace

SharedWords::SharedWords(const Tables& tables, const Warn& warn)
    : rare_words(tables, warn), choices(static_cast<size_t>(tables.fullex.lexicon.Fullform_Lexicon_Size)) {}

Candidates::Candidates(const Tables& tables, std::shared_ptr<SharedWords> shared, options_t options)
    : tables_(tables),
      options_(std::move(options)),
      shared_(std::move(shared)),
      guesser_(tables, std::shared_ptr<RareWords>(shared_, &shared_->rare_words), options_.warn),
      probability_(tables.fullex.A_Priori_Tag_Prob_Fac.size()),
      lemma_(tables.fullex.A_Priori_Tag_Prob_Fac.size(), No_Lemma) {}

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
    for (size_t i = 0; i < size; ++i)
      if (entries[i] != nullptr) prefetch(shared_->choices.get(number_of(*entries[i])));
    for (size_t i = 0; i < size; ++i) {
      const shortlist_t& choice = choice_of(group[i], entries[i]);
      words.push_back({choice.candidates, &choice.view, choice.listed});
      __builtin_prefetch(choice.candidates.data());
    }
    forms = forms.subspan(size);
  }
}

const shortlist_t& Candidates::choice_of(std::string_view form, const entry_t* entry) {
  if (entry != nullptr) {
    const size_t number = number_of(*entry);
    const shortlist_t* const known = shared_->choices.get(number);
    return known != nullptr ? *known : shared_->choices.put(number, choose(form, entry));
  }
  const uint32_t hash = hash_bytes(form);
  const int known = unknown_.find(form, hash);
  if (known >= 0) return *choice_of_unknown_[static_cast<size_t>(known)];
  choice_of_unknown_.resize(static_cast<size_t>(unknown_.size()) + 1);
  choice_of_unknown_.back() = choose(form, nullptr);
  unknown_.add(form, hash);
  const shortlist_t& choice = *choice_of_unknown_.back();
  remembered_ += form.size() + sizeof choice + choice.candidates.size() * sizeof(candidate_t) + 128;
  return choice;
}

std::unique_ptr<const shortlist_t> Candidates::choose(std::string_view form, const entry_t* entry) {
  const readings_t added = tables_.extras.added.find(form);
  const entrydata_t* const data = entry != nullptr ? entry->data : nullptr;
  if (entry != nullptr)
    choose_known(entry->word, *data, added);
  else
    choose_unknown(std::string(form).c_str());
  auto choice = std::make_unique<shortlist_t>();
  choice->candidates = take_choice();
  choice->listed = listed_of(*choice, data, added);
  if (options_.width == Width::Wide) choice->view = view_of(tables_, form, entry);
  return choice;
}

uint16_t Candidates::listed_of(const shortlist_t& choice, const entrydata_t* data, readings_t added) const {
  if (data == nullptr && added.empty()) return shortlist_t::All_Listed;
  uint16_t listed = 0;
  for (size_t k = 0; k < choice.candidates.size(); ++k) {
    const int32_t tag = choice.candidates[k].tag;
    const bool is_listed =
        (data != nullptr && std::find(data->tag, data->tag + data->n, tag) != data->tag + data->n) ||
        std::ranges::find(added, tag, &AddedReadings::reading_t::tag) != added.end();
    listed = static_cast<uint16_t>(listed | is_listed << k);
  }
  return listed;
}

void Candidates::trim() {
  if (remembered_ <= Remembered_Bytes) return;
  unknown_ = {};
  choice_of_unknown_.clear();
  remembered_ = 0;
}

void Candidates::begin_choice() {
  for (const int32_t tag : probability_.tags()) lemma_[static_cast<size_t>(tag)] = No_Lemma;
  probability_.clear();
}

void Candidates::choose_known(const char* word, const entrydata_t& data, readings_t added) {
  begin_choice();
  const bool is_wide = options_.width == Width::Wide;
  const auto [trusted_frequency, guess_weight] = is_wide ? Wide : Narrow;
  if (data.freq > trusted_frequency) return add_listed(data, 1.0);
  if (data.freq < 1) {
    if (!is_wide && added.empty()) return add_listed(data, 1.0);
    add_ranked(word, &data, added, 1.0);
    return add_main_lemma(data);
  }
  const double share = data.freq / (data.freq + guess_weight);
  add_listed(data, share);
  if (added.empty())
    add_guess(word, &data, 1.0 - share);
  else
    add_ranked(word, &data, added, 1.0 - share);
  add_main_lemma(data);
}

// A tag that the entry does not list goes with the lemma of the one it has most often.
void Candidates::add_main_lemma(const entrydata_t& data) {
  if (data.n == 0) return;
  const int32_t lemma = data.lemma[std::max_element(data.prob, data.prob + data.n) - data.prob];
  for (const int32_t tag : probability_.tags())
    if (lemma_[static_cast<size_t>(tag)] == No_Lemma) lemma_[static_cast<size_t>(tag)] = lemma;
}

void Candidates::choose_unknown(const char* word) {
  begin_choice();
  if (const readings_t added = tables_.extras.added.find(word); !added.empty())
    return add_ranked(word, nullptr, added, 1.0);
  if (const entrydata_t* const data = stand_in(word, options_.strips_markup)) return add_listed(*data, 1.0);
  const std::optional<std::string> stripped = strip_xml(word, options_.strips_markup);
  choose_unseen(stripped ? stripped->c_str() : word);
}

// By the form in small letters, if it is one of those that the lexicon lists, and by a guess.
void Candidates::choose_unseen(const char* word) {
  const bool utf8 = tables_.UTF8_Processing;
  double left = 1.0;
  if (*word != '\0' && is_upper(word, utf8, options_.warn)) {
    const std::string small = all_to_lower(word, utf8, options_.warn);
    const entry_t* const entry = tables_.fullex.lexicon.find_entry(small);
    const readings_t added = tables_.extras.added.find(small);
    if (entry != nullptr || !added.empty()) left -= Small_Letter_Share;
    const bool is_counted = entry != nullptr && (entry->data->freq > 0 || options_.width == Width::Narrow);
    if (is_counted)
      add_listed(*entry->data, Small_Letter_Share);
    else if (entry != nullptr || !added.empty())
      add_ranked(small.c_str(), entry != nullptr ? entry->data : nullptr, added, Small_Letter_Share);
  }
  add_guess(word, nullptr, left);
}

// What is listed without having been counted: the tags of an entry by the probabilities that its class gave them, those
// that were added alike, both by what the guess gives them. All others share a little.
void Candidates::add_ranked(const char* word, const entrydata_t* data, readings_t added, double share) {
  const TagWeights& guess = guesser_.guess(word, data != nullptr && data->freq > 0 ? data : nullptr);
  std::vector<std::pair<int32_t, double>> ranks;
  const auto rank = [&](int32_t tag, int32_t lemma, double weight) {
    ranks.emplace_back(tag, weight * std::sqrt(guess[tag] + Least_Rank));
    probability_.add(tag, 0.0);
    if (lemma_[static_cast<size_t>(tag)] == No_Lemma) lemma_[static_cast<size_t>(tag)] = lemma;
  };
  if (data != nullptr && data->freq < 1)
    for (int k = 0; k < data->n; ++k)
      rank(data->tag[k], data->lemma != nullptr ? data->lemma[k] : No_Lemma, data->prob[k]);
  for (const auto& [tag, lemma] : added)
    rank(tag, tables_.fullex.lemmas.Number_of_Lemmas + lemma, 1.0 / static_cast<double>(added.size()));
  double sum = 0.0;
  for (const auto& [tag, p] : ranks) sum += p;
  for (const auto& [tag, p] : ranks)
    if (sum > 0.0) probability_.add(tag, share * (1.0 - Unlisted_Share) * p / sum);
  for (const int32_t tag : guess.tags()) probability_.add(tag, share * Unlisted_Share * guess[tag]);
}

void Candidates::add_listed(const entrydata_t& data, double share) {
  for (int k = 0; k < data.n; ++k) {
    probability_.add(data.tag[k], share * data.prob[k]);
    if (data.lemma != nullptr) lemma_[data.tag[k]] = data.lemma[k];
  }
}

void Candidates::add_guess(const char* word, const entrydata_t* entry, double share) {
  const TagWeights& guess = guesser_.guess(word, entry);
  for (const int32_t tag : guess.tags()) probability_.add(tag, share * guess[tag]);
}

// Nothing is known, as in a file whose entry lost all its tags: any tag, by its frequency.
void Candidates::add_any() {
  const std::vector<double>& factors = tables_.fullex.A_Priori_Tag_Prob_Fac;
  for (size_t tag = 0; tag < factors.size(); ++tag)
    probability_.set(static_cast<int32_t>(tag), 1.0 / factors[tag]);
}

// The best tags by probability, with scores that a decoder can multiply.
std::vector<candidate_t> Candidates::take_choice() {
  const auto usable = [](double p) { return p > 0.0 && std::isfinite(p); };
  const auto is_usable = [&](int32_t tag) { return usable(probability_[tag]); };
  if (std::ranges::none_of(probability_.tags(), is_usable)) add_any();
  double largest = 0.0;
  for (const int32_t tag : probability_.tags())
    if (is_usable(tag)) largest = std::max(largest, probability_[tag]);
  std::vector<candidate_t> best;
  for (const int32_t tag : probability_.tags())
    if (is_usable(tag) && probability_[tag] > largest * Least_Ratio)
      best.push_back({tag, lemma_[static_cast<size_t>(tag)], probability_[tag]});
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
