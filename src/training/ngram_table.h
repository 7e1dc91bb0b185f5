// SPDX-License-Identifier: MIT
// The tag n-grams of the corpus: how often each sequence of Context_Size + 1 consecutive tags occurs. The last tag is
// the one to be predicted, the ones before it are its context.
//
//   corpus tags      DT NN VB DT NN VB SENT          Context_Size 2
//   n-grams          DT NN VB  x 2     NN VB DT  x 1     VB DT NN  x 1     NN VB SENT  x 1
//
// The corpus is one stream: n-grams run across sentence ends, and the first Context_Size tokens only fill the context.
#pragma once

#include <cstdint>
#include <span>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "lexicon/tagset.h"
#include "support/messages.h"
#include "support/string_index.h"

namespace orvelle {

// What a line of the corpus is to the n-grams. Their rules differ from those of the lexicon's reading for lines with
// carriage returns, leading blanks or no word form.
struct context_tag_t {
  enum kind_t : int8_t { Token, Empty_Line, No_Tag, Unknown_Tag };
  kind_t kind = Empty_Line;
  int16_t tag = -1;  // a token's tag number
};

// The text of a line's tag by the rules of the n-grams: behind the first TAB that follows a word form, up to a blank,
// TAB or LF; empty if the line has none.
std::string_view context_tag_text(std::string_view line);

// What a line is, whose tag text is `text`.
context_tag_t context_tag(const Tagset& tagset, std::string_view line, std::string_view text);

// How often a predicted tag occurs.
struct tag_count_t {
  int tag;
  uint32_t count;
};

// Counts the n-grams of a corpus line by line.
class NGramCounter {
 public:
  // `window` is how many tags wait to be counted, at most (or as many as an n-gram has). `keeps_progress`: so that it
  // can be told how the reading went.
  NGramCounter(int context_size, bool keeps_progress, size_t window = 4096);

  // Enters the next line of the corpus, which `context` was made of. The first line without a known tag is kept as the
  // failure and ends the counting.
  void add_line(context_tag_t context, std::string_view line) {
    if (failed_) return;
    ++line_no_;
    if (context.kind != context_tag_t::Token) return add_other(context, line);
    if (waiting_ == window_.size()) make_room();
    window_[waiting_++] = static_cast<uint16_t>(context.tag);
    if (line_no_ == told_next_) tell_progress();
  }

 private:
  friend class NGramTable;

  static constexpr long Progress_Step = 1000;  // lines

  // Longer n-grams are not stored one by one, which would take their length times the memory of the corpus.
  static constexpr size_t Longest_Stored = 16;
  bool is_stored() const { return length_ <= Longest_Stored; }
  // Short ones are told apart as numbers.
  static constexpr size_t Longest_Packed = 4;
  bool is_packed() const { return length_ <= Longest_Packed; }

  std::string_view bytes(const uint16_t* ngram) const {
    return {reinterpret_cast<const char*>(ngram), length_ * sizeof *ngram};
  }
  uint16_t predicted_tag(size_t i) const;
  void copy_tags(size_t i, uint16_t* to) const;
  void tell_progress();
  void add_other(context_tag_t context, std::string_view line);
  void make_room();
  void count_window();
  void count_ngrams(const uint16_t* first, size_t ngrams);
  void count_packed(const uint16_t* first, size_t ngrams);
  template <class Place, class IsAt, class NumberOf>
  void count_group(std::span<const uint32_t> hashes, Place place, IsAt is_at, NumberOf number_of);
  template <class KeyAt, class Store>
  size_t number_of(std::string_view key, uint32_t hash, KeyAt key_at, Store store);
  void count_stretches();
  void report(const Progress& progress) const;

  size_t length_;
  int64_t told_next_;  // a line number; -1 for never
  // The last length_ - 1 tags, and those that wait to be counted; all tags of the corpus for n-grams that are not stored.
  std::vector<uint16_t> window_;
  size_t waiting_ = 0;  // tags in the window; behind them is room
  std::vector<uint16_t>
      tags_;  // length_ tags an n-gram that is stored; else those of the corpus; none if packed_
  std::vector<uint64_t> packed_;  // short n-grams: 16 bits a tag, the oldest in the lowest
  std::vector<uint32_t> starts_;  // of n-grams that are not stored: where they first occur in tags_
  std::vector<uint32_t> counts_;  // parallel to the n-grams
  StringIndex index_;             // from an n-gram, as bytes, to its number
  int64_t line_no_ = 0;           // lines entered, empty ones included
  // Line number and distinct n-grams at every 1000th line; not stored ones: tags, until they are counted.
  std::vector<std::pair<long, long>> progress_;
  bool failed_ = false;
  std::string failure_;  // the unknown tag; empty for a line without a tag
};

class NGramTable {
 public:
  // Takes what was counted, and reports the reading as it went: stage, progress counters, result. Throws what went wrong
  // in it, if something did; a context size whose n-grams no table can hold is a space_error.
  NGramTable(NGramCounter counter, int number_of_tags, const Progress& progress);

  int length() const { return static_cast<int>(length_); }  // tags in an n-gram
  size_t size() const { return counts_.size(); }            // distinct n-grams

  // N-gram i, by ascending predicted tag, its oldest tag first, and how often it occurs.
  const uint16_t* tags(size_t i) const { return tags_.data() + (starts_.empty() ? i * length_ : starts_[i]); }
  uint32_t count(size_t i) const { return counts_[i]; }

 private:
  size_t length_;
  std::vector<uint16_t> tags_;    // length_ tags an n-gram, or those of the corpus
  std::vector<uint32_t> starts_;  // where the n-grams lie in the corpus
  std::vector<uint32_t> counts_;  // parallel to the n-grams
};

}  // namespace orvelle
