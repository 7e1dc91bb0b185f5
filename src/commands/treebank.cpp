#include "commands/treebank.h"

#include <algorithm>
#include <array>
#include <cstdarg>
#include <cstdio>
#include <cstring>

#include "commands/text_io.h"

namespace orvelle {

namespace {

constexpr int64_t Shown_of_a_Kind = 5;
constexpr size_t Max_Tag_Length = 999;  // bytes; the open-class file cannot hold a longer one
constexpr size_t Conllu_Columns = 10;
constexpr std::string_view Blanks = " \t\r\n\v\f";

constexpr const char* Mends[] = {
    "carriage return at the line's end dropped",
    "byte-order mark dropped",
    "white space at the ends of a form or lemma dropped, or a carriage return in it made a blank",
    "white space in a tag replaced by _",
    "no lemma: another token's, or the form, stands for it",
    "markup passed over"};

std::string_view trimmed(std::string_view text) {
  const size_t first = text.find_first_not_of(Blanks);
  if (first == text.npos) return {};
  return text.substr(first, text.find_last_not_of(Blanks) + 1 - first);
}

// The fields between single TABs; those beyond the size of `fields` are counted only.
template <size_t N>
size_t split(std::string_view line, std::array<std::string_view, N>& fields) {
  size_t count = 0;
  for (size_t start = 0; start <= line.size(); ++count) {
    const size_t end = std::min(line.find('\t', start), line.size());
    if (count < N) fields[count] = line.substr(start, end - start);
    start = end + 1;
  }
  return count;
}

bool is_number(std::string_view text) {
  return !text.empty() && text.find_first_not_of("0123456789") == text.npos;
}

// Two numbers and `separator` between them: 3-4, 8.1.
bool is_pair(std::string_view id, char separator) {
  const size_t place = id.find(separator);
  return place != id.npos && is_number(id.substr(0, place)) && is_number(id.substr(place + 1));
}

bool is_open_class(std::string_view universal_tag) {
  constexpr std::string_view Open[] = {"ADJ", "ADV", "INTJ", "NOUN", "PROPN", "VERB"};
  return std::find(std::begin(Open), std::end(Open), universal_tag) != std::end(Open);
}

}  // namespace

Treebank::Treebank(const treebank_options_t& options)
    : options_(options), sentence_tag_(strings.number(options.sentence_tag)) {
  for (const std::string& form : options.sentence_ends) end_forms_.push_back(strings.number(form));
}

void Treebank::mend(mended_t kind) {
  if (++mends_[kind] <= Shown_of_a_Kind) remark_at(file_, line_, "%s", Mends[kind]);
}

void Treebank::refuse(const char* format, ...) {
  if (++refused > 4 * Shown_of_a_Kind) return;
  char text[1000];
  va_list arguments;
  va_start(arguments, format);
  std::vsnprintf(text, sizeof text, format, arguments);
  va_end(arguments);
  remark_at(file_, line_, "refused: %s", text);
}

void Treebank::close_remarks() {
  for (int kind = 0; kind < Number_of_Mends; ++kind)
    if (const int64_t more = mends_[kind] - Shown_of_a_Kind; more > 0)
      remark("in %lld more places: %s", static_cast<long long>(more), Mends[kind]);
  if (const int64_t more = refused - 4 * Shown_of_a_Kind; more > 0)
    remark("%lld more lines refused", static_cast<long long>(more));
}

// ---- files

void Treebank::read(const char* name) {
  TextInput input(name);
  ProgressLine progress("reading");
  file_ = input.name();
  format_ = options_.format;
  const size_t first_sentence = sentence_ends.size();
  const size_t first_token = tokens.size();
  while (input.next()) {
    line_ = input.number();
    if (line_ % 1000 == 0) progress.update(input.bytes_read(), input.size());
    read_line(input.line());
  }
  end_sentence();
  // Columns without an empty line: the sentence tag must tell.
  if (format_ != treebank_options_t::Conllu && sentence_ends.size() == first_sentence + 1)
    split_sentences(first_token);
}

void Treebank::read_line(std::string_view line) {
  if (line_ == 1 && line.starts_with("\xEF\xBB\xBF")) {
    mend(Byte_Order_Mark);
    line.remove_prefix(3);
  }
  if (line.ends_with('\r')) {
    mend(Line_End);
    line.remove_suffix(1);
  }
  if (line.find('\0') != line.npos) return refuse("a NUL byte");
  if (line.find_first_not_of(Blanks) == line.npos) return end_sentence();
  if (format_ == treebank_options_t::Guess && line[0] == '#' && line.find('\t') == line.npos)
    return;  // a comment
  if (format_ == treebank_options_t::Guess)
    format_ = std::count(line.begin(), line.end(), '\t') == Conllu_Columns - 1 ? treebank_options_t::Conllu
                                                                               : treebank_options_t::Columns;
  if (format_ == treebank_options_t::Conllu)
    read_conllu(line);
  else
    read_columns(line);
}

void Treebank::read_conllu(std::string_view line) {
  if (line[0] == '#') return;
  std::array<std::string_view, Conllu_Columns> fields;
  const size_t count = split(line, fields);
  if (count != Conllu_Columns) return refuse("%zu columns, not 10", count);
  const auto& [id, form, lemma, upos, xpos, feats, head, relation, deps, misc] = fields;
  if (is_pair(id, '-')) return void(++ranges);
  if (is_pair(id, '.')) return void(++empty_nodes);
  if (!is_number(id)) return refuse("the first column is no number: '%s'", printable(id).c_str());
  has_universal_tags = true;
  const bool by_xpos = options_.tag == treebank_options_t::Xpos;
  std::string tag(by_xpos ? xpos : upos);
  if (tag.empty() || tag == "_")
    return refuse("no %s tag for '%s'%s", by_xpos ? "XPOS" : "UPOS", printable(form).c_str(),
                  by_xpos ? " (--tag upos takes the universal tags)" : "");
  if (options_.tag == treebank_options_t::Upos_Feats && !feats.empty() && feats != "_")
    tag.append("|").append(feats);
  const bool has_lemma = lemma != "_" || form == "_";
  add_token(form, tag, has_lemma ? lemma : "", is_open_class(upos));
}

void Treebank::read_columns(std::string_view line) {
  std::array<std::string_view, 3> fields;
  const size_t count = split(line, fields);
  if (count == 1 && line[0] == '<' && trimmed(line).ends_with('>')) {
    if (line.starts_with("<s>") || line.starts_with("<s ") || line.starts_with("</s>")) end_sentence();
    return mend(Markup);
  }
  if (count < 2) return refuse("no TAB between form and tag");
  if (trimmed(fields[1]).empty()) return refuse("no tag for '%s'", printable(fields[0]).c_str());
  add_token(fields[0], fields[1], fields[2], false);
}

// ---- tokens

// The number of a form or lemma as it can be written; -1 if nothing is left of it.
int Treebank::clean(std::string_view text, const char* what) {
  std::string cleaned(trimmed(text));
  std::replace(cleaned.begin(), cleaned.end(), '\r', ' ');
  if (cleaned != text && (what != nullptr || !cleaned.empty())) mend(White_Space);
  if (cleaned.empty()) {
    if (what != nullptr) refuse("an empty %s", what);
    return -1;
  }
  return strings.number(cleaned);
}

// Any white space ends a tag somewhere: in the corpus, in the lexicon or in the open-class file.
int Treebank::clean_tag(std::string_view tag) {
  std::string cleaned(trimmed(tag));
  for (char& c : cleaned)
    if (Blanks.find(c) != Blanks.npos) c = '_';
  if (cleaned != tag) mend(Tag_Blank);
  return strings.number(cleaned);
}

bool Treebank::fits(int form, int tag) {
  const size_t tag_length = std::strlen(strings.text(tag));
  if (tag_length > Max_Tag_Length) {
    refuse("a tag of more than %zu bytes", Max_Tag_Length);
    return false;
  }
  constexpr size_t Separators = 2;  // TAB and LF
  if (std::strlen(strings.text(form)) + tag_length + Separators > Max_Line_Length) {
    refuse("a word form too long for a line of %d bytes", Max_Line_Length);
    return false;
  }
  return true;
}

void Treebank::add_token(std::string_view form_text, std::string_view tag_text, std::string_view lemma_text,
                         bool open) {
  const int form = clean(form_text, "word form");
  if (form < 0) return;
  int tag = clean_tag(tag_text);
  if (!options_.only_last && is_sentence_end(form)) tag = sentence_tag_;
  if (!fits(form, tag)) return;
  const int lemma = clean(lemma_text, nullptr);
  if (lemma < 0) {
    ++without_lemma;
    if (format_ == treebank_options_t::Conllu) mend(No_Lemma);
  }
  tokens.push_back({form, tag, lemma, open});
}

bool Treebank::is_sentence_end(int form) const {
  return std::find(end_forms_.begin(), end_forms_.end(), form) != end_forms_.end();
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

void Treebank::read_lexicon(const char* name) {
  TextInput input(name);
  file_ = input.name();
  format_ = treebank_options_t::Columns;
  while (input.next()) {
    line_ = input.number();
    std::string line(input.line());
    if (line_ == 1 && line.starts_with("\xEF\xBB\xBF")) {
      mend(Byte_Order_Mark);
      line.erase(0, 3);
    }
    if (line.ends_with('\r')) {
      mend(Line_End);
      line.pop_back();
    }
    if (line.find('\0') != line.npos)
      refuse("a NUL byte");
    else if (line.size() >= Max_Line_Length)
      refuse("more than %d bytes", Max_Line_Length);
    else
      read_entry(std::move(line));
  }
}

void Treebank::read_entry(std::string line) {
  char* cursor = line.data();
  const char* form_text = next_string2(&cursor);
  const char* tag_text = next_string(&cursor);
  if (*tag_text == '\0') return refuse("no tag for the word form '%s'", printable(form_text).c_str());
  const int form = clean(form_text, "word form");
  for (; *tag_text != '\0'; tag_text = next_string(&cursor)) {
    const char* lemma_text = next_string2(&cursor);
    const int tag = clean_tag(tag_text);
    const int lemma = clean(lemma_text, nullptr);
    if (lemma < 0) return refuse("tag %s has no lemma", printable(tag_text).c_str());
    if (!fits(form, tag)) return;
    entries.push_back({form, tag, lemma, false});
  }
}

}  // namespace orvelle
