// SPDX-License-Identifier: MIT
// orvelle tag: a text with one word a line, and the tag and the lemma of each word.
//
// Lines wait until their sentence ends, those that are no words too, and leave in their order; a sentence
// without an end leaves in pieces (orvelle/tagger.h). Output is flushed before input is waited for.
#include <algorithm>
#include <cstdio>
#include <optional>
#include <span>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "commands/command.h"
#include "commands/conllu.h"
#include "commands/escape.h"
#include "commands/model_columns.h"
#include "commands/sentence_jobs.h"
#include "commands/tagger_options.h"
#include "commands/text_format.h"
#include "commands/text_io.h"
#include "commands/treebank_options.h"
#include "commands/utf8_text.h"

namespace orvelle {

namespace {

constexpr char Help[] =
    "Usage: orvelle tag [OPTION...] MODEL [TEXT]\n"
    "\n"
    "Tags a text, or standard input. Of CoNLL-U it fills in the columns for lemma and tag. Of\n"
    "words, one a line, it writes each line with a TAB, the tag, a TAB and the lemma behind\n"
    "it; the word is what stands before the first TAB, and an empty line ends a sentence.\n"
    "Of a text with a sentence a line it tags what stands between blanks.\n"
    "\n"
    "  --format FORMAT     conllu, words or lines (what the text looks like); --conllu is\n"
    "                      short for --format conllu\n"
    "  --output FILE       write to FILE, not to standard output\n"
    "  --no-lemma          write no lemmas\n"
    "  --unknown-lemma S   the lemma of a word for which the lexicon has none (by the rules\n"
    "                      of the model, or the word)\n"
    "  --probabilities P   write every tag with a probability of at least P in this place\n"
    "                      of the text, the most probable first: TAB, tag, blank, lemma,\n"
    "                      blank, probability for each; always at least one. In CoNLL-U the\n"
    "                      column MISC gets them\n"
    "  --markup            lines that begin with < and end with > are no words and pass\n"
    "                      through; tags inside a word do not count when it is looked up\n"
    "  --column WHICH      the column of CoNLL-U for the tag: xpos, upos or upos+feats (the\n"
    "                      one that the model was trained on, or xpos)\n";

constexpr option_t Options[] = {{"output", "FILE"},     {"no-lemma", nullptr}, {"unknown-lemma", "LEMMA"},
                                {"probabilities", "P"}, {"markup", nullptr},   {"conllu", nullptr},
                                {"column", "WHICH"},    {"format", "FORMAT"}};

struct settings_t {
  bool lemmas = true;
  const char* unknown_lemma = nullptr;  // null: the word form
  double least_probability = -1.0;      // below 0: the chosen tag alone
  bool markup = false;
  std::optional<text_format_t> format;  // none: to be recognised
  std::optional<tag_column_t> column;   // none: the model's
  tagger_options_t tagger;
};

settings_t settings_of(const CommandLine& line) {
  settings_t settings;
  settings.lemmas = !line.has("no-lemma");
  settings.unknown_lemma = line.value("unknown-lemma", nullptr);
  settings.least_probability = line.number("probabilities", -1.0, 0.0, 1.0);
  settings.markup = line.has("markup");
  if (line.has("format"))
    settings.format = static_cast<text_format_t>(line.choice("format", 0, {"words", "conllu", "lines"}));
  if (line.has("conllu")) settings.format = text_format_t::Conllu;
  settings.column = tag_column(line);
  return settings;
}

// Tagged text, and where its first line is that is not UTF-8 though it should be: 0 for none.
struct tagged_t {
  std::string text;
  int64_t broken_line = 0;
};

// A worker of SentenceJobs.
class TextTagger {
 public:
  // All but the settings must outlive the object. `name` is that of the text in messages.
  TextTagger(const Model& model, const settings_t& settings, text_format_t format, const char* name)
      : model_(model),
        settings_(settings),
        format_(format),
        name_(name),
        tagger_(model, settings.tagger),
        columns_(model, settings.unknown_lemma) {
    if (settings.column) columns_.set_column(*settings.column);
  }

