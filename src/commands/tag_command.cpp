// orvelle tag: a text with one word a line, and the tag and the lemma of each word.
//
// Lines wait until their sentence ends, those that are no words too, and leave in their order; a sentence
// without an end leaves in pieces (tagger/tagger.h). Output is flushed before input is waited for.
#include <algorithm>
#include <array>
#include <cstdio>
#include <string>
#include <string_view>
#include <vector>

#include "commands/command.h"
#include "commands/tagger_options.h"
#include "commands/text_io.h"
#include "lexicon/lemmas.h"
#include "lexicon/tagset.h"
#include "tagger/tagger.h"

namespace orvelle {

namespace {

constexpr const char* Help =
    "Usage: orvelle tag [OPTION...] PARAMETER-FILE [TEXT]\n"
    "\n"
    "Tags a text, or standard input: one word a line, an empty line behind each sentence.\n"
    "Writes each line with a TAB, the tag, a TAB and the lemma behind it. The word is what\n"
    "stands before the first TAB of its line.\n"
    "\n"
    "  --output FILE       write to FILE, not to standard output\n"
    "  --no-lemma          write no lemmas\n"
    "  --unknown-lemma S   the lemma of a word for which the lexicon has none (the word)\n"
    "  --probabilities P   write every tag with a probability of at least P in this place\n"
    "                      of the text, the most probable first: TAB, tag, blank, lemma,\n"
    "                      blank, probability for each; always at least one\n"
    "  --markup            lines that begin with < and end with > are no words and pass\n"
    "                      through; tags inside a word do not count when it is looked up\n"
    "  --conllu            the text is CoNLL-U: fill in its columns for lemma and tag\n"
    "  --column WHICH      the column for the tag: xpos (default) or upos\n" ORVELLE_TAGGER_HELP;

constexpr option_t Options[] = {{"output", "FILE"},     {"no-lemma", nullptr}, {"unknown-lemma", "LEMMA"},
                                {"probabilities", "P"}, {"markup", nullptr},   {"conllu", nullptr},
                                {"column", "WHICH"},    ORVELLE_TAGGER_OPTIONS};

constexpr size_t Conllu_Columns = 10;
constexpr size_t Form_Column = 1;
constexpr size_t Lemma_Column = 2;
constexpr size_t Upos_Column = 3;
constexpr size_t Xpos_Column = 4;
using columns_t = std::array<std::string_view, Conllu_Columns>;

struct settings_t {
  bool lemmas = true;
  const char* unknown_lemma = nullptr;  // null: the word form
  double least_probability = -1.0;      // below 0: the chosen tag alone
  bool markup = false;
  bool conllu = false;
  size_t tag_column = Xpos_Column;
};

settings_t settings_of(const CommandLine& line) {
  settings_t settings;
  settings.lemmas = !line.has("no-lemma");
  settings.unknown_lemma = line.value("unknown-lemma", nullptr);
  settings.least_probability = line.number("probabilities", -1.0, 0.0, 1.0);
  settings.markup = line.has("markup");
  settings.conllu = line.has("conllu");
  settings.tag_column = line.choice("column", 0, {"xpos", "upos"}) == 0 ? Xpos_Column : Upos_Column;
  if (settings.conllu && settings.least_probability >= 0.0)
    misuse("--conllu has no column for --probabilities");
  if (line.has("column") && !settings.conllu) misuse("--column goes with --conllu");
  return settings;
}

// Splits a line at its TABs; false if it has not as many columns as it should.
bool split_columns(std::string_view line, columns_t& columns) {
  for (size_t i = 0; i < Conllu_Columns; ++i) {
    const size_t tab = line.find('\t');
    if ((tab == std::string_view::npos) != (i + 1 == Conllu_Columns)) return false;
    columns[i] = line.substr(0, tab);
    line.remove_prefix(tab == std::string_view::npos ? line.size() : tab + 1);
  }
  return true;
}

bool is_number(std::string_view text) {
  return !text.empty() && std::all_of(text.begin(), text.end(), [](char c) { return c >= '0' && c <= '9'; });
}

class TextTagger {
 public:
  TextTagger(const CommandLine& line, TextInput& in, TextOutput& out)
      : settings_(settings_of(line)),
        in_(in),
        out_(out),
        tagger_(choice_option(line), beam_option(line), settings_.markup) {}

  void run() {
    ProgressLine progress("tagging");
    while (in_.next()) {
      take_line();
      if (in_.number() % 4096 == 0) progress.update(in_.bytes_read(), in_.size());
      if (in_.would_wait()) out_.flush();
    }
    finish_sentence();
  }

 private:
  // A line that waits; offsets in text_. Lines that are no words have an empty word that is_word tells apart.
  struct line_t {
    size_t start;
    size_t size;  // without CR and LF
    size_t word_start;
    size_t word_size;
    bool is_word;
    bool has_return;
  };
  static constexpr size_t Longest_Text = 1 << 24;  // bytes that may wait

  void take_line() {
    std::string_view text = in_.line();
    const bool has_return = text.ends_with('\r');
    if (has_return) text.remove_suffix(1);
    if (text.empty()) {
      finish_sentence();
      out_.put(in_.line_with_end());
      return;
    }
    line_t line{text_.size(), text.size(), text_.size(), 0, true, has_return};
    find_word(text, line);
    if (!line.is_word && words_ == 0) {  // nothing waits
      out_.put(in_.line_with_end());
      return;
    }
    text_ += text;
    words_ += line.is_word;
    lines_.push_back(line);
    if (words_ >= Tagger::Longest_Piece || text_.size() > Longest_Text) {
      tag_words();
      write_words(words_ > Tagger::Waiting_Words ? words_ - Tagger::Waiting_Words : words_);
    }
  }

