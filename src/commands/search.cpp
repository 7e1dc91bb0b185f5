// SPDX-License-Identifier: MIT
#include "commands/search.h"

#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <initializer_list>

#include "commands/escape.h"
#include "commands/interrupts.h"
#include "support/errors.h"

namespace orvelle {

namespace {

using Choices = std::vector<Settings>;

constexpr int64_t Noticeable_Share = 20000;  // one word in so many

// A value with two significant digits: what is written on the command line is what was tried.
double rounded(double value) {
  char text[32];
  std::snprintf(text, sizeof text, "%.1e", value);
  return std::strtod(text, nullptr);
}

Choices context_grid(const Settings& from, bool quick) {
  using Values = std::vector<double>;
  Choices choices{from};
  for (const double gain : quick ? Values{0.1, 0.05} : Values{0.5, 0.2, 0.1, 0.05, 0.02})
    for (const double weight : quick ? Values{1.0, 3.0} : Values{1.0, 3.0, 10.0}) {
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

bool is_tried(const std::vector<trial_t>& trials, const Settings& settings) {
  return std::ranges::find(trials, settings, &trial_t::settings) != trials.end();
}

}  // namespace

Search::Search(const Folds& folds, size_t jobs, std::chrono::steady_clock::time_point end, TextOutput& out,
               Remarks& remarks)
    : folds_(folds), jobs_(jobs), end_(end), out_(out), remarks_(remarks) {}

const trial_t& Search::run(const Settings& start, bool quick) {
  put_head();
  try_all("contexts", context_grid(start, quick));
  try_all("preceding tags", context_sizes(best().settings));
  if (quick) return best();
  try_all("lexicon", lexicon_choices(best().settings));
  try_all("neighbours", neighbours(best().settings));
  try_all("neighbours", neighbours(best().settings));
  return best();
}

// In the order of the search, from common settings to special ones; a later one must be better by more than chance
// would have it, or files of odd values and no use would win.
const trial_t& Search::best() const {
  const trial_t* best = nullptr;
  for (const trial_t& trial : trials_) {
    if (trial.failed) continue;
    if (best == nullptr || trial.all.right - best->all.right > best->all.words / Noticeable_Share)
      best = &trial;
  }
  if (best == nullptr)
    stop(was_stopped_ ? "interrupted before a training came to its end" : "no training came to its end");
  return *best;
}

void Search::put_head() {
  out_.print("%4s %7s %7s %7s %7s %9s %9s %9s\n", "-cl", "-dtg", "-sw", "-ecw", "-lt", "accuracy", "known",
             "unknown");
  out_.flush();
}

void Search::try_all(const char* stage, const std::vector<Settings>& choices) {
  if (was_stopped_) return;
  std::vector<trial_t> trials;
  for (const Settings& settings : choices)
    if (!is_tried(trials_, settings) && !is_tried(trials, settings)) {
      trials.emplace_back();
      trials.back().settings = settings;
    }
  Interrupts interrupts;
  ProgressLine progress(remarks_, stage);
  const auto take = [&](const trial_t& trial) {
    progress.clear();
    put_row(trial);
    out_.flush();
  };
  const auto is_over = [&] { return interrupts.happened() || std::chrono::steady_clock::now() >= end_; };
  was_stopped_ = !folds_.run(trials, jobs_, progress, take, is_over);
  for (const trial_t& trial : trials)
    if (trial.accuracy.size() == folds_.size()) trials_.push_back(trial);
  best();
}

void Search::put_row(const trial_t& trial) {
  const Settings& s = trial.settings;
  out_.print("%4d %7g %7g %7g %7g ", s.Context_Size, s.Min_Info_Gain, s.Smoothing_Weight, s.Word_Class_Weight,
             s.Lex_Threshold);
  if (trial.failed)
    out_.put("   failed\n");
  else
    out_.print("%8.2f%% %8.2f%% %8.2f%%\n", 100.0 * trial.all.accuracy(), 100.0 * trial.known.accuracy(),
               100.0 * trial.unknown.accuracy());
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
