// orvelle tag: a text with one word a line, and the tag and the lemma of each word.
//
// Lines wait until their sentence ends, those that are no words too, and leave in their order; a sentence
// without an end leaves in pieces (orvelle/tagger.h). Output is flushed before input is waited for.
#include <algorithm>
#include <cstdio>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "commands/command.h"
#include "commands/conllu.h"
#include "commands/escape.h"
#include "commands/sentence_jobs.h"
#include "commands/tagger_options.h"
#include "commands/text_io.h"

namespace orvelle {

namespace {

constexpr char Help[] =
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
    "  --column WHICH      the column for the tag: xpos (default) or upos\n";

constexpr option_t Options[] = {{"output", "FILE"},     {"no-lemma", nullptr}, {"unknown-lemma", "LEMMA"},
                                {"probabilities", "P"}, {"markup", nullptr},   {"conllu", nullptr},
                                {"column", "WHICH"}};

struct settings_t {
  bool lemmas = true;
  const char* unknown_lemma = nullptr;  // null: the word form
  double least_probability = -1.0;      // below 0: the chosen tag alone
  bool markup = false;
  bool conllu = false;
  conllu_line_t::column_t tag_column = conllu_line_t::Xpos;
  tagger_options_t tagger;
};

settings_t settings_of(const CommandLine& line) {
  settings_t settings;
  settings.lemmas = !line.has("no-lemma");
  settings.unknown_lemma = line.value("unknown-lemma", nullptr);
  settings.least_probability = line.number("probabilities", -1.0, 0.0, 1.0);
  settings.markup = line.has("markup");
  settings.conllu = line.has("conllu");
  settings.tag_column =
      line.choice("column", 0, {"xpos", "upos"}) == 0 ? conllu_line_t::Xpos : conllu_line_t::Upos;
  if (settings.conllu && settings.least_probability >= 0.0)
    misuse("--conllu has no column for --probabilities");
  if (line.has("column") && !settings.conllu) misuse("--column goes with --conllu");
  settings.tagger = tagger_options(line);
  settings.tagger.strips_markup = settings.markup;
  return settings;
}

// A worker of SentenceJobs.
class TextTagger {
 public:
  // All but the settings must outlive the object. `name` is that of the text in messages.
  TextTagger(const Model& model, const settings_t& settings, const char* name)
      : model_(model), settings_(settings), name_(name), tagger_(model, settings.tagger) {}

  void take_line(std::string_view line_with_end, int64_t number) {
    std::string_view text = line_with_end;
    if (text.ends_with('\n')) text.remove_suffix(1);
    const bool has_return = text.ends_with('\r');
    if (has_return) text.remove_suffix(1);
    if (text.empty()) {
      end_text();
      out_ += line_with_end;
      return;
    }
    line_t line{text_.size(), text.size(), text_.size(), 0, true, has_return};
    if (!find_word(text, line)) {
      end_text();
      if (line_with_end.ends_with('\n')) line_with_end.remove_suffix(1);
      stop_at(name_, number, "not a CoNLL-U line of ten columns: " + printable(line_with_end));
    }
    if (!line.is_word && words_ == 0) {  // nothing waits
      out_ += line_with_end;
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

  // Ends the sentence.
  void end_text() {
    if (words_ > 0) {
      tag_words();
      write_words(words_);
    }
    tagger_.end_sentence();
  }

  std::string take_result() { return std::exchange(out_, {}); }

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

  // False if there is no telling where the word stands.
  bool find_word(std::string_view text, line_t& line) const {
    line.is_word = !(settings_.markup && text.starts_with('<') && text.ends_with('>'));
    if (!line.is_word) return true;
    if (!settings_.conllu) {
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
    return conllu.kind != conllu_line_t::Not_Ten_Columns;
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
    if (settings_.conllu) {
      write_columns(text, chosen, forms_[word]);
      return;
    }
    out_ += text;
    if (settings_.least_probability >= 0.0) {
      write_probabilities(word);
      return;
    }
    (out_ += '\t') += model_.Tag(chosen.tag);
    if (settings_.lemmas) (out_ += '\t') += lemma_of(chosen, forms_[word]);
  }

  void write_columns(std::string_view text, const candidate_t& chosen, std::string_view form) {
    conllu_line_t line = parse_conllu(text);
    const std::string_view lemma = lemma_of(chosen, form);
    if (settings_.lemmas) line.columns[conllu_line_t::Lemma] = lemma.empty() ? "_" : lemma;
    line.columns[settings_.tag_column] = model_.Tag(chosen.tag);
    for (const std::string_view column : line.columns) (out_ += column) += '\t';
    out_.pop_back();
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
      (out_ += '\t') += model_.Tag(candidate.tag);
      if (settings_.lemmas) (out_ += ' ') += lemma_of(candidate, forms_[word]);
      char text[16];
      std::snprintf(text, sizeof text, " %.4f", probabilities[order_[i]]);
      out_ += text;
    }
  }

  std::string_view lemma_of(const candidate_t& candidate, std::string_view form) const {
    if (candidate.lemma != No_Lemma) return model_.Lemma(candidate.lemma);
    return settings_.unknown_lemma != nullptr ? settings_.unknown_lemma : form;
  }

  const Model& model_;
  settings_t settings_;
  const char* name_;
  Tagger tagger_;
  std::string text_;  // the lines that wait, without their ends
  std::vector<line_t> lines_;
  size_t words_ = 0;  // of them
  std::vector<std::string_view> forms_;
  std::vector<size_t> order_;
  std::string out_;
};

int tag_command(const CommandLine& line, Remarks& remarks) {
  const settings_t settings = settings_of(line);
  const size_t jobs = jobs_option(line, 1);
  const Model model = load_model(line);
  TextInput in(text_name(line));
  TextOutput out(line.value("output", "-"));
  const auto take = [&out](std::string_view text, bool may_wait) {
    out.put(text);
    if (may_wait) out.flush();
  };
  ProgressLine progress(remarks, "tagging");
  SentenceJobs(in, TextTagger(model, settings, in.name()), jobs, take).run(progress);
  out.close();
  return 0;
}

}  // namespace

const command_t Tag_Command = {"tag", "tag a text", Help, Options, 1, 2, tag_command, true};

}  // namespace orvelle
