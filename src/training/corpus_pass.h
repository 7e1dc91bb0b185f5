// SPDX-License-Identifier: MIT
// The reading of the tagged corpus: a line holds a word form, a TAB and the tag. One reading serves both users of the
// corpus, the lexicon and the tag n-grams, although they split a line by rules of their own.
#pragma once

#include <cstddef>
#include <cstdint>
#include <string_view>
#include <vector>

#include "support/messages.h"
#include "support/strings.h"
#include "training/input.h"
#include "training/lexicon_file.h"
#include "training/ngram_table.h"

namespace orvelle {

// A line of the corpus as the lexicon splits it: the word form up to a TAB, the tag up to a blank, TAB or line end.
struct corpus_line_t {
  const char* word;  // "": the line holds no token
  const char* tag;

  // Splits a NUL-terminated line in place; the fields are valid as long as the line.
  explicit corpus_line_t(char* line)
      : word(next_string2(&line)), tag(*word != '\0' ? next_string(&line) : "") {}
};

// What a line of the corpus is, beyond its counts.
enum class line_kind_t : uint8_t {
  Nothing,      // holds no token
  Listed,       // a token whose entry lists the tag
  Unlisted,     // a token whose entry does not list the tag
  Number,       // a token without an entry of its own, but with one for numbers
  Unknown,      // a token without an entry
  Foreign_Tag,  // a token whose tag is not in the tagset
};

// Takes what is found in a corpus, line by line.
class CorpusSink {
 public:
  virtual ~CorpusSink() = default;

  // A token whose tag is not in the tagset. Throws unknown_tag(tag); if it is overridden and returns, the line is passed
  // over.
  virtual void unknown_tag_of_token(int64_t line, const char* word, const char* tag);

  // If true, every line is shown as well.
  virtual bool wants_lines() const { return false; }
  // `text` is the line with its LF; `tag` the number that the lexicon sees, -1 without a token.
  virtual void line(int64_t number, std::string_view text, line_kind_t kind, int tag, context_tag_t context);
};

struct CorpusCounts {
  std::vector<int32_t> Tag_Freq;  // corpus tokens of each tag, whether or not the lexicon knows the word form
  std::vector<int32_t> readings;  // corpus tokens of each reading of the lexicon, in their order there
  NGramCounter ngrams;
};

// Distinct lines that are kept beside what they do; the lines of a million words of English have 2 MB.
inline constexpr size_t Max_Cached_Bytes = 32 << 20;

// Counts every token for its tag, for the readings of the entries that its word form stands for and for the n-grams.
// An `input` without name and text is standard input. More tokens than an int can count are an Error.
CorpusCounts count_corpus(const Input& input, const TrainingLexicon& lexicon, int context_size,
                          const Progress& progress, CorpusSink& sink,
                          size_t max_cached_bytes = Max_Cached_Bytes);

}  // namespace orvelle
