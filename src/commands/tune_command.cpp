// orvelle tune: which settings of the training suit a corpus best.
//
// The search goes from coarse to fine and changes what matters most first; each stage starts from the best settings so
// far. The gain at which a context is split and the smoothing weight depend on each other, so they get a grid; the
// others are changed one at a time. The threshold of the affix trees is left alone: the tagger asks them only where a
// lexicon has no rare words (docs/tagging.md).
#include <algorithm>
#include <charconv>
#include <cmath>
#include <cstdio>
#include <cstdlib>
#include <string_view>
#include <thread>
#include <vector>

#include "commands/command.h"
#include "commands/escape.h"
#include "commands/tagger_options.h"
#include "commands/text_io.h"
#include "commands/trials.h"

namespace orvelle {

namespace {

constexpr char Help[] =
    "Usage: orvelle tune [OPTION...] LEXICON OPEN-CLASSES CORPUS\n"
    "\n"
    "Finds the settings of train-orvelle that suit a corpus: splits it into folds by\n"
    "sentences, trains on all but one and tags that one, for each fold and for each choice\n"
    "of settings of a search from coarse to fine. Prints what it tried and ends with the\n"
    "command line to train with and the accuracy to expect. -atg stays as it is: the tagger\n"
    "asks the affix trees only where a lexicon has no rare words.\n"
    "\n"
    "  --folds N           parts of the corpus, 2 to 100 (5)\n"
    "  --seed N            another number, other folds (1)\n"
    "  --jobs N            trainings at a time (one for each processor)\n"
    "  --sentence-tag TAG  the tag of sentence ends, as for train-orvelle -st (SENT)\n"
    "  --utf8              word forms are UTF-8, as for train-orvelle -utf8\n";

constexpr option_t Options[] = {
    {"folds", "N"}, {"seed", "N"}, {"jobs", "N"}, {"sentence-tag", "TAG"}, {"utf8", nullptr}};

constexpr int64_t Noticeable_Share = 20000;  // one word in so many

using Choices = std::vector<Settings>;

// A value with two significant digits: what is written on the command line is what was tried.
double rounded(double value) {
  char text[32];
  std::snprintf(text, sizeof text, "%.1e", value);
  return std::strtod(text, nullptr);
}

Choices context_grid(const Settings& from) {
  Choices choices{from};
  for (const double gain : {0.5, 0.2, 0.1, 0.05, 0.02})
    for (const double weight : {1.0, 3.0, 10.0}) {
      choices.push_back(from);
      choices.back().Min_Info_Gain = gain;
      choices.back().Smoothing_Weight = weight;
    }
  return choices;
}

// One choice for each of the values of a setting.
template <class Value>
void vary(const Settings& from, Value Settings::*member, std::initializer_list<Value> values,
          Choices& choices) {
  for (const Value value : values) {
    choices.push_back(from);
    choices.back().*member = value;
  }
}

Choices context_sizes(const Settings& from) {
  Choices choices;
  vary(from, &Settings::Context_Size, {1, 2, 3}, choices);
  return choices;
}

Choices lexicon_choices(const Settings& from) {
  Choices choices;
  vary(from, &Settings::Word_Class_Weight, {0.02, 0.05, 0.5, 1.5}, choices);
  vary(from, &Settings::Lex_Threshold, {0.005, 0.02}, choices);
  return choices;
}

// One step up and one down in each of the weights.
Choices neighbours(const Settings& from) {
  Choices choices;
  for (const double factor : {0.6, 1.6})
    for (double Settings::*const member :
         {&Settings::Min_Info_Gain, &Settings::Smoothing_Weight, &Settings::Word_Class_Weight})
      vary(from, member, {rounded(from.*member * factor)}, choices);
  return choices;
}

class Search {
 public:
  Search(const Folds& folds, size_t jobs, TextOutput& out, Remarks& remarks)
      : folds_(folds), jobs_(jobs), out_(out), remarks_(remarks) {}

  const trial_t& run(const Settings& start) {
    out_.print("%4s %7s %7s %7s %7s %9s %9s %9s\n", "-cl", "-dtg", "-sw", "-ecw", "-lt", "accuracy", "known",
               "unknown");
    try_all("contexts", context_grid(start));
    try_all("preceding tags", context_sizes(best().settings));
    try_all("lexicon", lexicon_choices(best().settings));
    try_all("neighbours", neighbours(best().settings));
    try_all("neighbours", neighbours(best().settings));
    return best();
  }

