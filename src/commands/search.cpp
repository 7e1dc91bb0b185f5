// SPDX-License-Identifier: MIT
#include "commands/search.h"

#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <initializer_list>
#include <map>
#include <string_view>
#include <utility>

#include "commands/escape.h"
#include "commands/interrupts.h"
#include "support/errors.h"

namespace orvelle {

namespace {

using Choices = std::vector<choice_t>;

constexpr int64_t Noticeable_Share = 20000;  // one word in so many

// A value with two significant digits: what is written on the command line is what was tried.
double rounded(double value) {
  char text[32];
  std::snprintf(text, sizeof text, "%.1e", value);
  return std::strtod(text, nullptr);
}

Choices context_grid(const choice_t& from, bool quick) {
  using Values = std::vector<double>;
  Choices choices{from};
  for (const double gain : quick ? Values{0.1, 0.05} : Values{0.5, 0.2, 0.1, 0.05, 0.02})
    for (const double weight : quick ? Values{1.0, 3.0} : Values{1.0, 3.0, 10.0}) {
      choices.push_back(from);
      choices.back().settings.Min_Info_Gain = gain;
      choices.back().settings.Smoothing_Weight = weight;
    }
  return choices;
}

// One choice for each of the values of a setting.
template <class Value>
void vary(const choice_t& from, Value Settings::*member, std::initializer_list<Value> values,
          Choices& choices) {
  for (const Value value : values) {
    choices.push_back(from);
    choices.back().settings.*member = value;
  }
}

Choices decoding_by_word(choice_t from) {
  from.decoding = tagger_options_t::Choice::Word;
  return {from};
}

Choices context_sizes(const choice_t& from) {
  Choices choices;
  vary(from, &Settings::Context_Size, {1, 2, 3}, choices);
  return choices;
}

Choices lexicon_choices(const choice_t& from) {
  Choices choices;
  vary(from, &Settings::Word_Class_Weight, {0.02, 0.05, 0.5, 1.5}, choices);
  vary(from, &Settings::Lex_Threshold, {0.005, 0.02}, choices);
  return choices;
}

// One step up and one down in each of the weights.
Choices neighbours(const choice_t& from) {
  Choices choices;
  for (const double factor : {0.6, 1.6})
    for (double Settings::*const member :
         {&Settings::Min_Info_Gain, &Settings::Smoothing_Weight, &Settings::Word_Class_Weight})
      vary(from, member, {rounded(from.settings.*member * factor)}, choices);
  return choices;
}

bool is_tried(const std::vector<trial_t>& trials, const choice_t& choice) {
  return std::ranges::find(trials, choice, &trial_t::choice) != trials.end();
}

}  // namespace

Search::Search(const Folds& folds, search_options_t options, TextOutput& out, Remarks& remarks)
    : folds_(folds), options_(std::move(options)), out_(out), remarks_(remarks) {}

const trial_t& Search::run(const choice_t& start) {
  put_head();
  try_all("contexts", context_grid(start, options_.quick));
  try_all("decoding", decoding_by_word(best().choice));
  try_all("preceding tags", context_sizes(best().choice));
  if (options_.quick) return best();
  try_all("lexicon", lexicon_choices(best().choice));
  try_all("neighbours", neighbours(best().choice));
  try_all("neighbours", neighbours(best().choice));
  return best();
}

// In the order of the search, from common settings to special ones; a later one must be better by more than chance
// would have it, or files of odd values and no use would win.
const trial_t& Search::best() const {
  const trial_t* best = nullptr;
  for (const trial_t& trial : trials_) {
    if (!trial.failure.empty()) continue;
    if (best == nullptr || trial.all.right - best->all.right > best->all.words / Noticeable_Share)
      best = &trial;
  }
  if (best != nullptr) return *best;
  if (trials_.empty()) stop("interrupted before a training came to its end");
  stop("no training came to its end: " + trials_[0].failure);
}

void Search::put_head() {
  out_.print("%4s %7s %7s %7s %7s %7s %9s %9s %9s\n", "-cl", "-dtg", "-sw", "-ecw", "-lt", "decode",
             "accuracy", "known", "unknown");
  out_.flush();
}

void Search::put_best() {
  const choice_t& choice = best().choice;
  out_.print("best so far, by %s: %s\n", decoding_name(choice.decoding),
             options_.command_line(choice.settings).c_str());
  out_.flush();
}

void Search::try_all(const char* stage, const std::vector<choice_t>& choices) {
  if (was_stopped_) return;
  std::vector<trial_t> trials;
  for (const choice_t& choice : choices)
    if (!is_tried(trials_, choice) && !is_tried(trials, choice)) {
      trials.emplace_back();
      trials.back().choice = choice;
    }
  if (trials.empty()) return;
  Interrupts interrupts;
  ProgressLine progress(remarks_, stage);
  const auto take = [&](const trial_t& trial) {
    progress.clear();
    put_row(trial);
    out_.flush();
  };
  const auto is_over = [&] {
    return interrupts.happened() || std::chrono::steady_clock::now() >= options_.end;
  };
  was_stopped_ = !folds_.run(trials, options_.jobs, progress, take, is_over);
  for (const trial_t& trial : trials)
    if (trial.accuracy.size() == folds_.size()) trials_.push_back(trial);
  if (!was_stopped_) put_best();
}

void Search::put_row(const trial_t& trial) {
  const Settings& s = trial.choice.settings;
  out_.print("%4d %7g %7g %7g %7g %7s ", s.Context_Size, s.Min_Info_Gain, s.Smoothing_Weight,
             s.Word_Class_Weight, s.Lex_Threshold, decoding_name(trial.choice.decoding));
  if (!trial.failure.empty())
    out_.put("   failed\n");
  else
    out_.print("%8.2f%% %8.2f%% %8.2f%%\n", 100.0 * trial.all.accuracy(), 100.0 * trial.known.accuracy(),
               100.0 * trial.unknown.accuracy());
}

bool Search::tell_failures() const {
  std::map<std::string_view, int> counts;
  for (const trial_t& trial : trials_)
    if (!trial.failure.empty()) ++counts[trial.failure];
  for (const auto& [failure, count] : counts)
    remarks_.say(formatted("%d of %zu failed: %s", count, trials_.size(), std::string(failure).c_str()));
  return !counts.empty();
}

const char* decoding_name(tagger_options_t::Choice decoding) {
  return decoding == tagger_options_t::Choice::Word ? "word" : "path";
}

std::string options_of(const Settings& settings) {
  std::string text;
  if (settings.UTF8_Processing) text += "-utf8 ";
  if (settings.SENT_TAG != "SENT") text += "-st " + shell_quoted(settings.SENT_TAG) + " ";
  return text + formatted("-cl %d -dtg %g -sw %g -ecw %g -lt %g", settings.Context_Size,
                          settings.Min_Info_Gain, settings.Smoothing_Weight, settings.Word_Class_Weight,
                          settings.Lex_Threshold);
}

}  // namespace orvelle
