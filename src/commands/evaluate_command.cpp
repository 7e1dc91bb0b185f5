// orvelle evaluate: how far the tags that a model gives agree with those of a gold corpus.
#include <algorithm>
#include <chrono>
#include <cstdio>
#include <string>
#include <string_view>
#include <vector>

#include "commands/command.h"
#include "commands/tagger_options.h"
#include "commands/text_io.h"
#include "lexicon/tagset.h"
#include "tagger/evaluation.h"

namespace orvelle {

namespace {

constexpr const char* Help =
    "Usage: orvelle evaluate [OPTION...] PARAMETER-FILE [GOLD-CORPUS]\n"
    "\n"
    "Tags the words of a gold corpus, or of standard input, and compares: one word a line,\n"
    "a TAB, its tag; what stands behind a second TAB does not count. A sentence ends at an\n"
    "empty line, and in a corpus without any at a word with the sentence tag.\n"
    "\n"
    "  --json              everything as one JSON object\n"
    "  --tags N            the N most frequent tags in the table, 0 for all (20)\n"
    "  --confusions N      the N most frequent confusions, 0 for all (10)\n" ORVELLE_TAGGER_HELP;

constexpr option_t Options[] = {
    {"json", nullptr}, {"tags", "N"}, {"confusions", "N"}, ORVELLE_TAGGER_OPTIONS};

using tag_row_t = std::pair<const std::string, tag_score_t>;
using confusion_row_t = std::pair<const std::pair<std::string, std::string>, confusion_t>;

// Pointers to the elements of a map, the largest first; `most` of them, 0 for all.
template <class Map, class Size>
auto largest(const Map& map, int64_t most, Size size) {
  std::vector<const typename Map::value_type*> rows;
  for (const auto& row : map) rows.push_back(&row);
  std::stable_sort(rows.begin(), rows.end(), [&](auto* a, auto* b) { return size(*a) > size(*b); });
  if (most > 0 && rows.size() > static_cast<size_t>(most)) rows.resize(static_cast<size_t>(most));
  return rows;
}

double percent(double share) { return 100.0 * share; }

// ---- reading

// In a corpus without empty lines the sentence tags tell how many sentences are right; the decoding knows nothing of
// them.
class Run {
 public:
  Run(Tagger& tagger, TextInput& in) : in_(in), evaluator_(tagger, result_, true) {}

  void run() {
    ProgressLine progress("evaluating");
    while (in_.next()) {
      take_line();
      if (in_.number() % 4096 == 0) progress.update(in_.bytes_read(), in_.size());
    }
    evaluator_.end_sentence();
    if (!has_empty_lines_) result_.sentences = result_.marked_sentences;
    if (result_.all.words == 0) stop("no words in %s", in_.name());
    report_foreign_tags();
  }

  const evaluation_t& result() const { return result_; }

 private:
  void take_line() {
    std::string_view line = in_.line();
    if (line.ends_with('\r')) line.remove_suffix(1);
    if (line.empty()) {
      has_empty_lines_ = true;
      evaluator_.end_sentence();
      return;
    }
    const size_t tab = line.find('\t');
    if (tab == std::string_view::npos)
      stop_at(in_.name(), in_.number(), "no TAB and tag behind the word: %s", printable(line).c_str());
    const std::string_view form = line.substr(0, tab);
    line.remove_prefix(tab + 1);
    evaluator_.add(form, line.substr(0, line.find('\t')));
  }

  // One remark, whatever their number: a corpus of another tagset has hundreds.
  void report_foreign_tags() const {
    constexpr int64_t Most = 5;
    if (result_.foreign_tags.empty()) return;
    const auto words = [](const auto& row) { return row.second; };
    std::string list;
    for (const auto* row : largest(result_.foreign_tags, Most, words))
      list += (list.empty() ? "" : ", ") + printable(row->first) + " " + std::to_string(row->second);
    const size_t tags = result_.foreign_tags.size();
    remark("%zu tag%s of the corpus not in the model, whose words count as wrong: %s%s", tags,
           tags == 1 ? "" : "s", list.c_str(), tags > static_cast<size_t>(Most) ? ", ..." : "");
  }

