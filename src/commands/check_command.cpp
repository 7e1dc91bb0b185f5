// orvelle check: what in a lexicon, an open-class file and a corpus would stop the training, or weaken its
// model without a word. Every line is split as the trainer splits it (9,999-byte pieces, up to a NUL; the
// corpus by the rules of both its readings), but nothing ends the reading: all findings are reported, grouped
// by kind.
//
// Cost: one pass over each file; a hash look-up for each word form and tag.
#include <algorithm>
#include <cstdarg>
#include <cstdio>
#include <cstring>
#include <string>
#include <utility>
#include <vector>

#include "commands/command.h"
#include "commands/text_io.h"
#include "context/ngram_table.h"
#include "lexicon/entries.h"
#include "lexicon/tagset.h"
#include "support/string_index.h"
#include "support/strings.h"

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
constexpr int Max_Open_Class_Name = 999;  // bytes; a longer name is read as several
constexpr int Least_Affix_Word = 6;       // bytes; a shorter word form is not in the affix trees
constexpr int64_t Max_Tokens = 2147483647;

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
  Corpus_Too_Long,
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
    {true, nullptr},
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
  [[gnu::format(printf, 4, 5)]] void add(kind_t kind, int64_t line, const char* format, ...) {
    ++counts_[kind];
    ++(Kinds[kind].stops ? errors_ : warnings_);
    if (findings_[kind].size() >= limit_) return;
    char text[1000];
    va_list arguments;
    va_start(arguments, format);
    std::vsnprintf(text, sizeof text, format, arguments);
    va_end(arguments);
    findings_[kind].push_back({line, text});
  }

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

// ---- lines as the trainer sees them

// The pieces of a file's lines, with what is odd about the lines themselves reported.
class PieceReader {
 public:
  PieceReader(const char* name, Report& report) : input_(name), report_(report) {}

  // The next piece, up to its first NUL and with its LF; its data is null at the end of the file. Valid
  // until: the next call.
  std::string_view next() {
    if (rest_.empty()) {
      if (!input_.next()) return {};
      rest_ = input_.line_with_end();
      look_at_line();
    }
    const std::string_view piece = rest_.substr(0, Max_Line_Length);
    rest_.remove_prefix(piece.size());
    return piece.substr(0, piece.find('\0'));
  }

  // The piece that next gave last, NUL-terminated and free to be split in place.
  char* copy(std::string_view piece) {
    std::memcpy(copy_, piece.data(), piece.size());
    copy_[piece.size()] = '\0';
    return copy_;
  }

  int64_t line() const { return input_.number(); }
  bool ends_in_crlf() const { return input_.line().ends_with('\r'); }
  const char* name() const { return input_.name(); }
  int64_t bytes_read() const { return input_.bytes_read(); }
  int64_t size() const { return input_.size(); }

 private:
  void look_at_line() {
    if (rest_.size() > Max_Line_Length)
      report_.add(Line_Too_Long, line(), "%zu bytes are read as %zu lines", rest_.size(),
                  (rest_.size() + Max_Line_Length - 1) / Max_Line_Length);
    if (std::memchr(rest_.data(), '\0', rest_.size()) != nullptr)
      report_.add(Line_With_Nul, line(), "what follows the NUL is not read");
    if (line() == 1 && rest_.starts_with("\xEF\xBB\xBF"))
      report_.add(Byte_Order_Mark, line(), "the byte-order mark becomes part of the first word form");
  }

  TextInput input_;
  Report& report_;
  std::string_view rest_;
  char copy_[Max_Line_Length + 1];
};

// ---- the lexicon

class Lexicon {
 public:
  struct word_t {
    const char* form;
    int64_t line;
    size_t first_tag;  // in tags_; its tags end where those of the next word begin
  };

  void read(PieceReader& reader, const char* sentence_tag, Report& report) {
    ProgressLine progress("lexicon");
    for (std::string_view piece = reader.next(); piece.data() != nullptr; piece = reader.next()) {
      if (reader.line() % 1000 == 0) progress.update(reader.bytes_read(), reader.size());
      read_piece(piece, reader, report);
    }
    finish(sentence_tag, report);
  }

  // The place of a word form, or -1.
  int find(std::string_view form) const {
    return word_index_.find(form, [this](int i) { return words_[i].form; });
  }

  bool lists(int word, int tag) const {
    const size_t end = last_tag(word);
    for (size_t i = words_[word].first_tag; i < end; ++i)
      if (tags_[i] == tag) return true;
    return false;
  }

