// SPDX-License-Identifier: MIT
#include "commands/treebank.h"

#include <algorithm>
#include <array>
#include <cstring>

#include "commands/conllu.h"
#include "commands/escape.h"
#include "commands/text_format.h"
#include "commands/text_io.h"
#include "support/counts.h"
#include "support/errors.h"
#include "training/lexicon_line.h"
#include "training/open_classes.h"

namespace orvelle {

namespace {

constexpr int64_t Shown_of_a_Kind = 5;
constexpr std::string_view Blanks = " \t\r\n\v\f";

constexpr const char* Repairs[] = {
    "carriage return at the line's end dropped",
    "byte-order mark dropped",
    "white space at the ends of a form or lemma dropped, or a carriage return in it made a blank",
    "white space in a tag replaced by _",
    "no lemma: another token's, or the form, stands for it",
    "markup passed over",
    "a token without a tag left out"};

std::string_view trimmed(std::string_view text) {
  const size_t first = text.find_first_not_of(Blanks);
  if (first == text.npos) return {};
  return text.substr(first, text.find_last_not_of(Blanks) + 1 - first);
}

bool is_open_class(std::string_view universal_tag) {
  constexpr std::string_view Open[] = {"ADJ", "ADV", "INTJ", "NOUN", "PROPN", "VERB"};
  return std::find(std::begin(Open), std::end(Open), universal_tag) != std::end(Open);
}

}  // namespace

Treebank::Treebank(const treebank_options_t& options, Remarks& remarks)
    : options_(options), remarks_(remarks), sentence_tag_(strings.number(options.sentence_tag)) {
  for (const std::string& form : options.sentence_ends) end_forms_.push_back(strings.number(form));
}

void Treebank::repair(repair_t kind) {
  if (++repairs_[kind] <= Shown_of_a_Kind) remarks_.say_at(file_, line_, Repairs[kind]);
}

void Treebank::refuse(const std::string& text) {
  if (++refused <= 4 * Shown_of_a_Kind) remarks_.say_at(file_, line_, "refused: " + text);
}

void Treebank::close_remarks() {
  for (int kind = 0; kind < Number_of_Repairs; ++kind)
    if (const int64_t more = repairs_[kind] - Shown_of_a_Kind; more > 0)
      remarks_.say("in " + counted(more, "more place") + ": " + Repairs[kind]);
  if (const int64_t more = refused - 4 * Shown_of_a_Kind; more > 0)
    remarks_.say(counted(more, "more line") + " refused");
}

// ---- files

uint64_t Treebank::read(const char* name) {
  TextInput input(name);
  ProgressLine progress(remarks_, "reading");
  file_ = input.name();
  format_ = options_.format;
  if (format_ == treebank_options_t::Guess)
    format_ = recognise_format(input) == text_format_t::Conllu ? treebank_options_t::Conllu
                                                               : treebank_options_t::Columns;
  const size_t first_sentence = sentence_ends.size();
  const size_t first_token = tokens.size();
  while (input.next()) {
    line_ = input.number();
    if (line_ == 1 && input.had_byte_order_mark()) repair(Byte_Order_Mark);
    if (line_ % 1000 == 0) progress.update(input.bytes_read(), input.size());
    read_line(input.line());
  }
  end_sentence();
  // Columns without an empty line: the sentence tag must tell.
  if (format_ != treebank_options_t::Conllu && sentence_ends.size() == first_sentence + 1)
    split_sentences(first_token);
  return input.checksum();
}

// Repairs the ends of a line.
std::string_view Treebank::bare(std::string_view line) {
  if (line.ends_with('\r')) {
    repair(Line_End);
    line.remove_suffix(1);
  }
  return line;
}

void Treebank::read_line(std::string_view line) {
  line = bare(line);
  if (line.find('\0') != line.npos) return refuse("a NUL byte");
  if (line.find_first_not_of(Blanks) == line.npos) return end_sentence();
  if (format_ == treebank_options_t::Conllu)
    read_conllu(parse_conllu(line));
  else
    read_columns(line);
}

void Treebank::read_conllu(const conllu_line_t& line) {
  const auto& [id, form, lemma, upos, xpos, feats, head, relation, deps, misc] = line.columns;
  switch (line.kind) {
    case conllu_line_t::Not_Ten_Columns:
      return refuse(std::to_string(line.count) + " columns, not 10");
    case conllu_line_t::No_Id:
      return refuse("the first column is no number: '" + printable(id) + "'");
    case conllu_line_t::Comment:
    case conllu_line_t::Range:
    case conllu_line_t::Empty_Node:
      return;
    case conllu_line_t::Token:
      break;
  }
  has_universal_tags = true;
  const std::optional<std::string> tag = tag_of(line);
  if (!tag) return;
  const bool has_lemma = lemma != "_" || form == "_";
  add_token(form, *tag, has_lemma ? lemma : "", is_open_class(upos));
}

// Nothing for a token that is left out or refused.
std::optional<std::string> Treebank::tag_of(const conllu_line_t& line) {
  using Options = treebank_options_t;
  std::string tag = conllu_tag(line, options_.tag);
  if (tag.empty() && options_.without_tag == Options::Take_Upos) tag = conllu_tag(line, tag_column_t::Upos);
  if (!tag.empty()) return tag;
  if (options_.without_tag == Options::Skip)
    repair(Without_Tag);
  else
    refuse("no " + std::string(Tag_Column_Names[static_cast<int>(options_.tag)]) + " tag for '" +
           printable(line.columns[conllu_line_t::Form]) + "' (see --column and --without-tag)");
  return std::nullopt;
}

void Treebank::read_columns(std::string_view line) {
  std::array<std::string_view, 3> fields;
  const size_t count = split_at_tabs(line, fields);
  if (count == 1 && line[0] == '#' && tokens.empty()) return;  // a comment before all
  if (count == 1 && line[0] == '<' && trimmed(line).ends_with('>')) {
    if (line.starts_with("<s>") || line.starts_with("<s ") || line.starts_with("</s>")) end_sentence();
    return repair(Markup);
  }
  if (count < 2) return refuse("no TAB between form and tag");
  if (trimmed(fields[1]).empty()) return refuse("no tag for '" + printable(fields[0]) + "'");
  add_token(fields[0], fields[1], fields[2], false);
}

// ---- tokens

// The number of a form or lemma as it can be written; -1 if nothing is left of it.
int Treebank::clean(std::string_view text, const char* what) {
  std::string cleaned(trimmed(text));
  std::replace(cleaned.begin(), cleaned.end(), '\r', ' ');
  if (cleaned != text && (what != nullptr || !cleaned.empty())) repair(White_Space);
  if (cleaned.empty()) {
    if (what != nullptr) refuse(std::string("an empty ") + what);
    return -1;
  }
  return strings.number(cleaned);
}

// Any white space ends a tag somewhere: in the corpus, in the lexicon or in the open-class file.
int Treebank::clean_tag(std::string_view tag) {
  std::string cleaned(trimmed(tag));
  for (char& c : cleaned)
    if (Blanks.find(c) != Blanks.npos) c = '_';
  if (cleaned != tag) repair(Tag_Blank);
  return strings.number(cleaned);
}

bool Treebank::fits(int form, int tag) {
  const size_t tag_length = std::strlen(strings.text(tag));
  if (tag_length > Max_Open_Class_Name) {
    refuse(formatted("a tag of more than %d bytes", Max_Open_Class_Name));
    return false;
  }
  constexpr size_t Separators = 2;  // TAB and LF
  if (std::strlen(strings.text(form)) + tag_length + Separators > Max_Line_Length) {
    refuse(formatted("a word form too long for a line of %d bytes", Max_Line_Length));
    return false;
  }
  return true;
}

void Treebank::add_token(std::string_view form_text, std::string_view tag_text, std::string_view lemma_text,
                         bool open) {
  const int form = clean(form_text, "word form");
  if (form < 0) return;
  const int treebank_tag = clean_tag(tag_text);
  const int tag = !options_.only_last && is_sentence_end(form) ? sentence_tag_ : treebank_tag;
  if (!fits(form, tag)) return;
  const int lemma = clean(lemma_text, nullptr);
  if (lemma < 0 && format_ == treebank_options_t::Conllu) repair(Without_Lemma);
  int_count(tokens.size() + 1, "tokens");
  tokens.push_back({form, tag, lemma, treebank_tag, open});
}

bool Treebank::is_sentence_end(int form) const {
  return std::find(end_forms_.begin(), end_forms_.end(), form) != end_forms_.end();
}

encoding_t Treebank::encoding() const {
  encoding_t result = encoding_t::Ascii;
  for (const char* text : strings.texts()) result = std::max(result, encoding_of(text));
  return result;
}

void Treebank::end_sentence() {
  if (tokens.size() == (sentence_ends.empty() ? 0 : sentence_ends.back())) return;
  if (options_.only_last && is_sentence_end(tokens.back().form)) tokens.back().tag = sentence_tag_;
  sentence_ends.push_back(tokens.size());
}

void Treebank::split_sentences(size_t first) {
  sentence_ends.pop_back();
  for (size_t i = first; i < tokens.size(); ++i)
    if (tokens[i].tag == sentence_tag_ || i + 1 == tokens.size()) sentence_ends.push_back(i + 1);
}

// ---- the extra lexicon

uint64_t Treebank::read_lexicon(const char* name) {
  TextInput input(name);
  file_ = input.name();
  format_ = treebank_options_t::Columns;
  while (input.next()) {
    line_ = input.number();
    if (line_ == 1 && input.had_byte_order_mark()) repair(Byte_Order_Mark);
    const std::string_view line = bare(input.line());
    if (line.find('\0') != line.npos)
      refuse("a NUL byte");
    else if (line.size() >= Max_Line_Length)
      refuse(formatted("more than %d bytes", Max_Line_Length));
    else
      read_entry(std::string(line));
  }
  return input.checksum();
}

void Treebank::read_entry(std::string line) {
  lexicon_line_t entry;
  entry.split(line.data());
  if (entry.pairs.empty()) return refuse("no tag for the word form '" + printable(entry.word) + "'");
  const int form = clean(entry.word, "word form");
  if (form < 0) return;
  for (const auto& [tag_text, lemma_text] : entry.pairs) {
    const int tag = clean_tag(tag_text);
    const int lemma = clean(lemma_text, nullptr);
    if (lemma < 0) return refuse("tag " + printable(tag_text) + " has no lemma");
    if (!fits(form, tag)) return;
    entries.push_back({form, tag, lemma, tag, false});
  }
}

}  // namespace orvelle