  TextInput& in_;
  evaluation_t result_;
  Evaluator evaluator_;
  bool has_empty_lines_ = false;
};

// ---- the table

void put_score(TextOutput& out, const char* name, const score_t& score) {
  if (score.words == 0)
    out.print("%-16s %9s %12d\n", name, "-", 0);
  else
    out.print("%-16s %8.2f%% %12lld\n", name, percent(score.accuracy()), static_cast<long long>(score.words));
}

// `tags` and `confusions` limit the rows, 0 for all.
void put_table(TextOutput& out, const evaluation_t& result, int64_t tags, int64_t confusions,
               double seconds) {
  out.print("%-16s %9s %12s\n", "", "accuracy", "number");
  put_score(out, "all words", result.all);
  put_score(out, "known words", result.known);
  put_score(out, "unknown words", result.unknown);
  put_score(out, "ambiguous words", result.ambiguous);
  put_score(out, "sentences", result.sentences);

  out.print("\n%-16s %9s %9s %9s %9s\n", "tag", "precision", "recall", "F1", "number");
  for (const tag_row_t* row : largest(result.tags, tags, [](const tag_row_t& r) { return r.second.gold; })) {
    const tag_score_t& score = row->second;
    out.print("%-16s %8.2f%% %8.2f%% %8.2f%% %9lld\n", row->first.c_str(), percent(score.precision()),
              percent(score.recall()), percent(score.f1()), static_cast<long long>(score.gold));
  }
  if (!result.confusions.empty())
    out.print("\n%9s  %-16s %-16s %s\n", "number", "gold tag", "tag given", "such as");
  for (const confusion_row_t* row :
       largest(result.confusions, confusions, [](const confusion_row_t& r) { return r.second.words; })) {
    out.print("%9lld  %-16s %-16s", static_cast<long long>(row->second.words), row->first.first.c_str(),
              row->first.second.c_str());
    for (const std::string& example : row->second.examples) out.print(" %s", printable(example).c_str());
    out.put('\n');
  }
  out.print("\n%.0f words a second\n", static_cast<double>(result.all.words) / seconds);
}

// ---- JSON

// A JSON string. Bytes from 0x80 on stand as they are: the output has the encoding of the corpus.
std::string quoted(std::string_view text) {
  std::string result = "\"";
  for (const char c : text) {
    char code[8];
    std::snprintf(code, sizeof code, "\\u%04x", static_cast<unsigned char>(c));
    if (c == '"' || c == '\\')
      (result += '\\') += c;
    else if (static_cast<unsigned char>(c) < ' ')
      result += code;
    else
      result += c;
  }
  return result += '"';
}

void put_json_score(TextOutput& out, const char* name, const score_t& score) {
  out.print("  \"%s\": {\"number\": %lld, \"right\": %lld, \"accuracy\": %.6f},\n", name,
            static_cast<long long>(score.words), static_cast<long long>(score.right), score.accuracy());
}

void put_json(TextOutput& out, const evaluation_t& result, double seconds) {
  out.put("{\n");
  put_json_score(out, "all", result.all);
  put_json_score(out, "known", result.known);
  put_json_score(out, "unknown", result.unknown);
  put_json_score(out, "ambiguous", result.ambiguous);
  put_json_score(out, "sentences", result.sentences);
  out.print("  \"words_per_second\": %.0f,\n  \"tags\": [", static_cast<double>(result.all.words) / seconds);
  const char* separator = "\n";
  for (const tag_row_t* row : largest(result.tags, 0, [](const tag_row_t& r) { return r.second.gold; })) {
    const tag_score_t& score = row->second;
    out.print("%s    {\"tag\": %s, \"in_model\": %s, \"gold\": %lld, \"given\": %lld, \"right\": %lld, ",
              separator, quoted(row->first).c_str(), find_tag(row->first) >= 0 ? "true" : "false",
              static_cast<long long>(score.gold), static_cast<long long>(score.given),
              static_cast<long long>(score.right));
    out.print("\"precision\": %.6f, \"recall\": %.6f, \"f1\": %.6f}", score.precision(), score.recall(),
              score.f1());
    separator = ",\n";
  }
  out.put("\n  ],\n  \"confusions\": [");
  separator = "\n";
  for (const confusion_row_t* row :
       largest(result.confusions, 0, [](const confusion_row_t& r) { return r.second.words; })) {
    out.print("%s    {\"gold\": %s, \"given\": %s, \"number\": %lld, \"examples\": [", separator,
              quoted(row->first.first).c_str(), quoted(row->first.second).c_str(),
              static_cast<long long>(row->second.words));
    const char* comma = "";
    for (const std::string& example : row->second.examples) {
      out.print("%s%s", comma, quoted(example).c_str());
      comma = ", ";
    }
    out.put("]}");
    separator = ",\n";
  }
  out.put("\n  ]\n}\n");
}

int evaluate_command(int argc, char** argv) {
  const CommandLine line(argc, argv, Options, 1, 2);
  const Tagger::Choice choice = choice_option(line);
  const size_t beam = beam_option(line);
  const int64_t tags = line.integer("tags", 20, 0, INT64_MAX);
  const int64_t confusions = line.integer("confusions", 10, 0, INT64_MAX);
  load_model(line);
  TextInput in(line.operands().size() > 1 ? line.operands()[1] : "-");
  const auto start = std::chrono::steady_clock::now();
  Tagger tagger(choice, beam);
  Run run(tagger, in);
  run.run();
  const double seconds = std::chrono::duration<double>(std::chrono::steady_clock::now() - start).count();
  TextOutput out("-");
  if (line.has("json"))
    put_json(out, run.result(), seconds);
  else
    put_table(out, run.result(), tags, confusions, seconds);
  out.close();
  return 0;
}

}  // namespace

const command_t Evaluate_Command = {"evaluate", "compare with a gold corpus", Help, evaluate_command};

}  // namespace orvelle