  bool has_long_word(const std::vector<char>& open) const {
    for (int i = 0; i < size(); ++i) {
      if (str_len(words_[i].form) < Least_Affix_Word) continue;
      for (size_t k = words_[i].first_tag; k < last_tag(i); ++k)
        if (tags_[k] >= 0 && open[tags_[k]]) return true;
    }
    return false;
  }

  int size() const { return static_cast<int>(words_.size()); }
  int64_t tag_line(int tag) const { return tag_lines_[tag]; }  // where the tag stands first

 private:
  size_t last_tag(int word) const { return word + 1 < size() ? words_[word + 1].first_tag : tags_.size(); }

  void read_piece(std::string_view piece, PieceReader& reader, Report& report) {
    const int64_t line = reader.line();
    char* cursor = reader.copy(piece);
    const char* form = next_string2(&cursor);
    const size_t first_tag = tags_.size();
    for (const char* tag = next_string(&cursor); *tag != '\0'; tag = next_string(&cursor)) {
      add_tag(tag, first_tag, form, line, report);
      const char* lemma = next_string2(&cursor);
      if (*lemma == '\0') report.add(Lexicon_No_Lemma, line, "tag %s has no lemma", printable(tag).c_str());
      look_at_lemma(lemma, line, report);
    }
    if (tags_.size() == first_tag)
      report.add(Lexicon_No_Tags, line, "no tag for the word form '%s'%s", printable(form).c_str(),
                 std::strchr(form, ' ') ? " (is there no TAB behind the form?)" : "");
    add_word(form, line, first_tag, report);
  }

  // Numbers a tag as it comes; -1 for one beyond the limit.
  void add_tag(const char* name, size_t first_tag, const char* form, int64_t line, Report& report) {
    const uint32_t hash = hash_bytes(name);
    int number = tag_index_.find(name, hash, [this](int i) { return tag_names_[i]; });
    if (number < 0) {
      if (tag_names_.size() == Max_Number_of_Tags) {
        report.add(Lexicon_Too_Many_Tags, line, "tag %s is one too many (are tags and lemmas swapped?)",
                   printable(name).c_str());
      } else {
        number = static_cast<int>(tag_names_.size());
        tag_names_.push_back(strings_.add(name));
        tag_lines_.push_back(line);
        tag_index_.insert(hash, number);
      }
    }
    for (size_t i = first_tag; i < tags_.size(); ++i)
      if (number >= 0 && tags_[i] == number)
        report.add(Lexicon_Tag_Twice, line, "tag %s stands twice for '%s'", printable(name).c_str(),
                   printable(form).c_str());
    tags_.push_back(number);
  }

  void look_at_lemma(std::string_view lemma, int64_t line, Report& report) {
    if (lemma.ends_with('\r')) {
      report.add(Lexicon_Carriage_Return, line, "CR LF: the carriage return becomes part of the lemma '%s'",
                 printable(lemma).c_str());
    } else if (lemma.ends_with(' ')) {
      report.add(Lexicon_Lemma_Blank, line, "the blank at the end of '%s' belongs to the lemma",
                 printable(lemma).c_str());
    } else if (lemma.find(' ') != lemma.npos) {
      lemmas_with_blanks_.push_back({strings_.add(lemma), line});
    }
  }

  void add_word(const char* form, int64_t line, size_t first_tag, Report& report) {
    const uint32_t hash = hash_bytes(form);
    const int known = word_index_.find(form, hash, [this](int i) { return words_[i].form; });
    if (known >= 0)
      report.add(Lexicon_Form_Twice, line, "word form '%s' stands in line %lld already",
                 printable(form).c_str(), static_cast<long long>(words_[known].line));
    else
      word_index_.insert(hash, size());
    words_.push_back({strings_.add(form), line, first_tag});
  }

  // Makes the tagset the one that the corpus reader of the trainer asks.
  void finish(const char* sentence_tag, Report& report) {
    std::vector<const char*> names = tag_names_;
    std::sort(names.begin(), names.end(), [](const char* a, const char* b) { return str_cmp(a, b) < 0; });
    define_tagset(std::move(names), -1);
    Sent_Tag = find_tag(sentence_tag);
    if (Sent_Tag < 0)
      report.add(Lexicon_No_Sentence_Tag, 0, "no entry has the sentence tag %s",
                 printable(sentence_tag).c_str());
    for (int& tag : tags_)
      if (tag >= 0) tag = find_tag(tag_names_[tag]);
    std::vector<int64_t> lines(tag_lines_.size());
    for (size_t i = 0; i < lines.size(); ++i) lines[find_tag(tag_names_[i])] = tag_lines_[i];
    tag_lines_ = std::move(lines);
    for (const auto& [lemma, line] : lemmas_with_blanks_) look_for_tag(lemma, line, report);
  }

