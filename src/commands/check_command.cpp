// SPDX-License-Identifier: MIT
// orvelle check: what in a lexicon, an open-class file and a corpus would stop the training, or weaken its
// model without a word. The trainer's own readers read the files, and go on where the training would stop: what they
// find is collected and reported by kind.
#include <algorithm>
#include <cerrno>
#include <cstring>
#include <span>
#include <vector>

#include "affix/affix_lexicons.h"
#include "commands/check/findings.h"
#include "commands/command.h"
#include "support/errors.h"

namespace orvelle {

namespace {

constexpr char Help[] =
    "Usage: orvelle check [--sentence-tag TAG] [--all] LEXICON OPEN-CLASSES CORPUS [OUTPUT]\n"
    "\n"
    "Reads the three files of a training and reports, with file and line, everything in\n"
    "them that would stop train-orvelle (error) or silently weaken its model (warning). With\n"
    "the name of the output, also whether the training would write over one of the three.\n"
    "\n"
    "  --sentence-tag TAG  the tag of sentence ends, as for train-orvelle -st (SENT)\n"
    "  --all               every finding, not only the first five of a kind\n"
    "\n"
    "Status 0 if the training would run, 1 if not. What only the training itself can find\n"
    "out (no memory, a full disk, an affix tree of too many nodes) is not foreseen.\n";

constexpr option_t Options[] = {{"sentence-tag", "TAG"}, {"all", nullptr}};

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
    File file = std::strcmp(name, "-") == 0 ? File(stdin) : open_stream(name, "r");
    if (file == nullptr) stop(formatted("can't open %s: %s", name, std::strerror(errno)));
    return file;
  }

  const char* name_;
  File file_;
  ProgressLine progress_;
  LineWatch watch_;
};

bool has_long_open_word(const Lexicon& lexicon, const std::vector<char>& open) {
  for (int i = 0; i < lexicon.Fullform_Lexicon_Size; ++i) {
    const entry_t& entry = lexicon.Fullform_Lexicon[i];
    if (std::strlen(entry.word) <= Max_Affix_Length) continue;
    const auto is_open = [&](int32_t tag) { return open[static_cast<size_t>(tag)] != 0; };
    if (std::any_of(entry.data->tag, entry.data->tag + entry.data->n, is_open)) return true;
  }
  return false;
}

int check_command(const CommandLine& line, Remarks& remarks) {
  const std::vector<const char*>& files = line.operands();
  require_other_file("-", std::span(files).first(3));
  if (files.size() == 4) require_other_file(files[3], std::span(files).first(3));
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
  out.print("%s, %s: the training would %s\n", counted(report.errors(), "error").c_str(),
            counted(report.warnings(), "warning").c_str(), report.errors() == 0 ? "run" : "stop");
  out.close();
  return report.errors() == 0 ? 0 : 1;
}

}  // namespace

const command_t Check_Command = {
    "check", "what would stop a training or weaken its model", Help, Options, 3, 4, check_command};

}  // namespace orvelle
