// SPDX-License-Identifier: MIT
#include "tagger/second_look.h"

#include <orvelle/word_forms.h>

#include <algorithm>
#include <bit>
#include <cmath>
#include <iterator>
#include <string>
#include <unordered_map>
#include <utility>

#include "support/string_index.h"
#include "support/strings.h"

namespace orvelle {

namespace {

constexpr double Least_Open_Share = 0.01;  // of the probability of the best tag, for a tag to be left open
constexpr double Sixteen = 16.0;           // the unit of a temperature
constexpr uint32_t Unlisted = 0x5bd1e995;  // a part of tags that the lexicon does not list

uint32_t mixed(uint64_t x) {
  x *= 0x9E3779B97F4A7C15;
  return static_cast<uint32_t>((x ^ (x >> 29)) * 0xBF58476D1CE4E5B9 >> 32);
}

// A feature is its kind and up to two values.
uint32_t feature(uint32_t kind, uint32_t a, uint32_t b = 0) {
  return mixed((uint64_t{a} << 32 | b) ^ mixed(kind + 1) * uint64_t{0x100000001});
}

// The parts of a tag, between the marks that tagsets use.
std::vector<uint32_t> parts_of(std::string_view tag) {
  constexpr std::string_view Marks = ":|-+";
  std::vector<uint32_t> parts;
  for (size_t start = 0; start <= tag.size();) {
    const size_t end = std::min(tag.find_first_of(Marks, start), tag.size());
    if (end > start && end - start < tag.size())
      parts.push_back(
          mixed(view_hash(tag.substr(start, end - start)) + (start == 0 ? 1ull << 33 : 1ull << 34)));
    start = end + 1;
  }
  return parts;
}

// Raises probabilities to a power and brings their sum to 1 again.
void raise(std::span<double> probabilities, double power) {
  if (probabilities.size() < 2) return;
  double sum = 0.0;
  for (double& p : probabilities) sum += p = std::pow(p, power);
  for (double& p : probabilities) p /= sum;
}

}  // namespace

SecondLookView::SecondLookView(const Tables& tables, bool splits_tags) {
  std::unordered_map<uint32_t, uint32_t> numbers;
  for (int tag = 0; tag < tables.fullex.tagset.Number_of_Tags; ++tag) {
    const std::string_view name = tables.tag_name(tag);
    std::vector<uint32_t> hashes(1, mixed(view_hash(name)));
    if (splits_tags) std::ranges::copy(parts_of(name), std::back_inserter(hashes));
    tag_hashes_.push_back(hashes[0]);
    std::vector<uint32_t>& its_parts = tag_parts_.emplace_back();
    for (const uint32_t hash : hashes) {
      const auto [place, is_new] = numbers.try_emplace(hash, static_cast<uint32_t>(parts_.size()));
      if (is_new) parts_.push_back({hash});
      if (std::ranges::find(its_parts, place->second) == its_parts.end()) its_parts.push_back(place->second);
    }
  }
}

void SecondLookView::view_open_tags(candidates_t candidates, const double* posteriors, word_view_t& view) {
  const size_t best =
      static_cast<size_t>(std::max_element(posteriors, posteriors + candidates.size()) - posteriors);
  uint32_t set = 1;
  std::array<uint32_t, 32> tags;
  size_t count = 0;
  for (size_t k = 0; k < candidates.size(); ++k) {
    if (!(posteriors[k] >= Least_Open_Share * posteriors[best])) continue;
    open_.push_back(static_cast<uint16_t>(k));
    if (count < tags.size()) tags[count++] = tag_hash(candidates[k].tag);
  }
  std::sort(tags.begin(), tags.begin() + static_cast<std::ptrdiff_t>(count));
  for (size_t i = 0; i < count; ++i) set = mixed(uint64_t{set} << 32 | tags[i]);
  view.open_tags = set;
  view.best_tag = tag_hash(candidates[best].tag);
}

void SecondLookView::see(std::span<const Candidates::word_t> words, std::span<const double> posteriors) {
  views_.assign(before_.begin(), before_.end());
  open_.clear();
  open_starts_.assign(1, 0);
  const double* of_word = posteriors.data();
  for (const Candidates::word_t& word : words) {
    views_.push_back(*word.view);
    view_open_tags(word.candidates, of_word, views_.back());
    of_word += word.candidates.size();
    open_starts_.push_back(open_.size());
  }
  views_.resize(views_.size() + Reach);
}

bool SecondLookView::take(size_t word, const candidate_t& chosen) {
  const uint32_t tag = tag_hash(chosen.tag);
  return std::exchange(views_[word + Reach].best_tag, tag) != tag;
}

void SecondLookView::settle(size_t words) {
  if (words == 0) return;
  std::copy_n(views_.begin() + static_cast<std::ptrdiff_t>(words), Reach, before_.begin());
  is_start_ = false;
}

void SecondLookView::end_sentence() {
  before_ = {};
  is_start_ = true;
}

std::span<const uint32_t> SecondLookView::features(size_t word) {
  const word_view_t* const w = &views_[word + Reach];
  features_.clear();
  uint32_t kind = 0;
  const auto add = [&](uint32_t a, uint32_t b = 0) { features_.push_back(feature(kind++, a, b)); };
  add(1);
  add(w[0].form);
  for (const int at : {-1, 1, -2, 2, -3, 3}) add(w[at].lower);
  add(w[-1].lower, w[0].lower);
  add(w[0].lower, w[1].lower);
  add(w[-1].lower, w[1].lower);
  add(w[-1].best_tag);
  add(w[1].best_tag);
  add(w[2].best_tag);
  add(w[-2].best_tag, w[-1].best_tag);
  add(w[1].best_tag, w[2].best_tag);
  add(w[-1].best_tag, w[1].best_tag);
  add(w[-1].best_tag, w[0].lower);
  add(w[0].lower, w[1].best_tag);
  add(w[0].suffix(3), w[1].best_tag);
  add(w[0].shape, word == 0 && is_start_);
  add(w[1].suffix(3));
  add(w[-1].suffix(3));
  add(w[0].suffix(2), w[-1].suffix(2));
  add(w[0].open_tags);
  add(w[0].open_tags, w[1].open_tags);
  add(w[0].experience);
  for (size_t n = w[0].is_rare ? 1 : 2; n <= (w[0].is_rare ? 5u : 4u); ++n)
    if (w[0].suffix(n) != 0) features_.push_back(feature(64 + static_cast<uint32_t>(n), w[0].suffix(n)));
  for (size_t n = 1; w[0].is_rare && n <= 3; ++n)
    if (w[0].prefix(n) != 0) features_.push_back(feature(80 + static_cast<uint32_t>(n), w[0].prefix(n)));
  return features_;
}

const open_parts_t& SecondLookView::parts(const Candidates::word_t& word, std::span<const uint16_t> open) {
  const auto parts_of = [&](uint16_t k) -> const std::vector<uint32_t>& {
    return tag_parts_[static_cast<size_t>(word.candidates[k].tag)];
  };
  open_parts_.hashes.clear();
  open_parts_.members.clear();
  open_parts_.ends.clear();
  for (const uint16_t k : open)
    for (const uint32_t part : parts_of(k)) ++parts_[part].tags;
  part_t unlisted{Unlisted};
  for (const uint16_t k : open) {
    for (const uint32_t part : parts_of(k))
      if (parts_[part].tags < open.size()) add_part(parts_[part]);
    if ((word.listed >> k & 1) == 0) add_part(unlisted);
    open_parts_.ends.push_back(open_parts_.members.size());
  }
  for (const uint16_t k : open)
    for (const uint32_t part : parts_of(k)) parts_[part] = {parts_[part].hash};
  return open_parts_;
}

void SecondLookView::add_part(part_t& part) {
  if (part.place == No_Place) {
    part.place = static_cast<uint32_t>(open_parts_.hashes.size());
    open_parts_.hashes.push_back(part.hash);
  }
  open_parts_.members.push_back(part.place);
}

SecondLook::SecondLook(const Tables& tables)
    : weights_(tables.extras.weights),
      bits_(std::countr_zero(weights_.table.size())),
      view_(tables, weights_.splits_tags) {}

void SecondLook::look(std::span<const Candidates::word_t> words, std::span<double> posteriors) {
  constexpr size_t Reach = SecondLookView::Reach_of_Tags;
  view_.see(words, posteriors);
  first_.assign(posteriors.begin(), posteriors.end());
  changed_.assign(words.size() + 2 * Reach, 0);
  char* const changed = changed_.data() + Reach;
  const auto has_changed = [](const char* first) {
    return std::find(first, first + Reach, 1) != first + Reach;
  };
  for (const bool again : {false, true}) {
    size_t start = 0;
    for (size_t i = 0; i < words.size(); start += words[i++].candidates.size()) {
      // In the second round what stands before the word has changed twice, what stands behind it once.
      if (again && !has_changed(changed + i - Reach) && !has_changed(changed + i + 1))
        changed[i] = 0;
      else
        changed[i] = look_at(i, words[i], &first_[start], &posteriors[start]);
    }
  }
}

void SecondLook::temper(std::span<const Candidates::word_t> words, std::span<double> posteriors) const {
  for (const Candidates::word_t& word : words) {
    raise(posteriors.first(word.candidates.size()), Sixteen / weights_.temperature);
    posteriors = posteriors.subspan(word.candidates.size());
  }
}

void SecondLook::sum_weights(std::span<const uint32_t> features, std::span<const uint32_t> parts) {
  for (const uint32_t part : parts)
    for (const uint32_t f : features) __builtin_prefetch(&weights_.table[place_of(f, part, bits_)]);
  sums_.clear();
  for (const uint32_t part : parts) {
    int sum = 0;
    for (const uint32_t f : features) sum += weights_.table[place_of(f, part, bits_)];
    sums_.push_back(sum);
  }
}

// Returns whether the word got another tag than it had.
bool SecondLook::look_at(size_t word, const Candidates::word_t& found, const double* first,
                         double* posteriors) {
  const std::span<const uint16_t> open = view_.open_candidates(word);
  if (open.size() < 2) return false;
  const std::span<const uint32_t> features = view_.features(word);
  const open_parts_t& parts = view_.parts(found, open);
  sum_weights(features, parts.hashes);
  scores_.clear();
  double left = 0.0;
  for (size_t i = 0; i < open.size(); ++i) {
    int sum = 0;
    for (const uint32_t part : parts.of(i)) sum += sums_[part];
    const double p = first[open[i]];
    left += p;
    scores_.push_back(weights_.scale * second_look_weights_t::Step * std::log(p) +
                      sum * second_look_weights_t::Step);
  }
  const auto best = std::max_element(scores_.begin(), scores_.end());
  const double largest = *best;
  const candidate_t& chosen = found.candidates[open[static_cast<size_t>(best - scores_.begin())]];
  double total = 0.0;
  for (double& score : scores_) total += score = std::exp(score - largest);
  for (size_t i = 0; i < open.size(); ++i) posteriors[open[i]] = left * scores_[i] / total;
  return view_.take(word, chosen);
}

}  // namespace orvelle