  // A lemma such as "run VB run": a blank where a TAB should end the pair.
  void look_for_tag(std::string_view lemma, int64_t line, Report& report) {
    for (size_t start = lemma.find(' '); start != lemma.npos; start = lemma.find(' ', start)) {
      const size_t end = lemma.find(' ', ++start);
      if (end == lemma.npos) return;  // what would be its lemma must follow
      if (find_tag(lemma.substr(start, end - start)) < 0) continue;
      report.add(Lexicon_Lemma_Tag, line, "lemma '%s' holds a tag: is there a blank for a TAB?",
                 printable(lemma).c_str());
      return;
    }
  }

  StringArena strings_;
  std::vector<word_t> words_;
  StringIndex word_index_;
  std::vector<int> tags_;  // of all words, in the order of the file
  std::vector<const char*> tag_names_;
  StringIndex tag_index_;
  std::vector<int64_t> tag_lines_;  // of the first occurrence
  std::vector<std::pair<const char*, int64_t>> lemmas_with_blanks_;
};

// ---- the open classes

// One flag a tag. A name is cut as the trainer cuts it: at white space, after 999 bytes, at a NUL.
class OpenClasses {
 public:
  void read(const char* name, Report& report) {
    flags_.assign(Number_of_Tags, 0);
    FILE* file = std::strcmp(name, "-") == 0 ? stdin : std::fopen(name, "r");
    if (file == nullptr) return report.add(Open_Unreadable, 0, "can't be opened");
    int64_t line = 1;
    std::string word;
    for (int c; (c = std::getc(file)) != EOF; line += c == '\n') {
      const bool is_space = std::strchr(" \t\n\v\f\r", c) != nullptr && c != '\0';
      if (!is_space) word += static_cast<char>(c);
      if (is_space || word.size() == Max_Open_Class_Name) take(word, line, report);
    }
    take(word, line, report);
    if (std::ferror(file))
      report.add(Open_None, 0, "can't be read to its end, which the training does not tell");
    else if (count_ == 0)
      report.add(Open_None, 0, "no open classes: nothing is learnt about unknown words");
    if (file != stdin) std::fclose(file);
  }

  const std::vector<char>& flags() const { return flags_; }
  int count() const { return count_; }

 private:
  void take(std::string& word, int64_t line, Report& report) {
    if (word.empty()) return;
    const int tag = find_tag(word.c_str());
    if (tag < 0)
      report.add(Open_Unknown_Tag, line, "%s is no tag of the lexicon", printable(word.c_str()).c_str());
    else if (!std::exchange(flags_[tag], 1))
      ++count_;
    word.clear();
  }

  std::vector<char> flags_;
  int count_ = 0;
};

// ---- the corpus

class Corpus {
 public:
  explicit Corpus(const Lexicon& lexicon) : lexicon_(lexicon), tag_counts_(Number_of_Tags, 0) {}

  void read(PieceReader& reader, Report& report) {
    ProgressLine progress("corpus");
    for (std::string_view piece = reader.next(); piece.data() != nullptr; piece = reader.next()) {
      if (reader.line() % 1000 == 0) progress.update(reader.bytes_read(), reader.size());
      read_piece(piece, reader, report);
    }
    constexpr int64_t Context = 2;  // preceding tags, by default
    if (tokens_ > Max_Tokens) report.add(Corpus_Too_Long, 0, "more than 2147483647 tokens");
    if (tokens_ <= Context)
      report.add(Corpus_Too_Short, 0, "too few tokens to learn from: %d", static_cast<int>(tokens_));
    if (Sent_Tag >= 0 && tag_counts_[Sent_Tag] == 0)
      report.add(Corpus_No_Sentence_End, 0, "the sentence tag %s does not occur",
                 printable(Tag[Sent_Tag]).c_str());
  }

  void report_unused_tags(Report& report) const {
    for (int tag = 0; tag < Number_of_Tags; ++tag)
      if (tag_counts_[tag] == 0 && tag != Sent_Tag)
        report.add(Lexicon_Tag_Unused, lexicon_.tag_line(tag), "tag %s does not occur in the corpus",
                   printable(Tag[tag]).c_str());
  }

