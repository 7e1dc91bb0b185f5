// SPDX-License-Identifier: MIT
// orvelle evaluate: how far the tags that a model gives agree with those of a gold corpus.
#include <algorithm>
#include <chrono>
#include <cstdio>
#include <string>
#include <string_view>
#include <vector>

#include "commands/command.h"
#include "commands/conllu.h"
#include "commands/escape.h"
#include "commands/evaluation.h"
#include "commands/model_columns.h"
#include "commands/sentence_jobs.h"
#include "commands/tagger_options.h"
#include "commands/text_format.h"
#include "commands/text_io.h"
#include "commands/treebank_options.h"
#include "commands/utf8_text.h"
#include "support/errors.h"
#include "training/corpus_pass.h"

namespace orvelle {

namespace {

constexpr char Help[] =
    "Usage: orvelle evaluate [OPTION...] MODEL [GOLD-CORPUS]\n"
    "\n"
    "Tags the words of a gold corpus, or of standard input, and compares. The corpus is\n"
    "CoNLL-U, of which tags and lemmas count; or one word a line, a TAB, its tag, where what\n"
    "stands behind a second TAB does not count. A sentence ends at an empty line, and in a\n"
    "corpus without any at a word with the sentence tag.\n"
    "\n"
    "  --format FORMAT     conllu or words (what the corpus looks like)\n"
    "  --column WHICH      the column of CoNLL-U with the gold tags: xpos, upos or upos+feats\n"
    "                      (the one that the model was trained on, or xpos)\n"
    "  --json              everything as one JSON object\n"
    "  --tags N            the N most frequent tags in the table, 0 for all (20)\n"
    "  --confusions N      the N most frequent confusions, 0 for all (10)\n";

constexpr option_t Options[] = {
    {"json", nullptr}, {"tags", "N"}, {"confusions", "N"}, {"format", "FORMAT"}, {"column", "WHICH"}};

using tag_row_t = std::pair<const std::string, tag_score_t>;
using confusion_row_t = std::pair<const std::pair<std::string, std::string>, confusion_t>;

// Pointers to the elements of a map, the largest first; `most` of them, 0 for all.
template <class Map, class Size>
auto largest(const Map& map, int64_t most, Size size) {
  std::vector<const typename Map::value_type*> rows;
  rows.reserve(map.size());
  for (const auto& row : map) rows.push_back(&row);
  std::stable_sort(rows.begin(), rows.end(), [&](auto* a, auto* b) { return size(*a) > size(*b); });
  if (most > 0 && rows.size() > static_cast<size_t>(most)) rows.resize(static_cast<size_t>(most));
  return rows;
}

double percent(double share) { return 100.0 * share; }

// ---- reading

struct gold_format_t {
  bool is_conllu;
  tag_column_t column;
};

// A worker of SentenceJobs.
class GoldReader {
 public:
  // All must outlive the object. `name` is that of the corpus in messages.
  GoldReader(const Model& model, const tagger_options_t& options, const gold_format_t& format,
             const char* name)
      : name_(name),
        format_(format),
        utf8_(model.UTF8_Processing()),
        evaluator_(model, Tagger(model, options), true,
                   format.is_conllu ? format.column : tag_column_t::Xpos) {}

  void take_line(std::string_view line, int64_t number) {
    line = without_end(line);
    if (line.empty()) {
      has_empty_lines_ = true;
      evaluator_.end_sentence();
      return;
    }
    if (broken_line_ == 0 && utf8_ && encoding_of(line) == encoding_t::Other) broken_line_ = number;
    if (format_.is_conllu) return take_conllu(line, number);
    line_.assign(line);
    const corpus_line_t token(line_.data());
    if (*token.word == '\0') return;
    if (*token.tag == '\0') stop_at(name_, number, "no TAB and tag behind the word: " + printable(line));
    evaluator_.add(token.word, token.tag);
  }

  void end_text() { evaluator_.end_sentence(); }
  bool ends_sentence(std::string_view line) const { return without_end(line).empty(); }

  evaluation_t take_result() {
    evaluation_t result = evaluator_.take_result();
    result.has_empty_lines = has_empty_lines_;
    result.broken_line = std::exchange(broken_line_, 0);
    return result;
  }

 private:
  void take_conllu(std::string_view text, int64_t number) {
    const conllu_line_t line = parse_conllu(text);
    if (const std::string fault = conllu_fault(text); !fault.empty()) stop_at(name_, number, fault);
    if (line.kind != conllu_line_t::Token) return;
    const std::string_view form = line.columns[conllu_line_t::Form],
                           lemma = line.columns[conllu_line_t::Lemma];
    evaluator_.add(form, conllu_tag(line, format_.column), lemma == "_" && form != "_" ? "" : lemma);
  }

  const char* name_;
  gold_format_t format_;
  bool utf8_;
  int64_t broken_line_ = 0;
  Evaluator evaluator_;
  bool has_empty_lines_ = false;
  std::string line_;  // that is being split
};

// In a corpus without empty lines the sentence tags tell how many sentences are right; the decoding knows nothing of
// them.
evaluation_t evaluate(const Model& model, const tagger_options_t& options, const gold_format_t& format,
                      TextInput& in, size_t jobs, Remarks& remarks) {
  evaluation_t result;
  ProgressLine progress(remarks, "evaluating");
  const auto take = [&result](const evaluation_t& part, bool) { result.add(part); };
  SentenceJobs(in, GoldReader(model, options, format, in.name()), jobs, take).run(progress);
  if (!result.has_empty_lines) result.sentences = result.marked_sentences;
  if (result.broken_line != 0) remarks.say_at(in.name(), result.broken_line, Not_Utf8);
  if (result.all.words == 0) stop(std::string("no words in ") + in.name());
  return result;
}

// One remark, whatever their number: a corpus of another tagset has hundreds.
void report_foreign_tags(const evaluation_t& result, Remarks& remarks) {
  constexpr int64_t Most = 5;
  if (result.foreign_tags.empty()) return;
  const auto words = [](const auto& row) { return row.second; };
  std::string list;
  for (const auto* row : largest(result.foreign_tags, Most, words))
    list += (list.empty() ? "" : ", ") + printable(row->first) + " " + std::to_string(row->second);
  const size_t tags = result.foreign_tags.size();
  remarks.say(formatted("%zu tag%s of the corpus not in the model, whose words count as wrong: %s%s", tags,
                        tags == 1 ? "" : "s", list.c_str(), tags > static_cast<size_t>(Most) ? ", ..." : ""));
}

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
  if (result.universal.words > 0) {
    put_score(out, "universal tags", result.universal);
    put_score(out, "features", result.features);
  }
  if (result.lemmas.words > 0) put_score(out, "lemmas", result.lemmas);

