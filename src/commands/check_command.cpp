// orvelle check: what in a lexicon, an open-class file and a corpus would stop the training, or weaken its
// model without a word. The trainer's own readers read the files, and go on where the training would stop: what they
// find is collected and reported by kind.
#include <algorithm>
#include <cerrno>
#include <cstdio>
#include <cstring>
#include <string>
#include <unordered_map>
#include <utility>
#include <vector>

#include "commands/command.h"
#include "commands/escape.h"
#include "commands/text_io.h"
#include "support/errors.h"
#include "training/corpus_pass.h"
#include "training/lexicon_file.h"
#include "training/open_classes.h"

namespace orvelle {

namespace {

constexpr const char* Help =
    "Usage: orvelle check [--sentence-tag TAG] [--all] LEXICON OPEN-CLASSES CORPUS\n"
    "\n"
    "Reads the three files of a training and reports, with file and line, everything in\n"
    "them that would stop train-orvelle (error) or silently weaken its model (warning).\n"
    "\n"
    "  --sentence-tag TAG  the tag of sentence ends, as for train-orvelle -st (SENT)\n"
    "  --all               every finding, not only the first five of a kind\n"
    "\n"
    "Status 0 if the training would run, 1 if not. What only the training itself can find\n"
    "out (no memory, a full disk, an affix tree of too many nodes) is not foreseen.\n";

constexpr option_t Options[] = {{"sentence-tag", "TAG"}, {"all", nullptr}};

constexpr size_t Shown_of_a_Kind = 5;
constexpr size_t Least_Affix_Word = 6;  // bytes; a shorter word form is not in the affix trees

// ---- the report

// In the order in which they are reported.
enum kind_t {
  Lexicon_No_Tags,
  Lexicon_No_Lemma,
  Lexicon_Tag_Twice,
  Lexicon_Form_Twice,
  Lexicon_Too_Many_Tags,
  Lexicon_No_Sentence_Tag,
  Open_Unreadable,
  Open_Unknown_Tag,
  Open_None,
  Corpus_No_Tag,
  Corpus_Unknown_Tag,
  Corpus_Carriage_Return,
  Corpus_Blank_Line,
  Corpus_Two_Readings,
  Line_Too_Long,
  Line_With_Nul,
  Byte_Order_Mark,
  Lexicon_Carriage_Return,
  Lexicon_Lemma_Blank,
  Lexicon_Lemma_Tag,
  Open_No_Long_Word,
  Corpus_Tag_Not_Listed,
  Corpus_No_Entry,
  Corpus_No_Sentence_End,
  Corpus_Too_Short,
  Lexicon_Tag_Unused,
  Number_of_Kinds
};

struct kind_text_t {
  bool stops;        // the training does not run
  const char* more;  // what the findings beyond the first five are; null where there is one at most
};

constexpr kind_text_t Kinds[Number_of_Kinds] = {
    {true, "lines without a tag"},
    {true, "tags without a lemma"},
    {true, "tags that stand twice for a word form"},
    {true, "lines with a word form of an earlier line"},
    {true, "tags beyond the 20000th"},
    {true, nullptr},
    {true, nullptr},
    {true, "names that are no tags of the lexicon"},
    {false, nullptr},
    {true, "tokens without a tag"},
    {true, "tokens with a tag that the lexicon lacks"},
    {true, "lines that end in CR LF"},
    {true, "lines of blanks"},
    {false, "lines that mean two different tokens"},
    {false, "lines of more than 9999 bytes"},
    {false, "lines with a NUL"},
    {false, nullptr},
    {false, "lines that end in CR LF"},
    {false, "lemmas that end in a blank"},
    {false, "lemmas that hold a tag"},
    {false, nullptr},
    {false, "tokens with a tag that the entry of their form does not list"},
    {false, "tokens without an entry"},
    {false, nullptr},
    {false, nullptr},
    {false, "tags that do not occur in the corpus"},
};

class Report {
 public:
  Report(TextOutput& out, bool all) : out_(out), limit_(all ? SIZE_MAX : Shown_of_a_Kind) {}