  void take_line(std::string_view line_with_end, int64_t number) {
    std::string_view text = line_with_end;
    if (text.ends_with('\n')) text.remove_suffix(1);
    const bool has_return = text.ends_with('\r');
    if (has_return) text.remove_suffix(1);
    if (broken_line_ == 0 && model_.UTF8_Processing() && encoding_of(text) == encoding_t::Other)
      broken_line_ = number;
    if (format_ == text_format_t::Lines) return take_sentence(text);
    if (text.empty()) {
      end_text();
      out_ += line_with_end;
      return;
    }
    line_t line{text_.size(), text.size(), text_.size(), 0, true, has_return};
    if (!find_word(text, line)) {
      end_text();
      if (line_with_end.ends_with('\n')) line_with_end.remove_suffix(1);
      stop_at(name_, number, conllu_fault(text));
    }
    if (!line.is_word && words_ == 0) {  // nothing waits
      out_ += line_with_end;
      return;
    }
    take_word(text, line);
  }

  // Ends the sentence.
  void end_text() {
    if (words_ > 0) {
      tag_words();
      write_words(words_);
    }
    tagger_.end_sentence();
  }

  bool ends_sentence(std::string_view line_with_end) const {
    return format_ == text_format_t::Lines || without_end(line_with_end).empty();
  }

  tagged_t take_result() { return {std::exchange(out_, {}), std::exchange(broken_line_, 0)}; }

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
  static constexpr char Probabilities_Key[] = "Tags=";

  // A sentence becomes lines of one word, and an empty one.
  void take_sentence(std::string_view text) {
    constexpr std::string_view Blanks = " \t";
    for (size_t start; (start = text.find_first_not_of(Blanks)) != text.npos;) {
      const std::string_view word = text.substr(start, text.find_first_of(Blanks, start) - start);
      text.remove_prefix(start + word.size());
      take_word(word, {text_.size(), word.size(), text_.size(), word.size(), true, false});
    }
    const bool has_words = words_ > 0;
    end_text();
    if (has_words) out_ += '\n';
  }

  // False if there is no telling where the word stands.
  bool find_word(std::string_view text, line_t& line) const {
    line.is_word = !(settings_.markup && text.starts_with('<') && text.ends_with('>'));
    if (!line.is_word) return true;
    if (format_ != text_format_t::Conllu) {
      line.word_size = std::min(text.find('\t'), text.size());
      return true;
    }
    const conllu_line_t conllu = parse_conllu(text);
    line.is_word = conllu.kind == conllu_line_t::Token;
    if (line.is_word) {
      const std::string_view form = conllu.columns[conllu_line_t::Form];
      line.word_start += static_cast<size_t>(form.data() - text.data());
      line.word_size = form.size();
    }
    return conllu.kind != conllu_line_t::Not_Ten_Columns && conllu.kind != conllu_line_t::No_Id;
  }

  void take_word(std::string_view text, const line_t& line) {
    text_ += text;
    words_ += line.is_word;
    lines_.push_back(line);
    if (words_ < Tagger::Longest_Piece && text_.size() <= Longest_Text) return;
    tag_words();
    write_words(words_ > Tagger::Waiting_Words ? words_ - Tagger::Waiting_Words : words_);
  }

  void tag_words() {
    forms_.clear();
    for (const line_t& line : lines_)
      if (line.is_word) forms_.push_back(std::string_view(text_).substr(line.word_start, line.word_size));
    tagger_.tag(forms_, settings_.least_probability >= 0.0);
  }

