// SPDX-License-Identifier: MIT
// The search for the settings of a training that suit a corpus best.
//
// It goes from coarse to fine and changes what matters most first; each stage starts from the best settings so far. The
// gain at which a context is split and the smoothing weight depend on each other, so they get a grid; the others are
// changed one at a time. The threshold of the affix trees is left alone: the tagger asks them only where a lexicon has no
// rare words (docs/tagging.md).
#pragma once

#include <chrono>
#include <string>
#include <vector>

#include "commands/text_io.h"
#include "commands/trials.h"

namespace orvelle {

class Search {
 public:
  // Rows of what was tried go to `out` as they come; until `end` at the latest, or an interrupt, trials begin.
  Search(const Folds& folds, size_t jobs, std::chrono::steady_clock::time_point end, TextOutput& out,
         Remarks& remarks);

  // Tries all that the search has; `quick`: the first and the largest steps alone. A Failure if no training came to its
  // end.
  const trial_t& run(const Settings& start, bool quick);
  size_t tried() const { return trials_.size(); }
  // It ended before it was done.
  bool was_stopped() const { return was_stopped_; }

 private:
  const trial_t& best() const;
  void put_head();
  void try_all(const char* stage, const std::vector<Settings>& choices);
  void put_row(const trial_t& trial);

  const Folds& folds_;
  size_t jobs_;
  std::chrono::steady_clock::time_point end_;
  TextOutput& out_;
  Remarks& remarks_;
  std::vector<trial_t> trials_;
  bool was_stopped_ = false;
};

// The settings as options of train-orvelle, and "-utf8 -cl 2" and so on.
std::string options_of(const Settings& settings);

}  // namespace orvelle
