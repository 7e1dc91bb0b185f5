// SPDX-License-Identifier: MIT
// What orvelle check finds in the three files of a training, from what the trainer's readers see.
#pragma once

#include <cstdint>
#include <map>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "commands/check/report.h"
#include "training/corpus_pass.h"
#include "training/lexicon_file.h"
#include "training/open_classes.h"

namespace orvelle {

class LexiconFindings : public LexiconSink {
 public:
  LexiconFindings(Report& report, const LineWatch& watch) : report_(report), watch_(watch) {}

  void line(int64_t number, const lexicon_line_t& fields) override;
  void missing_lemma(int64_t line, const char* tag) override;
  void no_tags(int64_t line, const char* word) override;
  void too_many_tags(int64_t line, const char* tag) override;
  void no_sentence_tag(const char* tag) override;
  void tag_twice(int64_t line, const char* word, const char* tag) override;
  void word_twice(int64_t line, int64_t first_line, const char* word) override;

  // What can be told only when the tagset is known.
  void finish(const Tagset& tagset);

  // The line where a tag stands first.
  int64_t first_line(const char* tag) const { return first_lines_.at(tag); }

  static const char* hint_at_tab(const char* word);

  int64_t lines = 0;

 private:
  struct repeated_word_t {
    int64_t line, first_line;
    std::string word;
  };

  void add(const kind_t& kind, int64_t piece, const std::string& text);

  void look_at_lemma(std::string_view lemma, int64_t line);

  // A lemma such as "run VB run": a blank where a TAB should end the pair.
  void look_for_tag(const Tagset& tagset, std::string_view lemma, int64_t line);

  Report& report_;
  const LineWatch& watch_;
  std::vector<repeated_word_t> repeated_words_;
  std::vector<std::pair<std::string, int64_t>> lemmas_with_blanks_;
  std::map<std::string, int64_t> first_lines_;  // by tag
};

class OpenClassFindings : public OpenClassSink {
 public:
  explicit OpenClassFindings(Report& report) : report_(report) {}

  void unreadable(const char*) override;
  void unknown_name(int64_t line, const char* name) override;
  void read_error() override;

  void finish(int64_t open_tags, bool has_long_word);

 private:
  Report& report_;
  bool is_unreadable_ = false;
};

class CorpusFindings : public CorpusSink {
 public:
  CorpusFindings(Report& report, const LineWatch& watch, const Tagset& tagset)
      : report_(report), watch_(watch), tagset_(tagset), tag_counts_(tagset.Tag.size(), 0) {}

  void unknown_tag_of_token(int64_t, const char*, const char*) override {}  // line() tells each of them
  bool wants_lines() const override { return true; }

  void line(int64_t number, std::string_view text, line_kind_t kind, int tag, context_tag_t context) override;

  void finish();

  void report_unused_tags(const LexiconFindings& lexicon);

  void print_summary(TextOutput& out) const;

 private:
  const char* name(int tag) const { return tagset_.Tag[static_cast<size_t>(tag)]; }

  int64_t sentence_ends() const;

  void take_token(int64_t line, std::string_view text, line_kind_t kind, int tag, int context_tag);

  // A line that stops the training.
  void take_fault(int64_t line, std::string_view text, line_kind_t kind, int tag, context_tag_t context);

  // The text is made only if it will be shown: millions of tokens may be without an entry.
  template <class MakeText>
  void add_with_fields(const kind_t& kind, int64_t line, std::string_view text, MakeText make_text) {
    if (!report_.has_room(kind)) return report_.add(kind, line, {});
    std::string copy(text);
    report_.add(kind, line, make_text(corpus_line_t(copy.data())));
  }

  Report& report_;
  const LineWatch& watch_;
  const Tagset& tagset_;
  std::vector<int64_t> tag_counts_;
  int64_t tokens_ = 0;
  int64_t unlisted_ = 0;
  int64_t numbers_ = 0;
  int64_t unknown_ = 0;
};

}  // namespace orvelle