  // Writes the lines up to that many words, and at the end of the words all that is left; they wait no
  // longer.
  void write_words(size_t words) {
    if (settings_.lemmas)
      for (size_t i = 0; i < words; ++i) columns_.prefetch_lemma(tagger_.chosen(i));
    size_t done = 0;
    size_t word = 0;
    for (; done < lines_.size() && (word < words || words == words_); ++done) {
      const line_t& line = lines_[done];
      if (line.is_word)
        write_word(line, word++);
      else
        out_.append(text_, line.start, line.size);
      out_ += line.has_return ? "\r\n" : "\n";
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
    if (format_ == text_format_t::Conllu) {
      write_columns(text, chosen, word);
      return;
    }
    out_ += text;
    if (settings_.least_probability >= 0.0) {
      write_probabilities(word);
      return;
    }
    (out_ += '\t') += model_.treebank_tag(chosen.tag, forms_[word]);
    if (settings_.lemmas) (out_ += '\t') += columns_.lexicon_lemma(chosen, forms_[word]);
  }

  void write_columns(std::string_view text, const candidate_t& chosen, size_t word) {
    conllu_line_t line = parse_conllu(text);
    columns_.fill(line, chosen, settings_.lemmas);
    std::string misc;
    if (settings_.least_probability >= 0.0)
      line.columns[conllu_line_t::Misc] = misc = with_probabilities(line.columns[conllu_line_t::Misc], word);
    for (const std::string_view column : line.columns) (out_ += column) += '\t';
    out_.pop_back();
  }

  // The column MISC with "Tags=NN:0.9312;JJ:0.0600" behind what it has, but for those of an earlier run; a | of a tag is
  // \p there.
  std::string with_probabilities(std::string_view misc, size_t word) {
    std::string text;
    while (!misc.empty() && misc != "_") {
      const std::string_view attribute = misc.substr(0, misc.find('|'));
      if (!attribute.starts_with(Probabilities_Key)) (text += attribute) += '|';
      misc.remove_prefix(std::min(attribute.size() + 1, misc.size()));
    }
    const char* separator = Probabilities_Key;
    for_each_probable(word, [&](const candidate_t& candidate, const char* probability) {
      text += std::exchange(separator, ";");
      for (const char* c = model_.treebank_tag(candidate.tag, forms_[word]); *c != '\0'; ++c)
        *c == '|' ? text += "\\p" : text += *c;
      (text += ':') += probability;
    });
    return text;
  }

  void write_probabilities(size_t word) {
    for_each_probable(word, [&](const candidate_t& candidate, const char* probability) {
      (out_ += '\t') += model_.treebank_tag(candidate.tag, forms_[word]);
      if (settings_.lemmas) (out_ += ' ') += columns_.lexicon_lemma(candidate, forms_[word]);
      (out_ += ' ') += probability;
    });
  }

  // Calls `action(candidate, probability as text)`, the most probable first.
  template <class Action>
  void for_each_probable(size_t word, Action action) {
    const candidates_t candidates = tagger_.candidates(word);
    const std::span<const double> probabilities = tagger_.posteriors(word);
    order_.resize(candidates.size());
    for (size_t i = 0; i < order_.size(); ++i) order_[i] = i;
    std::stable_sort(order_.begin(), order_.end(),
                     [&](size_t a, size_t b) { return probabilities[a] > probabilities[b]; });
    for (size_t i = 0; i < order_.size(); ++i) {
      if (i > 0 && probabilities[order_[i]] < settings_.least_probability) break;
      char text[16];
      std::snprintf(text, sizeof text, "%.4f", probabilities[order_[i]]);
      action(candidates[order_[i]], text);
    }
  }

  const Model& model_;
  settings_t settings_;
  text_format_t format_;
  const char* name_;
  Tagger tagger_;
  ModelColumns columns_;
  std::string text_;  // the lines that wait, without their ends
  std::vector<line_t> lines_;
  size_t words_ = 0;  // of them
  std::vector<std::string_view> forms_;
  std::vector<size_t> order_;
  std::string out_;
  int64_t broken_line_ = 0;
};

int tag_command(const CommandLine& line, Remarks& remarks) {
  settings_t settings = settings_of(line);
  const size_t jobs = jobs_option(line, 1);
  const Model model = load_tagging_model(line, remarks);
  settings.tagger = tagger_options(line);
  settings.tagger.strips_markup = settings.markup;
  TextInput in(text_name(line));
  const char* const output = line.value("output", "-");
  require_other_file(output, tagger_inputs(line));
  const text_format_t format = settings.format ? *settings.format : recognise_format(in);
  require_column(model, settings.column);
  tell_of_text(in, !settings.format && format == text_format_t::Lines, remarks);
  TextOutput out(output);
  bool is_told = false;
  const auto take = [&](const tagged_t& tagged, bool may_wait) {
    out.put(tagged.text);
    if (tagged.broken_line != 0 && !std::exchange(is_told, true))
      remarks.say_at(in.name(), tagged.broken_line, Not_Utf8);
    if (may_wait) out.flush();
  };
  ProgressLine progress(remarks, "tagging");
  SentenceJobs(in, TextTagger(model, settings, format, in.name()), jobs, take).run(progress);
  out.close();
  return 0;
}

}  // namespace

const command_t Tag_Command = {"tag", "tag a text", Help, Options, 1, 2, tag_command, &Tagger_Group};

}  // namespace orvelle
