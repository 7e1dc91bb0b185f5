// SPDX-License-Identifier: MIT
// Tags wait in a window until there are some thousands of them; their n-grams are then counted in groups, so that the
// memory that a group needs is on its way before it is looked at. Cost: a hash and a probe for each token.
#include "training/ngram_table.h"

#include <algorithm>
#include <climits>

#include "support/errors.h"
#include "support/string_index.h"

namespace orvelle {

namespace {

constexpr size_t Group_Size = 32;     // n-grams whose memory is asked for together
constexpr long Progress_Step = 1000;  // lines

bool ends_tag(char c) { return c == ' ' || c == '\t' || c == '\n'; }

}  // namespace

std::string_view context_tag_text(std::string_view line) {
  const size_t word = line.find_first_not_of('\t');
  if (word == line.npos) return {};
  const size_t word_end = line.find('\t', word);
  if (word_end == line.npos) return {};
  const auto tag = std::find_if_not(line.begin() + word_end + 1, line.end(), ends_tag);
  return {tag, std::find_if(tag, line.end(), ends_tag)};
}

context_tag_t context_tag(const Tagset& tagset, std::string_view line, std::string_view text) {
  if (line.starts_with('\n')) return {context_tag_t::Empty_Line, -1};
  if (text.empty()) return {context_tag_t::No_Tag, -1};
  const int tag = tagset.find_tag(text);
  if (tag < 0) return {context_tag_t::Unknown_Tag, -1};
  return {context_tag_t::Token, static_cast<int16_t>(tag)};
}

NGramCounter::NGramCounter(int context_size, bool keeps_progress, size_t window)
    : length_(static_cast<size_t>(context_size) + 1), keeps_progress_(keeps_progress), window_size_(window) {}

void NGramCounter::add_line(context_tag_t context, std::string_view line) {
  if (failed_) return;
  ++line_no_;
  if (context.kind == context_tag_t::Empty_Line) return;
  if (context.kind != context_tag_t::Token) return fail_at(context, line);
  window_.push_back(static_cast<uint16_t>(context.tag));
  if (window_.size() >= length_ + std::max(length_, window_size_)) count_window();
  if (keeps_progress_ && line_no_ % Progress_Step == 0) {
    count_window();
    progress_.emplace_back(line_no_, static_cast<long>(counts_.size()));
  }
}

void NGramCounter::fail_at(context_tag_t context, std::string_view line) {
  failed_ = true;
  if (context.kind == context_tag_t::Unknown_Tag) failure_ = context_tag_text(line);
}

void NGramCounter::count_window() {
  if (window_.size() < length_) return;
  const size_t ngrams = window_.size() - length_ + 1;
  for (size_t i = 0; i < ngrams; i += Group_Size)
    count_ngrams(window_.data() + i, std::min(Group_Size, ngrams - i));
  window_.erase(window_.begin(), window_.begin() + static_cast<std::ptrdiff_t>(ngrams));
}

void NGramCounter::count_ngrams(const uint16_t* first, size_t ngrams) {
  make_room(counts_.size() + ngrams);
  uint32_t hashes[Group_Size];
  for (size_t i = 0; i < ngrams; ++i) {
    hashes[i] = hash_of(first + i);
    __builtin_prefetch(&slots_[hashes[i] & (slots_.size() - 1)]);
  }
  for (size_t i = 0; i < ngrams; ++i) {
    const uint32_t number = slots_[hashes[i] & (slots_.size() - 1)].number;
    if (number == 0) continue;
    __builtin_prefetch(&counts_[number - 1], 1);
    __builtin_prefetch(tags(number - 1));
  }
  for (size_t i = 0; i < ngrams; ++i) count_ngram(first + i, hashes[i]);
}

void NGramCounter::count_ngram(const uint16_t* ngram, uint32_t hash) {
  const size_t mask = slots_.size() - 1;
  size_t i = hash & mask;
  for (; slots_[i].number != 0; i = (i + 1) & mask) {
    if (slots_[i].hash != hash) continue;
    const size_t number = slots_[i].number - 1;
    if (!std::equal(ngram, ngram + length_, tags(number))) continue;
    ++counts_[number];
    return;
  }
  tags_.insert(tags_.end(), ngram, ngram + length_);
  counts_.push_back(1);
  slots_[i] = {hash, static_cast<uint32_t>(counts_.size())};
}

// Every tag passes through a multiplication and a fold: the sums and shifts of neighbouring tag numbers that a simpler
// hash makes collide in masses from four tags on.
uint32_t NGramCounter::hash_of(const uint16_t* ngram) const {
  uint64_t hash = 0;
  for (size_t i = 0; i < length_; ++i) {
    hash = (hash ^ ngram[i]) * 0x9E3779B97F4A7C15;
    hash ^= hash >> 32;
  }
  return static_cast<uint32_t>(hash);
}

void NGramCounter::make_room(size_t ngrams) {
  if (2 * ngrams <= slots_.size()) return;
  std::vector<slot_t> old = std::move(slots_);
  slots_.assign(std::max<size_t>(1024, 2 * old.size()), slot_t{});
  const size_t mask = slots_.size() - 1;
  for (const slot_t& slot : old) {
    if (slot.number == 0) continue;
    size_t i = slot.hash & mask;
    while (slots_[i].number != 0) i = (i + 1) & mask;
    slots_[i] = slot;
  }
}

void NGramCounter::report(const Progress& progress) const {
  if (progress) {
    progress("\tmaking ngram table ...\n");
    for (const auto& [line, ngrams] : progress_) progress(formatted("\r%ld\t%ld", line, ngrams));
  }
  if (failed_) {
    if (!failure_.empty()) unknown_tag(failure_.c_str());
    fail("\nError: missing tag in line %ld of training corpus\n", static_cast<long>(line_no_));
  }
  if (progress)
    progress(
        formatted("\r%ld\t%ld\nfinished.\n", static_cast<long>(line_no_), static_cast<long>(counts_.size())));
}

// A counting sort. The tree's tables are made from the n-grams in this order, several times over.
NGramTable::NGramTable(NGramCounter counter, int number_of_tags, const Progress& progress)
    : length_(counter.length_) {
  if (length_ > INT_MAX) space_error();
  counter.count_window();
  counter.report(progress);
  counter.slots_ = {};
  const size_t ngrams = counter.counts_.size();
  const auto predicted = [&](size_t i) { return counter.tags(i)[length_ - 1]; };
  std::vector<size_t> place(static_cast<size_t>(number_of_tags) + 1, 0);
  for (size_t i = 0; i < ngrams; ++i) ++place[predicted(i) + 1];
  for (size_t k = 0; k + 1 < place.size(); ++k) place[k + 1] += place[k];
  tags_.resize(ngrams * length_);
  counts_.resize(ngrams);
  for (size_t i = 0; i < ngrams; ++i) {
    const size_t to = place[predicted(i)]++;
    std::copy_n(counter.tags(i), length_, tags_.begin() + static_cast<std::ptrdiff_t>(to * length_));
    counts_[to] = counter.counts_[i];
  }
}

}  // namespace orvelle
