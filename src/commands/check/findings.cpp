// SPDX-License-Identifier: MIT
#include "commands/check/findings.h"

#include <algorithm>
#include <cstring>

#include "affix/affix_lexicons.h"
#include "commands/escape.h"
#include "support/errors.h"

namespace orvelle {

// ---- the lexicon

void LexiconFindings::line(int64_t number, const lexicon_line_t& fields) {
  ++lines;
  for (const auto& [tag, lemma] : fields.pairs) {
    first_lines_.try_emplace(tag, watch_.line_of(number));
    look_at_lemma(lemma, watch_.line_of(number));
  }
}

void LexiconFindings::missing_lemma(int64_t line, const char* tag) {
  add(Lexicon_No_Lemma, line, formatted("tag %s has no lemma", printable(tag).c_str()));
}

void LexiconFindings::no_tags(int64_t line, const char* word) {
  add(Lexicon_No_Tags, line,
      formatted("no tag for the word form '%s'%s", printable(word).c_str(), hint_at_tab(word)));
}

void LexiconFindings::too_many_tags(int64_t line, const char* tag) {
  add(Lexicon_Too_Many_Tags, line,
      formatted("tag %s is one too many (are tags and lemmas swapped?)", printable(tag).c_str()));
}

void LexiconFindings::no_sentence_tag(const char* tag) {
  report_.add(Lexicon_No_Sentence_Tag, 0,
              formatted("no entry has the sentence tag %s", printable(tag).c_str()));
}

void LexiconFindings::tag_twice(int64_t line, const char* word, const char* tag) {
  add(Lexicon_Tag_Twice, line,
      formatted("tag %s stands twice for '%s'", printable(tag).c_str(), printable(word).c_str()));
}

void LexiconFindings::word_twice(int64_t line, int64_t first_line, const char* word) {
  repeated_words_.push_back({line, first_line, word});
}

void LexiconFindings::finish(const Tagset& tagset) {
  std::sort(repeated_words_.begin(), repeated_words_.end(),
            [](const auto& a, const auto& b) { return a.line < b.line; });
  for (const repeated_word_t& again : repeated_words_)
    add(Lexicon_Form_Twice, again.line,
        formatted("word form '%s' stands in line %lld already", printable(again.word).c_str(),
                  static_cast<long long>(watch_.line_of(again.first_line))));
  for (const auto& [lemma, line] : lemmas_with_blanks_) look_for_tag(tagset, lemma, line);
}

const char* LexiconFindings::hint_at_tab(const char* word) {
  return std::strchr(word, ' ') != nullptr ? " (is there no TAB behind the form?)" : "";
}

void LexiconFindings::add(const kind_t& kind, int64_t piece, const std::string& text) {
  report_.add(kind, watch_.line_of(piece), text);
}

void LexiconFindings::look_at_lemma(std::string_view lemma, int64_t line) {
  if (lemma.ends_with('\r'))
    report_.add(
        Lexicon_Carriage_Return, line,
        formatted("CR LF: the carriage return becomes part of the lemma '%s'", printable(lemma).c_str()));
  else if (lemma.ends_with(' '))
    report_.add(Lexicon_Lemma_Blank, line,
                formatted("the blank at the end of '%s' belongs to the lemma", printable(lemma).c_str()));
  else if (lemma.find(' ') != lemma.npos)
    lemmas_with_blanks_.emplace_back(lemma, line);
}

void LexiconFindings::look_for_tag(const Tagset& tagset, std::string_view lemma, int64_t line) {
  for (size_t start = lemma.find(' '); start != lemma.npos; start = lemma.find(' ', start)) {
    const size_t end = lemma.find(' ', ++start);
    if (end == lemma.npos) return;  // what would be its lemma must follow
    if (tagset.find_tag(lemma.substr(start, end - start)) < 0) continue;
    report_.add(Lexicon_Lemma_Tag, line,
                formatted("lemma '%s' holds a tag: is there a blank for a TAB?", printable(lemma).c_str()));
    return;
  }
}

// ---- the open classes

void OpenClassFindings::unreadable(const char*) {
  report_.add(Open_Unreadable, 0, "can't be opened");
  is_unreadable_ = true;
}

void OpenClassFindings::unknown_name(int64_t line, const char* name) {
  report_.add(Open_Unknown_Tag, line, formatted("%s is no tag of the lexicon", printable(name).c_str()));
}

void OpenClassFindings::read_error() {
  report_.add(Open_None, 0, "can't be read to its end, which the training does not tell");
  is_unreadable_ = true;
}

void OpenClassFindings::finish(int64_t open_tags, bool has_long_word) {
  if (open_tags == 0 && !is_unreadable_)
    report_.add(Open_None, 0, "no open classes: nothing is learnt about unknown words");
  if (open_tags > 0 && !has_long_word)
    report_.add(
        Open_No_Long_Word, 0,
        "no word form of 6 bytes or more has one of these tags: nothing is learnt about unknown words");
}

// ---- the corpus

void CorpusFindings::line(int64_t number, std::string_view text, line_kind_t kind, int tag,
                          context_tag_t context) {
  if (kind != line_kind_t::Nothing) ++tokens_;
  if (context.kind == context_tag_t::Empty_Line) return;
  if (context.kind == context_tag_t::Token && tag >= 0)
    take_token(watch_.line_of(number), text, kind, tag, context.tag);
  else
    take_fault(watch_.line_of(number), text, kind, tag, context);
}

void CorpusFindings::finish() {
  constexpr int64_t Context = 2;  // preceding tags, by default
  if (tokens_ <= Context)
    report_.add(Corpus_Too_Short, 0,
                formatted("too few tokens to learn from: %d", static_cast<int>(tokens_)));
  if (tagset_.Sent_Tag >= 0 && sentence_ends() == 0)
    report_.add(Corpus_No_Sentence_End, 0,
                formatted("the sentence tag %s does not occur", printable(name(tagset_.Sent_Tag)).c_str()));
}

void CorpusFindings::report_unused_tags(const LexiconFindings& lexicon) {
  for (int tag = 0; tag < tagset_.Number_of_Tags; ++tag)
    if (tag_counts_[static_cast<size_t>(tag)] == 0 && tag != tagset_.Sent_Tag)
      report_.add(Lexicon_Tag_Unused, lexicon.first_line(name(tag)),
                  formatted("tag %s does not occur in the corpus", printable(name(tag)).c_str()));
}

void CorpusFindings::print_summary(TextOutput& out) const {
  const auto share = [this](int64_t count) {
    return tokens_ > 0 ? 100.0 * static_cast<double>(count) / static_cast<double>(tokens_) : 0.0;
  };
  out.print("corpus        %lld tokens, %lld sentence ends\n", static_cast<long long>(tokens_),
            static_cast<long long>(sentence_ends()));
  out.print("  %6.2f%%     the entry of the form lists the tag\n",
            share(tokens_ - unlisted_ - numbers_ - unknown_));
  out.print("  %6.2f%%     the entry of the form lacks the tag\n", share(unlisted_));
  out.print("  %6.2f%%     numbers without an entry of their own\n", share(numbers_));
  out.print("  %6.2f%%     no entry\n", share(unknown_));
}

int64_t CorpusFindings::sentence_ends() const {
  return tagset_.Sent_Tag >= 0 ? tag_counts_[static_cast<size_t>(tagset_.Sent_Tag)] : 0;
}

void CorpusFindings::take_token(int64_t line, std::string_view text, line_kind_t kind, int tag,
                                int context_tag) {
  ++tag_counts_[static_cast<size_t>(tag)];
  if (tag != context_tag)
    report_.add(
        Corpus_Two_Readings, line,
        formatted("is a %s to the lexicon and a %s to the tag contexts", name(tag), name(context_tag)));
  if (kind == line_kind_t::Number) {
    ++numbers_;
  } else if (kind == line_kind_t::Unlisted) {
    ++unlisted_;
    add_with_fields(Corpus_Tag_Not_Listed, line, text, [&](const corpus_line_t& fields) {
      return formatted("the entry of '%s' lacks the tag %s", printable(fields.word).c_str(), name(tag));
    });
  } else if (kind == line_kind_t::Unknown) {
    ++unknown_;
    add_with_fields(Corpus_No_Entry, line, text, [](const corpus_line_t& fields) {
      return formatted("'%s' has no entry", printable(fields.word).c_str());
    });
  }
}

void CorpusFindings::take_fault(int64_t line, std::string_view text, line_kind_t kind, int tag,
                                context_tag_t context) {
  const bool is_empty = kind == line_kind_t::Nothing;
  const bool is_cut = text.size() == Max_Line_Length && !text.ends_with('\n');  // its line goes on
  if ((text.ends_with("\r\n") || text.ends_with('\r')) && (tag >= 0 || (is_empty && !is_cut)))
    return report_.add(Corpus_Carriage_Return, line, "CR LF: the carriage return becomes part of the tag");
  if (is_empty) return report_.add(Corpus_Blank_Line, line, "neither empty nor a token");
  std::string copy(text);
  const corpus_line_t fields(copy.data());
  if (*fields.tag == '\0' || context.kind == context_tag_t::No_Tag)
    return report_.add(Corpus_No_Tag, line,
                       formatted("no tag for the word form '%s'%s", printable(fields.word).c_str(),
                                 LexiconFindings::hint_at_tab(fields.word)));
  report_.add(Corpus_Unknown_Tag, line,
              formatted("%s, the tag of '%s', is no tag of the lexicon", printable(fields.tag).c_str(),
                        printable(fields.word).c_str()));
}

}  // namespace orvelle
