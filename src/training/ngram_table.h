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
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "lexicon/tagset.h"
#include "support/messages.h"

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
  void add_line(context_tag_t context, std::string_view line);

 private:
  friend class NGramTable;
  struct slot_t {
    uint32_t hash = 0;
    uint32_t number = 0;  // of the n-gram, plus 1; 0: empty
  };

  const uint16_t* tags(size_t i) const { return tags_.data() + i * length_; }
  void fail_at(context_tag_t context, std::string_view line);
  void count_window();
  void count_ngrams(const uint16_t* first, size_t ngrams);
  void count_ngram(const uint16_t* ngram, uint32_t hash);
  uint32_t hash_of(const uint16_t* ngram) const;
  void make_room(size_t ngrams);
  void report(const Progress& progress) const;

  size_t length_;
  bool keeps_progress_;
  size_t window_size_;
  std::vector<uint16_t> window_;  // the last length_ - 1 tags, and those that wait to be counted
  std::vector<uint16_t> tags_;    // length_ tags an n-gram
  std::vector<uint32_t> counts_;  // parallel to the n-grams
  std::vector<slot_t> slots_;     // open addressing, a power of two, at most half full
  int64_t line_no_ = 0;           // lines entered, empty ones included
  std::vector<std::pair<long, long>> progress_;  // line number and distinct n-grams at every 1000th line
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
  const uint16_t* tags(size_t i) const { return tags_.data() + i * length_; }
  uint32_t count(size_t i) const { return counts_[i]; }

 private:
  size_t length_;
  std::vector<uint16_t> tags_;    // length_ tags an n-gram
  std::vector<uint32_t> counts_;  // parallel to the n-grams
};

}  // namespace orvelle
