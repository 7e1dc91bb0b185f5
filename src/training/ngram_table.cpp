// SPDX-License-Identifier: MIT
// Tags wait in a window until there are some thousands of them; their n-grams are then counted in groups, so that the
// memory that a group needs is on its way before it is looked at. Cost: a hash and a probe for each token; for long n-grams
// see stretches.h.
#include "training/ngram_table.h"

#include <algorithm>
#include <array>
#include <climits>

#include "support/errors.h"
#include "training/stretches.h"

namespace orvelle {

namespace {

constexpr size_t Group_Size = 32;  // n-grams whose memory is asked for together

bool is_same(const uint16_t* a, const uint16_t* b, size_t length) {
  while (length > 0 && a[length - 1] == b[length - 1]) --length;
  return length == 0;
}

constexpr size_t Tag_Bits = 16;

// The tags of a packed n-gram, the newest in the highest bits, as they are one tag later.
uint64_t with_tag(uint64_t tags, uint16_t tag) { return tags >> Tag_Bits | uint64_t{tag} << (64 - Tag_Bits); }

uint32_t hash_of(uint64_t packed) {
  return static_cast<uint32_t>((packed ^ packed >> 32) * 0x9E3779B97F4A7C15 >> 32);
}

std::string_view bytes_of(const uint64_t& packed) {
  return {reinterpret_cast<const char*>(&packed), sizeof packed};
}

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
    : length_(static_cast<size_t>(context_size) + 1),
      told_next_(keeps_progress ? Progress_Step : -1),
      window_(std::min(length_, Longest_Stored) + window) {}

void NGramCounter::tell_progress() {
  count_window();
  told_next_ += Progress_Step;
  progress_.emplace_back(line_no_, static_cast<long>(is_stored() ? counts_.size() : waiting_));
}

void NGramCounter::add_other(context_tag_t context, std::string_view line) {
  if (context.kind == context_tag_t::Empty_Line) return;
  failed_ = true;
  if (context.kind == context_tag_t::Unknown_Tag) failure_ = context_tag_text(line);
}

void NGramCounter::make_room() {
  if (is_stored())
    count_window();
  else
    window_.resize(2 * window_.size());
}

void NGramCounter::count_window() {
  if (waiting_ < length_ || !is_stored()) return;
  const size_t ngrams = waiting_ - length_ + 1;
  for (size_t i = 0; i < ngrams; i += Group_Size) {
    const size_t size = std::min(Group_Size, ngrams - i);
    if (is_packed())
      count_packed(window_.data() + i, size);
    else
      count_ngrams(window_.data() + i, size);
  }
  std::copy_n(window_.begin() + static_cast<std::ptrdiff_t>(ngrams), waiting_ - ngrams, window_.begin());
  waiting_ -= ngrams;
}

void NGramCounter::count_ngrams(const uint16_t* first, size_t ngrams) {
  std::array<uint32_t, Group_Size> hashes;
  for (size_t i = 0; i < ngrams; ++i) hashes[i] = hash_bytes(bytes(first + i));
  const auto place = [this](size_t number) { return &tags_[number * length_]; };
  const auto is_at = [&](size_t number, size_t i) { return is_same(first + i, place(number), length_); };
  const auto key_at = [&](int number) { return bytes(place(static_cast<size_t>(number))); };
  count_group(std::span(hashes).first(ngrams), place, is_at, [&](size_t i) {
    return number_of(bytes(first + i), hashes[i], key_at,
                     [&] { tags_.insert(tags_.end(), first + i, first + i + length_); });
  });
}

void NGramCounter::count_packed(const uint16_t* first, size_t ngrams) {
  std::array<uint64_t, Group_Size> packed;
  std::array<uint32_t, Group_Size> hashes;
  uint64_t last_tags = 0;
  for (size_t k = 0; k + 1 < length_; ++k) last_tags = with_tag(last_tags, first[k]);
  for (size_t i = 0; i < ngrams; ++i) {
    last_tags = with_tag(last_tags, first[i + length_ - 1]);
    packed[i] = last_tags >> Tag_Bits * (Longest_Packed - length_);
    hashes[i] = hash_of(packed[i]);
  }
  const auto place = [this](size_t number) { return &packed_[number]; };
  const auto is_at = [&](size_t number, size_t i) { return packed_[number] == packed[i]; };
  const auto key_at = [&](int number) { return bytes_of(packed_[static_cast<size_t>(number)]); };
  count_group(std::span(hashes).first(ngrams), place, is_at, [&](size_t i) {
    return number_of(bytes_of(packed[i]), hashes[i], key_at, [&] { packed_.push_back(packed[i]); });
  });
}

// Counts the n-grams that have these hashes. `place(number)` is where one lies that has a number, `is_at(number, i)` says
// whether the i-th of the group is that one, and `number_of(i)` finds its number where it is not the likely one.
template <class Place, class IsAt, class NumberOf>
void NGramCounter::count_group(std::span<const uint32_t> hashes, Place place, IsAt is_at,
                               NumberOf number_of) {
  for (const uint32_t hash : hashes) index_.prefetch(hash);
  std::array<int, Group_Size> likely;
  for (size_t i = 0; i < hashes.size(); ++i) {
    likely[i] = index_.candidate(hashes[i]);
    if (likely[i] < 0) continue;
    __builtin_prefetch(&counts_[static_cast<size_t>(likely[i])], 1);
    __builtin_prefetch(place(static_cast<size_t>(likely[i])));
  }
  for (size_t i = 0; i < hashes.size(); ++i) {
    const auto number = static_cast<size_t>(likely[i]);
    ++counts_[likely[i] >= 0 && is_at(number, i) ? number : number_of(i)];
  }
}

// Of an n-gram that is nearly always met for the first time; `store` stores it then.
template <class KeyAt, class Store>
size_t NGramCounter::number_of(std::string_view key, uint32_t hash, KeyAt key_at, Store store) {
  const int known = index_.find(key, hash, key_at);
  if (known >= 0) return static_cast<size_t>(known);
  const size_t number = counts_.size();
  store();
  counts_.push_back(0);
  index_.insert(key, hash, static_cast<int>(number));
  return number;
}

uint16_t NGramCounter::predicted_tag(size_t i) const {
  const size_t last = length_ - 1;
  if (is_packed()) return static_cast<uint16_t>(packed_[i] >> Tag_Bits * last);
  return tags_[(is_stored() ? i * length_ : starts_[i]) + last];
}

// Of an n-gram that is stored.
void NGramCounter::copy_tags(size_t i, uint16_t* to) const {
  if (is_packed())
    for (size_t k = 0; k < length_; ++k) to[k] = static_cast<uint16_t>(packed_[i] >> Tag_Bits * k);
  else
    std::copy_n(&tags_[i * length_], length_, to);
}

void NGramCounter::count_stretches() {
  window_.resize(waiting_);
  if (waiting_ < length_) {
    for (auto& [line, ngrams] : progress_) ngrams = 0;
    return;
  }
  const std::vector<uint32_t> numbers = number_stretches(window_, length_);
  auto told = progress_.begin();
  for (size_t i = 0; i < numbers.size(); ++i) {
    for (; told != progress_.end() && static_cast<size_t>(told->second) < i + length_; ++told)
      told->second = static_cast<long>(counts_.size());
    if (numbers[i] == counts_.size()) {
      starts_.push_back(static_cast<uint32_t>(i));
      counts_.push_back(0);
    }
    ++counts_[numbers[i]];
  }
  for (; told != progress_.end(); ++told) told->second = static_cast<long>(counts_.size());
  tags_ = std::move(window_);
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
  if (counter.is_stored())
    counter.count_window();
  else
    counter.count_stretches();
  counter.report(progress);
  counter.index_ = {};
  const size_t ngrams = counter.counts_.size();
  std::vector<size_t> place(static_cast<size_t>(number_of_tags) + 1, 0);
  for (size_t i = 0; i < ngrams; ++i) ++place[counter.predicted_tag(i) + 1u];
  for (size_t k = 0; k + 1 < place.size(); ++k) place[k + 1] += place[k];
  counts_.resize(ngrams);
  tags_.resize(counter.is_stored() ? ngrams * length_ : 0);
  starts_.resize(counter.starts_.size());
  for (size_t i = 0; i < ngrams; ++i) {
    const size_t to = place[counter.predicted_tag(i)]++;
    counts_[to] = counter.counts_[i];
    if (counter.is_stored())
      counter.copy_tags(i, &tags_[to * length_]);
    else
      starts_[to] = counter.starts_[i];
  }
  if (!counter.is_stored()) tags_ = std::move(counter.tags_);
}

}  // namespace orvelle
