// SPDX-License-Identifier: MIT
// What orvelle train works on: the treebanks or files that it was given, as a training takes them, and the sentences that
// the model is measured on.
#pragma once

#include <optional>
#include <string>
#include <vector>

#include "commands/text_io.h"
#include "commands/train_request.h"
#include "commands/training_set.h"

namespace orvelle {

class TrainInput {
 public:
  // A file that was read.
  struct file_t {
    std::string path;
    uint64_t digest;
    std::string name() const;  // without its folder, as it can be shown
  };
  // What the model, or one of its own that has not seen them, is measured on.
  struct measured_t {
    const Treebank& treebank;
    sentences_t sentences;
    std::string name;
    std::optional<training_set_t> others;  // of the same treebank
  };

  // Reads all there is, and tells `out` how much.
  TrainInput(const CommandLine& line, const train_request_t& request, Remarks& remarks, TextOutput& out);
  TrainInput(const TrainInput&) = delete;
  TrainInput& operator=(const TrainInput&) = delete;

  bool is_of_files() const { return line_.has("corpus"); }  // of those that train-orvelle takes
  const training_set_t& set() const { return set_; }
  const Settings& settings() const { return settings_; }
  const std::optional<measured_t>& measured() const { return measured_; }
  const std::vector<file_t>& files() const { return files_; }

  // Of treebanks only.
  const Treebank& treebank() const { return treebank_; }
  const std::vector<token_t>& added() const { return added_; }  // readings of --lexicon
  // A fold of the second look: its sentences, and a training set of all others. Sentences that the trainer would refuse are a
  // Failure.
  unseen_fold_t unseen_fold(size_t fold);

 private:
  training_set_t make_set(const sentences_t& sentences);
  void read_treebanks(const train_request_t& request, TextOutput& out);
  void read_files(const train_request_t& request);
  void read_dev();
  void hold_tenth_out();
  void take_final_tag();

  const CommandLine& line_;
  Remarks& remarks_;
  treebank_options_t options_;
  Settings settings_;
  Treebank treebank_;
  sentences_t all_;
  std::vector<token_t> added_;
  training_set_t set_;
  std::optional<Treebank> dev_;
  std::optional<measured_t> measured_;
  std::vector<file_t> files_;
};

}  // namespace orvelle