  // A finding in a file that print will name; `line` 0: the file as a whole.
  void add(kind_t kind, int64_t line, const std::string& text) {
    ++counts_[kind];
    ++(Kinds[kind].stops ? errors_ : warnings_);
    if (findings_[kind].size() < limit_) findings_[kind].push_back({line, text});
  }

  // Whether the text of another finding of that kind would be kept.
  bool has_room(kind_t kind) const { return findings_[kind].size() < limit_; }

  // Prints what was found since the last call.
  void print(const char* file) {
    for (int kind = 0; kind < Number_of_Kinds; ++kind) {
      const char* severity = Kinds[kind].stops ? "error" : "warning";
      for (const finding_t& finding : findings_[kind]) {
        out_.put(file);
        if (finding.line > 0) out_.print(":%lld", static_cast<long long>(finding.line));
        out_.print(": %s: %s\n", severity, finding.text.c_str());
      }
      const int64_t more = counts_[kind] - static_cast<int64_t>(findings_[kind].size());
      if (more > 0)
        out_.print("%s: %s: %lld more %s\n", file, severity, static_cast<long long>(more), Kinds[kind].more);
      findings_[kind].clear();
      counts_[kind] = 0;
    }
    out_.flush();
  }

  int64_t errors() const { return errors_; }
  int64_t warnings() const { return warnings_; }

 private:
  struct finding_t {
    int64_t line;
    std::string text;
  };
  TextOutput& out_;
  size_t limit_;
  std::vector<finding_t> findings_[Number_of_Kinds];
  int64_t counts_[Number_of_Kinds] = {};
  int64_t errors_ = 0;
  int64_t warnings_ = 0;
};

// ---- files

// What is odd about the lines of a file themselves; and which line a piece belongs to.
class LineWatch : public PieceObserver {
 public:
  LineWatch(Report& report, ProgressLine& progress, int64_t file_size)
      : report_(report), progress_(progress), file_size_(file_size) {}

  void piece(std::string_view text) override {
    ++pieces_;
    if (is_open_)
      continued_.push_back(pieces_);
    else
      begin_line(text);
    line_size_ += text.size();
    if (!has_nul_ && text.find('\0') != text.npos) {
      has_nul_ = true;
      report_.add(Line_With_Nul, lines_, "what follows the NUL is not read");
    }
    is_open_ = !text.ends_with('\n');
    bytes_ += static_cast<int64_t>(text.size());
    if (!is_open_) end_line();
  }

  // The number of the line that a piece belongs to.
  int64_t line_of(int64_t piece) const {
    return piece - (std::upper_bound(continued_.begin(), continued_.end(), piece) - continued_.begin());
  }

  void end_line() {
    if (line_size_ > Max_Line_Length)
      report_.add(Line_Too_Long, lines_,
                  formatted("%zu bytes are read as %zu lines", line_size_,
                            (line_size_ + Max_Line_Length - 1) / Max_Line_Length));
    line_size_ = 0;
  }

 private:
  void begin_line(std::string_view text) {
    ++lines_;
    has_nul_ = false;
    if (lines_ % 1000 == 0) progress_.update(bytes_, file_size_);
    if (lines_ == 1 && text.starts_with("\xEF\xBB\xBF"))
      report_.add(Byte_Order_Mark, lines_, "the byte-order mark becomes part of the first word form");
  }