  void print_summary(TextOutput& out) const {
    const auto share = [this](int64_t count) {
      return tokens_ > 0 ? 100.0 * static_cast<double>(count) / static_cast<double>(tokens_) : 0.0;
    };
    const int64_t listed = tokens_ - unlisted_ - numbers_ - unknown_;
    out.print("corpus        %lld tokens, %lld sentence ends\n", static_cast<long long>(tokens_),
              Sent_Tag >= 0 ? static_cast<long long>(tag_counts_[Sent_Tag]) : 0LL);
    out.print("  %6.2f%%     the entry of the form lists the tag\n", share(listed));
    out.print("  %6.2f%%     the entry of the form lacks the tag\n", share(unlisted_));
    out.print("  %6.2f%%     numbers without an entry of their own\n", share(numbers_));
    out.print("  %6.2f%%     no entry\n", share(unknown_));
  }

 private:
  void read_piece(std::string_view piece, PieceReader& reader, Report& report) {
    const context_tag_t context =
        context_tag(piece, context_tag_text(piece));  // the reading for the tag contexts
    char* cursor = reader.copy(piece);                // and the one for the lexicon
    const char* form = next_string2(&cursor);
    const char* name = *form != '\0' ? next_string(&cursor) : "";
    const int tag = find_tag(name);
    if (*form != '\0') ++tokens_;
    if (context.kind == context_tag_t::Empty_Line) return;
    if (context.kind == context_tag_t::Token && tag >= 0)
      return take_token(form, tag, context.tag, reader, report);
    if (reader.ends_in_crlf() && (tag >= 0 || *form == '\0'))
      return report.add(Corpus_Carriage_Return, reader.line(),
                        "CR LF: the carriage return becomes part of the tag");
    if (*form == '\0') return report.add(Corpus_Blank_Line, reader.line(), "neither empty nor a token");
    if (*name == '\0' || context.kind == context_tag_t::No_Tag)
      return report.add(Corpus_No_Tag, reader.line(), "no tag for the word form '%s'%s",
                        printable(form).c_str(),
                        std::strchr(form, ' ') ? " (is there no TAB behind the form?)" : "");
    report.add(Corpus_Unknown_Tag, reader.line(), "%s, the tag of '%s', is no tag of the lexicon",
               printable(name).c_str(), printable(form).c_str());
  }

  void take_token(const char* form, int tag, int context_tag, PieceReader& reader, Report& report) {
    ++tag_counts_[tag];
    if (tag != context_tag)
      report.add(Corpus_Two_Readings, reader.line(), "is a %s to the lexicon and a %s to the tag contexts",
                 Tag[tag], Tag[context_tag]);
    const int word = lexicon_.find(form);
    if (word >= 0) {
      if (lexicon_.lists(word, tag)) return;
      ++unlisted_;
      report.add(Corpus_Tag_Not_Listed, reader.line(), "the entry of '%s' lacks the tag %s",
                 printable(form).c_str(), Tag[tag]);
    } else if (ord(form) || card(form)) {
      ++numbers_;
    } else {
      ++unknown_;
      report.add(Corpus_No_Entry, reader.line(), "'%s' has no entry", printable(form).c_str());
    }
  }

  const Lexicon& lexicon_;
  std::vector<int64_t> tag_counts_;
  int64_t tokens_ = 0;
  int64_t unlisted_ = 0;
  int64_t numbers_ = 0;
  int64_t unknown_ = 0;
};

int check_command(int argc, char** argv) {
  const CommandLine line(argc, argv, Options, 3, 3);
  const char* const open_name = line.operands()[1];
  TextOutput out("-");
  Report report(out, line.has("all"));

  Lexicon lexicon;
  PieceReader lexicon_reader(line.operands()[0], report);
  lexicon.read(lexicon_reader, line.value("sentence-tag", "SENT"), report);
  report.print(lexicon_reader.name());

  OpenClasses open;
  open.read(open_name, report);
  if (open.count() > 0 && !lexicon.has_long_word(open.flags()))
    report.add(
        Open_No_Long_Word, 0,
        "no word form of 6 bytes or more has one of these tags: nothing is learnt about unknown words");
  report.print(shown_name(open_name, "standard input"));

  PieceReader corpus_reader(line.operands()[2], report);
  Corpus corpus(lexicon);
  corpus.read(corpus_reader, report);
  report.print(corpus_reader.name());
  corpus.report_unused_tags(report);
  report.print(lexicon_reader.name());

  out.print("lexicon       %d word forms, %d tags\n", lexicon.size(), Number_of_Tags);
  out.print("open classes  %d tags\n", open.count());
  corpus.print_summary(out);
  out.print("%lld errors, %lld warnings: the training would %s\n", static_cast<long long>(report.errors()),
            static_cast<long long>(report.warnings()), report.errors() == 0 ? "run" : "stop");
  out.close();
  return report.errors() == 0 ? 0 : 1;
}

}  // namespace

const command_t Check_Command = {"check", "what would stop a training or weaken its model", Help,
                                 check_command};

}  // namespace orvelle