  size_t tried() const { return trials_.size(); }

 private:
  // In the order of the search, from common settings to special ones; a later one must be better by more than chance
  // would have it, or files of odd values and no use would win.
  const trial_t& best() const {
    const trial_t* best = &trials_.front();
    for (const trial_t& trial : trials_) {
      if (trial.failed) continue;
      if (best->failed || trial.all.right - best->all.right > best->all.words / Noticeable_Share)
        best = &trial;
    }
    return *best;
  }

  void try_all(const char* stage, const Choices& choices) {
    std::vector<trial_t> trials;
    for (const Settings& settings : choices)
      if (!is_tried(trials_, settings) && !is_tried(trials, settings)) {
        trials.emplace_back();
        trials.back().settings = settings;
      }
    {
      ProgressLine progress(remarks_, stage);
      folds_.run(trials, jobs_, progress);
    }
    for (const trial_t& trial : trials) put_row(trial);
    out_.flush();
    trials_.insert(trials_.end(), trials.begin(), trials.end());
    if (best().failed) stop("no training came to its end");
  }

  static bool is_tried(const std::vector<trial_t>& trials, const Settings& settings) {
    return std::ranges::find(trials, settings, &trial_t::settings) != trials.end();
  }

  void put_row(const trial_t& trial) {
    const Settings& s = trial.settings;
    out_.print("%4d %7g %7g %7g %7g ", s.Context_Size, s.Min_Info_Gain, s.Smoothing_Weight,
               s.Word_Class_Weight, s.Lex_Threshold);
    if (trial.failed)
      out_.put("   failed\n");
    else
      out_.print("%8.2f%% %8.2f%% %8.2f%%\n", 100.0 * trial.all.accuracy(), 100.0 * trial.known.accuracy(),
                 100.0 * trial.unknown.accuracy());
  }

  const Folds& folds_;
  size_t jobs_;
  TextOutput& out_;
  Remarks& remarks_;
  std::vector<trial_t> trials_;
};

void put_result(TextOutput& out, const trial_t& best, size_t tried, const std::vector<const char*>& files) {
  const auto [low, high] = std::ranges::minmax(best.accuracy);
  out.print("\nbest of %zu: %.2f%% of the words right, %.2f%% to %.2f%% from fold to fold\n\n", tried,
            100.0 * best.all.accuracy(), 100.0 * low, 100.0 * high);
  const Settings& s = best.settings;
  out.put("train-orvelle");
  if (s.UTF8_Processing) out.put(" -utf8");
  if (s.SENT_TAG != "SENT") out.print(" -st %s", shell_quoted(s.SENT_TAG).c_str());
  out.print(" -cl %d -dtg %g -sw %g -ecw %g -lt %g", s.Context_Size, s.Min_Info_Gain, s.Smoothing_Weight,
            s.Word_Class_Weight, s.Lex_Threshold);
  for (const char* file : files) out.print(" %s", shell_quoted(file).c_str());
  out.put(" PARAMETER-FILE\n");
}

int tune_command(const CommandLine& line, Remarks& remarks) {
  const auto folds = static_cast<size_t>(line.integer("folds", 5, 2, 100));
  const auto seed = static_cast<uint64_t>(line.integer("seed", 1, 0, INT64_MAX));
  const size_t jobs = jobs_option(line, std::clamp<int64_t>(std::thread::hardware_concurrency(), 1, 1024));
  Settings start;
  start.SENT_TAG = line.value("sentence-tag", start.SENT_TAG.c_str());
  start.UTF8_Processing = line.has("utf8");
  const std::vector<const char*>& files = line.operands();
  for (const char* file : files)
    if (std::string_view(file) == "-") misuse("tune reads no standard input: the training needs files");

  const Folds parts(files[0], files[1], files[2], start.SENT_TAG, folds, seed);
  TextOutput out("-");
  out.print("%zu words, %zu sentences, %zu folds\n\n", parts.tokens(), parts.sentences(), parts.size());
  out.flush();
  Search search(parts, jobs, out, remarks);
  const trial_t best = search.run(start);
  put_result(out, best, search.tried(), files);
  out.close();
  return 0;
}

}  // namespace

const command_t Tune_Command = {"tune", "find the settings to train with", Help, Options, 3, 3, tune_command};

}  // namespace orvelle