  Report& report_;
  ProgressLine& progress_;
  int64_t file_size_;
  std::vector<int64_t> continued_;  // pieces that go on with the line of the piece before
  int64_t pieces_ = 0, lines_ = 0, bytes_ = 0;
  size_t line_size_ = 0;
  bool is_open_ = false;  // the last piece had no LF
  bool has_nul_ = false;
};

// A file, or standard input, for one of the trainer's readers.
class CheckedFile {
 public:
  CheckedFile(const char* name, const char* what, Report& report, Remarks& remarks)
      : name_(shown_name(name, "standard input")),
        file_(open(name)),
        progress_(remarks, what),
        watch_(report, progress_, regular_size(fileno(file_.get()))) {}

  const char* name() const { return name_; }
  const LineWatch& watch() const { return watch_; }

  // What `read(input)` makes of it.
  template <class Read>
  auto read(Read read) {
    Input input;
    input.name = name_;
    input.stream = file_.get();
    input.observer = &watch_;
    try {
      auto result = read(input);
      watch_.end_line();
      return result;
    } catch (const Error&) {
      if (std::ferror(file_.get())) stop(formatted("can't read %s: %s", name_, std::strerror(errno)));
      throw;
    }
  }

 private:
  static File open(const char* name) {
    File file(std::strcmp(name, "-") == 0 ? stdin : std::fopen(name, "r"));
    if (file == nullptr) stop(formatted("can't open %s: %s", name, std::strerror(errno)));
    return file;
  }

  const char* name_;
  File file_;
  ProgressLine progress_;
  LineWatch watch_;
};

// ---- the lexicon

class LexiconFindings : public LexiconFaults {
 public:
  LexiconFindings(Report& report, const LineWatch& watch) : report_(report), watch_(watch) {}

  void line(int64_t number, const lexicon_line_t& fields) override {
    ++lines;
    for (const auto& [tag, lemma] : fields.pairs) {
      first_lines_.try_emplace(tag, watch_.line_of(number));
      look_at_lemma(lemma, watch_.line_of(number));
    }
  }

  void missing_lemma(int64_t line, const char* tag) override {
    add(Lexicon_No_Lemma, line, formatted("tag %s has no lemma", printable(tag).c_str()));
  }

  void no_tags(int64_t line, const char* word) override {
    add(Lexicon_No_Tags, line,
        formatted("no tag for the word form '%s'%s", printable(word).c_str(), hint_at_tab(word)));
  }

  void too_many_tags(int64_t line, const char* tag) override {
    add(Lexicon_Too_Many_Tags, line,
        formatted("tag %s is one too many (are tags and lemmas swapped?)", printable(tag).c_str()));
  }

  void no_sentence_tag(const char* tag) override {
    report_.add(Lexicon_No_Sentence_Tag, 0,
                formatted("no entry has the sentence tag %s", printable(tag).c_str()));
  }

  void tag_twice(int64_t line, const char* word, const char* tag) override {
    add(Lexicon_Tag_Twice, line,
        formatted("tag %s stands twice for '%s'", printable(tag).c_str(), printable(word).c_str()));
  }

  void word_twice(int64_t line, int64_t first_line, const char* word) override {
    repeated_words_.push_back({line, first_line, word});
  }

  // What can be told only when the tagset is known.
  void finish(const Tagset& tagset) {
    std::sort(repeated_words_.begin(), repeated_words_.end(),
              [](const auto& a, const auto& b) { return a.line < b.line; });
    for (const repeated_word_t& again : repeated_words_)
      add(Lexicon_Form_Twice, again.line,
          formatted("word form '%s' stands in line %lld already", printable(again.word).c_str(),
                    static_cast<long long>(watch_.line_of(again.first_line))));
    for (const auto& [lemma, line] : lemmas_with_blanks_) look_for_tag(tagset, lemma, line);
  }

  // The line where a tag stands first.
  int64_t first_line(const char* tag) const { return first_lines_.at(tag); }

  static const char* hint_at_tab(const char* word) {
    return std::strchr(word, ' ') != nullptr ? " (is there no TAB behind the form?)" : "";
  }

  int64_t lines = 0;

 private:
  struct repeated_word_t {
    int64_t line, first_line;
    std::string word;
  };