  void find_word(std::string_view text, line_t& line) {
    if (settings_.markup && text.starts_with('<') && text.ends_with('>')) {
      line.is_word = false;
    } else if (!settings_.conllu) {
      line.word_size = std::min(text.find('\t'), text.size());
    } else if (text.starts_with('#')) {
      line.is_word = false;
    } else {
      columns_t columns;
      if (!split_columns(text, columns)) refuse_line();
      line.is_word = is_number(columns[0]);  // else a range of words or an empty node
      line.word_start += static_cast<size_t>(columns[Form_Column].data() - text.data());
      line.word_size = columns[Form_Column].size();
    }
  }

  [[noreturn]] void refuse_line() {
    finish_sentence();
    out_.flush();
    stop_at(in_.name(), in_.number(), "not a CoNLL-U line of ten columns: %s", printable(in_.line()).c_str());
  }

  void tag_words() {
    forms_.clear();
    for (const line_t& line : lines_)
      if (line.is_word) forms_.push_back(std::string_view(text_).substr(line.word_start, line.word_size));
    tagger_.tag(forms_, settings_.least_probability >= 0.0);
  }

  void finish_sentence() {
    if (words_ > 0) {
      tag_words();
      write_words(words_);
    }
    tagger_.end_sentence();
  }

  // Writes the lines up to that many words, and at the end of the words all that is left; they wait no
  // longer.
  void write_words(size_t words) {
    size_t done = 0;
    size_t word = 0;
    for (; done < lines_.size() && (word < words || words == words_); ++done) {
      const line_t& line = lines_[done];
      if (line.is_word)
        write_word(line, word++);
      else
        out_.put(std::string_view(text_).substr(line.start, line.size));
      if (line.has_return) out_.put('\r');
      out_.put('\n');
    }
    tagger_.settle(words);
    words_ -= words;
    const size_t bytes = done < lines_.size() ? lines_[done].start : text_.size();
    text_.erase(0, bytes);
    lines_.erase(lines_.begin(), lines_.begin() + static_cast<ptrdiff_t>(done));
    for (line_t& line : lines_) {
      line.start -= bytes;
      line.word_start -= bytes;
    }
  }

  void write_word(const line_t& line, size_t word) {
    const std::string_view text = std::string_view(text_).substr(line.start, line.size);
    const candidate_t& chosen = tagger_.chosen(word);
    if (settings_.conllu) {
      write_columns(text, chosen, forms_[word]);
      return;
    }
    out_.put(text);
    if (settings_.least_probability >= 0.0) {
      write_probabilities(word);
      return;
    }
    out_.put('\t');
    out_.put(Tag[chosen.tag]);
    if (!settings_.lemmas) return;
    out_.put('\t');
    out_.put(lemma_of(chosen, forms_[word]));
  }

  void write_columns(std::string_view text, const candidate_t& chosen, std::string_view form) {
    columns_t columns;
    split_columns(text, columns);
    const std::string_view lemma = lemma_of(chosen, form);
    if (settings_.lemmas) columns[Lemma_Column] = lemma.empty() ? "_" : lemma;
    columns[settings_.tag_column] = Tag[chosen.tag];
    for (size_t i = 0; i < Conllu_Columns; ++i) {
      if (i > 0) out_.put('\t');
      out_.put(columns[i]);
    }
  }

  void write_probabilities(size_t word) {
    const candidates_t candidates = tagger_.candidates(word);
    const std::span<const double> probabilities = tagger_.posteriors(word);
    order_.resize(candidates.size());
    for (size_t i = 0; i < order_.size(); ++i) order_[i] = i;
    std::stable_sort(order_.begin(), order_.end(),
                     [&](size_t a, size_t b) { return probabilities[a] > probabilities[b]; });
    for (size_t i = 0; i < order_.size(); ++i) {
      const candidate_t& candidate = candidates[order_[i]];
      if (i > 0 && probabilities[order_[i]] < settings_.least_probability) break;
      out_.put('\t');
      out_.put(Tag[candidate.tag]);
      if (settings_.lemmas) {
        out_.put(' ');
        out_.put(lemma_of(candidate, forms_[word]));
      }
      out_.print(" %.4f", probabilities[order_[i]]);
    }
  }

  std::string_view lemma_of(const candidate_t& candidate, std::string_view form) const {
    if (candidate.lemma != Candidates::No_Lemma) return Lemma[candidate.lemma];
    return settings_.unknown_lemma != nullptr ? settings_.unknown_lemma : form;
  }

  settings_t settings_;
  TextInput& in_;
  TextOutput& out_;
  Tagger tagger_;
  std::string text_;  // the lines that wait, without their ends
  std::vector<line_t> lines_;
  size_t words_ = 0;  // of them
  std::vector<std::string_view> forms_;
  std::vector<size_t> order_;
};

int tag_command(int argc, char** argv) {
  const CommandLine line(argc, argv, Options, 1, 2);
  settings_of(line);  // misuse is told before the work begins
  choice_option(line);
  beam_option(line);
  load_model(line);
  TextInput in(line.operands().size() > 1 ? line.operands()[1] : "-");
  TextOutput out(line.value("output", "-"));
  TextTagger(line, in, out).run();
  out.close();
  return 0;
}

}  // namespace

const command_t Tag_Command = {"tag", "tag a text", Help, tag_command};

}  // namespace orvelle
