// SPDX-License-Identifier: MIT
// What orvelle check has found, and how it is told.
#pragma once

#include <cstddef>
#include <cstdint>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "commands/remarks.h"
#include "commands/text_io.h"
#include "training/input.h"

namespace orvelle {

// A kind of finding.
struct kind_t {
  size_t place;      // in the order in which they are reported
  bool stops;        // the training does not run
  const char* more;  // what the findings beyond the first five are; null where there is one at most
};

inline constexpr kind_t Lexicon_No_Tags{0, true, "lines without a tag"};
inline constexpr kind_t Lexicon_No_Lemma{1, true, "tags without a lemma"};
inline constexpr kind_t Lexicon_Tag_Twice{2, true, "tags that stand twice for a word form"};
inline constexpr kind_t Lexicon_Form_Twice{3, true, "lines with a word form of an earlier line"};
inline constexpr kind_t Lexicon_Too_Many_Tags{4, true, "tags beyond the 20000th"};
inline constexpr kind_t Lexicon_No_Sentence_Tag{5, true, nullptr};
inline constexpr kind_t Open_Unreadable{6, true, nullptr};
inline constexpr kind_t Open_Unknown_Tag{7, true, "names that are no tags of the lexicon"};
inline constexpr kind_t Open_None{8, false, nullptr};
inline constexpr kind_t Corpus_No_Tag{9, true, "tokens without a tag"};
inline constexpr kind_t Corpus_Unknown_Tag{10, true, "tokens with a tag that the lexicon lacks"};
inline constexpr kind_t Corpus_Carriage_Return{11, true, "lines that end in CR LF"};
inline constexpr kind_t Corpus_Blank_Line{12, true, "lines of blanks"};
inline constexpr kind_t Corpus_Two_Readings{13, false, "lines that mean two different tokens"};
inline constexpr kind_t Line_Too_Long{14, false, "lines of more than 9999 bytes"};
inline constexpr kind_t Line_With_Nul{15, false, "lines with a NUL"};
inline constexpr kind_t Byte_Order_Mark{16, false, nullptr};
inline constexpr kind_t Lexicon_Carriage_Return{17, false, "lines that end in CR LF"};
inline constexpr kind_t Lexicon_Lemma_Blank{18, false, "lemmas that end in a blank"};
inline constexpr kind_t Lexicon_Lemma_Tag{19, false, "lemmas that hold a tag"};
inline constexpr kind_t Open_No_Long_Word{20, false, nullptr};
inline constexpr kind_t Corpus_Tag_Not_Listed{21, false,
                                              "tokens with a tag that the entry of their form does not list"};
inline constexpr kind_t Corpus_No_Entry{22, false, "tokens without an entry"};
inline constexpr kind_t Corpus_No_Sentence_End{23, false, nullptr};
inline constexpr kind_t Corpus_Too_Short{24, false, nullptr};
inline constexpr kind_t Lexicon_Tag_Unused{25, false, "tags that do not occur in the corpus"};
inline constexpr size_t Number_of_Kinds = Lexicon_Tag_Unused.place + 1;

class Report {
 public:
  // `all`: every finding, not only the first five of a kind.
  Report(TextOutput& out, bool all);

  // A finding in a file that print will name; `line` 0: the file as a whole.
  void add(const kind_t& kind, int64_t line, const std::string& text);

  // Whether the text of another finding of that kind would be kept.
  bool has_room(const kind_t& kind) const { return findings_[kind.place].texts.size() < limit_; }

  // Prints what was found since the last call.
  void print(const char* file_name);

  int64_t errors() const { return errors_; }
  int64_t warnings() const { return warnings_; }

 private:
  struct findings_t {
    const kind_t* kind = nullptr;
    int64_t count = 0;
    std::vector<std::pair<int64_t, std::string>> texts;  // with their lines
  };

  TextOutput& out_;
  size_t limit_;
  findings_t findings_[Number_of_Kinds];
  int64_t errors_ = 0;
  int64_t warnings_ = 0;
};

// What is odd about the lines of a file themselves; and which line a piece belongs to.
class LineWatch : public PieceObserver {
 public:
  // `file_size`: bytes, for the progress; 0 if it is not known.
  LineWatch(Report& report, ProgressLine& progress, int64_t file_size)
      : report_(report), progress_(progress), file_size_(file_size) {}

  void piece(std::string_view text) override;
  // The file is read.
  void end_line();

  // The number of the line that a piece belongs to.
  int64_t line_of(int64_t piece) const;

 private:
  void begin_line(std::string_view text);

  Report& report_;
  ProgressLine& progress_;
  int64_t file_size_;
  std::vector<int64_t> continued_;  // pieces that go on with the line of the piece before
  int64_t pieces_ = 0, lines_ = 0, bytes_ = 0;
  size_t line_size_ = 0;
  bool is_open_ = false;  // the last piece had no LF
  bool has_nul_ = false;
};

}  // namespace orvelle
