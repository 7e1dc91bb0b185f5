// Trials of training settings: each trains on all folds of a corpus but one and tags that one.
//
//   corpus       sentence 1  sentence 2  sentence 3  sentence 4 ...      shuffled by the seed
//   fold             2           0           1           2
//
//   fold 0       train on folds 1 and 2, tag fold 0, and so on
//
// The training and the loaded tables are state of the whole process, so every trial of a fold is a child process with
// its own copy; what the children read is written once, before the first of them, to files without a name.
#pragma once

#include <cstdint>
#include <cstdio>
#include <memory>
#include <string>
#include <string_view>
#include <vector>

#include "tagger/evaluation.h"

namespace orvelle {

struct training_settings_t {
  int context_size;
  double min_info_gain;
  double smoothing_weight;
  double word_class_weight;
  double lex_threshold;

  bool operator==(const training_settings_t&) const = default;
};

// What the trials of one choice of settings came to.
struct trial_t {
  training_settings_t settings;
  score_t all;
  score_t known;
  score_t unknown;
  std::vector<double> accuracy;  // by fold
  bool failed = false;           // a training ended with an error, which it told on standard error
};

class Folds {
 public:
  // Reads the three files and makes the folds. A word form loses in the lexicon of a fold's training what only the
  // held-out sentences know: its tags that are seen there and nowhere else. What the corpus never shows stays, as do
  // the last word form of a tag that the training needs. Ends the process through stop if a file cannot be used.
  Folds(const char* lexicon, const char* open_classes, const char* corpus, int folds, uint64_t seed);

  size_t size() const { return folds_.size(); }
  size_t sentences() const { return sentences_.size(); }
  int64_t tokens() const { return token_count_; }

  // Runs the trials, `jobs` processes at a time; calls `after_each(done, total)` when a process has ended.
  template <class AfterEach>
  void run(std::vector<trial_t>& trials, int jobs, AfterEach after_each) const {
    Pool pool(*this, trials, jobs);
    while (pool.step()) after_each(pool.done(), pool.total());
  }

 private:
  struct token_t {
    std::string_view form;
    std::string_view tag;
  };
  using sentence_t = std::vector<token_t>;
  struct file_closer_t {
    void operator()(FILE* file) const { std::fclose(file); }
  };
  using file_t = std::unique_ptr<FILE, file_closer_t>;
  struct fold_t {
    file_t lexicon;
    file_t open_classes;
    file_t corpus;
    std::vector<const sentence_t*> held_out;
  };

  // The processes of some trials.
  class Pool {
   public:
    Pool(const Folds& folds, std::vector<trial_t>& trials, int jobs);
    ~Pool();
    bool step();  // starts what there is room for and waits for one process; false if all are done
    int64_t done() const { return done_; }
    int64_t total() const { return static_cast<int64_t>(trials_.size() * folds_.size()); }

   private:
    struct child_t {
      int pid;
      int pipe;
      size_t trial;
      size_t fold;
    };
    void start(size_t trial, size_t fold);
    void finish(const child_t& child, int status);

    const Folds& folds_;
    std::vector<trial_t>& trials_;
    size_t jobs_;
    size_t next_ = 0;
    int64_t done_ = 0;
    std::vector<child_t> children_;
  };

  void read_corpus(const char* name);
  void make_fold(size_t number, const std::vector<size_t>& fold_of);
  [[noreturn]] void run_child(const fold_t& fold, const training_settings_t& settings, int pipe) const;

  std::string corpus_;  // what the tokens point into
  std::string lexicon_;
  std::string open_classes_;
  std::vector<sentence_t> sentences_;
  int64_t token_count_ = 0;
  std::vector<fold_t> folds_;
};

}  // namespace orvelle