  void add(kind_t kind, int64_t piece, const std::string& text) {
    report_.add(kind, watch_.line_of(piece), text);
  }

  void look_at_lemma(std::string_view lemma, int64_t line) {
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

  // A lemma such as "run VB run": a blank where a TAB should end the pair.
  void look_for_tag(const Tagset& tagset, std::string_view lemma, int64_t line) {
    for (size_t start = lemma.find(' '); start != lemma.npos; start = lemma.find(' ', start)) {
      const size_t end = lemma.find(' ', ++start);
      if (end == lemma.npos) return;  // what would be its lemma must follow
      if (tagset.find_tag(lemma.substr(start, end - start)) < 0) continue;
      report_.add(Lexicon_Lemma_Tag, line,
                  formatted("lemma '%s' holds a tag: is there a blank for a TAB?", printable(lemma).c_str()));
      return;
    }
  }

  Report& report_;
  const LineWatch& watch_;
  std::vector<repeated_word_t> repeated_words_;
  std::vector<std::pair<std::string, int64_t>> lemmas_with_blanks_;
  std::unordered_map<std::string, int64_t> first_lines_;  // by tag
};

bool has_long_open_word(const Lexicon& lexicon, const std::vector<char>& open) {
  for (int i = 0; i < lexicon.Fullform_Lexicon_Size; ++i) {
    const entry_t& entry = lexicon.Fullform_Lexicon[i];
    if (std::strlen(entry.word) < Least_Affix_Word) continue;
    const auto is_open = [&](int32_t tag) { return open[static_cast<size_t>(tag)] != 0; };
    if (std::any_of(entry.data->tag, entry.data->tag + entry.data->n, is_open)) return true;
  }
  return false;
}

// ---- the open classes

class OpenClassFindings : public OpenClassFaults {
 public:
  explicit OpenClassFindings(Report& report) : report_(report) {}

  void unreadable(const char*) override {
    report_.add(Open_Unreadable, 0, "can't be opened");
    is_unreadable_ = true;
  }
  void unknown_name(int64_t line, const char* name) override {
    report_.add(Open_Unknown_Tag, line, formatted("%s is no tag of the lexicon", printable(name).c_str()));
  }
  void read_error() override {
    report_.add(Open_None, 0, "can't be read to its end, which the training does not tell");
    is_unreadable_ = true;
  }

  void finish(int64_t open_tags, bool has_long_word) {
    if (open_tags == 0 && !is_unreadable_)
      report_.add(Open_None, 0, "no open classes: nothing is learnt about unknown words");
    if (open_tags > 0 && !has_long_word)
      report_.add(
          Open_No_Long_Word, 0,
          "no word form of 6 bytes or more has one of these tags: nothing is learnt about unknown words");
  }

 private:
  Report& report_;
  bool is_unreadable_ = false;
};

// ---- the corpus

class CorpusFindings : public CorpusFaults {
 public:
  CorpusFindings(Report& report, const LineWatch& watch, const Tagset& tagset)
      : report_(report), watch_(watch), tagset_(tagset), tag_counts_(tagset.Tag.size(), 0) {}

  void unknown_tag_of_token(int64_t, const char*, const char*) override {}  // line() tells each of them
  bool wants_lines() const override { return true; }

  void line(int64_t number, std::string_view text, line_kind_t kind, int tag,
            context_tag_t context) override {
    if (kind != line_kind_t::Nothing) ++tokens_;
    if (context.kind == context_tag_t::Empty_Line) return;
    if (context.kind == context_tag_t::Token && tag >= 0)
      take_token(watch_.line_of(number), text, kind, tag, context.tag);
    else
      take_fault(watch_.line_of(number), text, kind, tag, context);
  }

