// SPDX-License-Identifier: MIT
// The search for the settings of a training that suit a corpus best.
//
// It goes from coarse to fine and changes what matters most first; each stage starts from the best settings so far. The
// gain at which a context is split and the smoothing weight depend on each other, so they get a grid; the others are
// changed one at a time. Decoding by word is tried once, with the best contexts: it seldom matters which settings it is
// asked with. The threshold of the affix trees is left alone: the tagger asks them only where a lexicon has no
// rare words (docs/tagging.md).
#pragma once

#include <chrono>
#include <functional>
#include <string>
#include <vector>

#include "commands/text_io.h"
#include "commands/trials.h"

namespace orvelle {

// The settings as options of train-orvelle, and "-utf8 -cl 2" and so on.
std::string options_of(const Settings& settings);

struct search_options_t {
  size_t jobs;
  bool quick;                                                        // the first and the largest steps alone
  std::chrono::steady_clock::time_point end = decltype(end)::max();  // no trial begins after it
  std::function<std::string(const Settings&)> command_line = options_of;  // of the best so far
};

class Search {
 public:
  // Rows of what was tried go to `out` as they come, and behind each stage the best so far.
  Search(const Folds& folds, search_options_t options, TextOutput& out, Remarks& remarks);

  // Tries all that the search has, until an interrupt. A Failure if no training came to its end.
  const trial_t& run(const choice_t& start);
  size_t tried() const { return trials_.size(); }
  // It ended before it was done.
  bool was_stopped() const { return was_stopped_; }
  // Remarks on the choices that failed; returns whether there are any.
  bool tell_failures() const;

 private:
  const trial_t& best() const;
  void put_head();
  void put_best();
  void try_all(const char* stage, const std::vector<choice_t>& choices);
  void put_row(const trial_t& trial);

  const Folds& folds_;
  search_options_t options_;
  TextOutput& out_;
  Remarks& remarks_;
  std::vector<trial_t> trials_;
  bool was_stopped_ = false;
};

// The decoding as the value of --decode.
const char* decoding_name(tagger_options_t::Choice decoding);

}  // namespace orvelle