  out.print("\n%-16s %9s %9s %9s %9s\n", "tag", "precision", "recall", "F1", "number");
  for (const tag_row_t* row : largest(result.tags, tags, [](const tag_row_t& r) { return r.second.gold; })) {
    const tag_score_t& score = row->second;
    out.print("%-16s %8.2f%% %8.2f%% %8.2f%% %9lld\n", shown(row->first).c_str(), percent(score.precision()),
              percent(score.recall()), percent(score.f1()), static_cast<long long>(score.gold));
  }
  if (!result.confusions.empty())
    out.print("\n%9s  %-16s %-16s %s\n", "number", "gold tag", "tag given", "such as");
  for (const confusion_row_t* row :
       largest(result.confusions, confusions, [](const confusion_row_t& r) { return r.second.words; })) {
    out.print("%9lld  %-16s %-16s", static_cast<long long>(row->second.words),
              shown(row->first.first).c_str(), shown(row->first.second).c_str());
    for (const std::string& example : row->second.examples) out.print(" %s", printable(example).c_str());
    out.put('\n');
  }
  out.print("\n%.0f words a second\n", static_cast<double>(result.all.words) / seconds);
}

// ---- JSON

void put_json_score(TextOutput& out, const char* name, const score_t& score) {
  out.print("  \"%s\": {\"number\": %lld, \"right\": %lld, \"accuracy\": %.6f},\n", name,
            static_cast<long long>(score.words), static_cast<long long>(score.right), score.accuracy());
}

void put_json(TextOutput& out, const Model& model, const evaluation_t& result, double seconds) {
  out.put("{\n");
  put_json_score(out, "all", result.all);
  put_json_score(out, "known", result.known);
  put_json_score(out, "unknown", result.unknown);
  put_json_score(out, "ambiguous", result.ambiguous);
  put_json_score(out, "sentences", result.sentences);
  if (result.universal.words > 0) {
    put_json_score(out, "universal_tags", result.universal);
    put_json_score(out, "features", result.features);
  }
  if (result.lemmas.words > 0) put_json_score(out, "lemmas", result.lemmas);
  out.print("  \"words_per_second\": %.0f,\n  \"tags\": [", static_cast<double>(result.all.words) / seconds);
  const char* separator = "\n";
  for (const tag_row_t* row : largest(result.tags, 0, [](const tag_row_t& r) { return r.second.gold; })) {
    const tag_score_t& score = row->second;
    out.print("%s    {\"tag\": %s, \"in_model\": %s, \"gold\": %lld, \"given\": %lld, \"right\": %lld, ",
              separator, json_quoted(row->first).c_str(), model.find_tag(row->first) >= 0 ? "true" : "false",
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
              json_quoted(row->first.first).c_str(), json_quoted(row->first.second).c_str(),
              static_cast<long long>(row->second.words));
    const char* comma = "";
    for (const std::string& example : row->second.examples) {
      out.print("%s%s", comma, json_quoted(example).c_str());
      comma = ", ";
    }
    out.put("]}");
    separator = ",\n";
  }
  out.put("\n  ]\n}\n");
}

gold_format_t gold_format(const CommandLine& line, const Model& model, TextInput& in) {
  gold_format_t format{recognise_format(in) == text_format_t::Conllu, ModelColumns(model, nullptr).column()};
  if (line.has("format")) format.is_conllu = line.choice("format", 0, {"words", "conllu"}) == 1;
  format.column = tag_column(line).value_or(format.column);
  return format;
}

int evaluate_command(const CommandLine& line, Remarks& remarks) {
  const size_t jobs = jobs_option(line, 1);
  const int64_t tags = line.integer("tags", 20, 0, INT64_MAX);
  const int64_t confusions = line.integer("confusions", 10, 0, INT64_MAX);
  const Model model = load_tagging_model(line, remarks);
  const tagger_options_t options = tagger_options(line);
  require_other_file("-", tagger_inputs(line));
  TextInput in(text_name(line));
  const gold_format_t format = gold_format(line, model, in);
  require_column(model, tag_column(line));
  tell_of_text(in, false, remarks);
  const auto start = std::chrono::steady_clock::now();
  const evaluation_t result = evaluate(model, options, format, in, jobs, remarks);
  report_foreign_tags(result, remarks);
  const double seconds = std::chrono::duration<double>(std::chrono::steady_clock::now() - start).count();
  TextOutput out("-");
  if (line.has("json"))
    put_json(out, model, result, seconds);
  else
    put_table(out, result, tags, confusions, seconds);
  out.close();
  return 0;
}

}  // namespace

const command_t Evaluate_Command = {
    "evaluate", "compare with a gold corpus", Help, Options, 1, 2, evaluate_command, &Tagger_Group};

}  // namespace orvelle