  void finish() {
    constexpr int64_t Context = 2;  // preceding tags, by default
    if (tokens_ <= Context)
      report_.add(Corpus_Too_Short, 0,
                  formatted("too few tokens to learn from: %d", static_cast<int>(tokens_)));
    if (tagset_.Sent_Tag >= 0 && sentence_ends() == 0)
      report_.add(Corpus_No_Sentence_End, 0,
                  formatted("the sentence tag %s does not occur", printable(name(tagset_.Sent_Tag)).c_str()));
  }

  void report_unused_tags(const LexiconFindings& lexicon) {
    for (int tag = 0; tag < tagset_.Number_of_Tags; ++tag)
      if (tag_counts_[static_cast<size_t>(tag)] == 0 && tag != tagset_.Sent_Tag)
        report_.add(Lexicon_Tag_Unused, lexicon.first_line(name(tag)),
                    formatted("tag %s does not occur in the corpus", printable(name(tag)).c_str()));
  }

  void print_summary(TextOutput& out) const {
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

 private:
  const char* name(int tag) const { return tagset_.Tag[static_cast<size_t>(tag)]; }

  int64_t sentence_ends() const {
    return tagset_.Sent_Tag >= 0 ? tag_counts_[static_cast<size_t>(tagset_.Sent_Tag)] : 0;
  }

  void take_token(int64_t line, std::string_view text, line_kind_t kind, int tag, int context_tag) {
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

  // A line that stops the training.
  void take_fault(int64_t line, std::string_view text, line_kind_t kind, int tag, context_tag_t context) {
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

  // The text is made only if it will be shown: millions of tokens may be without an entry.
  template <class MakeText>
  void add_with_fields(kind_t kind, int64_t line, std::string_view text, MakeText make_text) {
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

int check_command(const CommandLine& line, Remarks& remarks) {
  const std::vector<const char*>& files = line.operands();
  TextOutput out("-");
  Report report(out, line.has("all"));

  CheckedFile lexicon_file(files[0], "lexicon", report, remarks);
  LexiconFindings lexicon_findings(report, lexicon_file.watch());
  TrainingLexicon lexicon = lexicon_file.read([&](const Input& input) {
    return read_lexicon_file(input, line.value("sentence-tag", "SENT"), {}, lexicon_findings);
  });
  lexicon_findings.finish(lexicon.tagset);
  report.print(lexicon_file.name());

  Input open_input;
  open_input.name = shown_name(files[1], "standard input");
  if (std::strcmp(files[1], "-") == 0) open_input.stream = stdin;
  OpenClassFindings open_findings(report);
  const std::vector<char> open = read_open_classes(open_input, lexicon.tagset, {}, open_findings);
  const auto open_tags = std::count(open.begin(), open.end(), 1);
  open_findings.finish(open_tags, has_long_open_word(lexicon.lexicon, open));
  report.print(open_input.name);

  CheckedFile corpus_file(files[2], "corpus", report, remarks);
  CorpusFindings corpus(report, corpus_file.watch(), lexicon.tagset);
  corpus_file.read([&](const Input& input) { return count_corpus(input, lexicon, 1, {}, corpus); });
  corpus.finish();
  report.print(corpus_file.name());
  corpus.report_unused_tags(lexicon_findings);
  report.print(lexicon_file.name());

  out.print("lexicon       %lld word forms, %d tags\n", static_cast<long long>(lexicon_findings.lines),
            lexicon.tagset.Number_of_Tags);
  out.print("open classes  %lld tags\n", static_cast<long long>(open_tags));
  corpus.print_summary(out);
  out.print("%lld errors, %lld warnings: the training would %s\n", static_cast<long long>(report.errors()),
            static_cast<long long>(report.warnings()), report.errors() == 0 ? "run" : "stop");
  out.close();
  return report.errors() == 0 ? 0 : 1;
}

}  // namespace

const command_t Check_Command = {
    "check", "what would stop a training or weaken its model", Help, Options, 3, 3, check_command};

}  // namespace orvelle
