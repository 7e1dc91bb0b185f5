// SPDX-License-Identifier: MIT
// Text with an empty line behind each sentence, worked on by one thread or by several that get whole sentences:
//
//   lines read    a sentence | a sentence | a sentence | a sente
//                 `------ a batch for a thread ------'   `-- waits for its end
//
// A sentence that is longer than what may wait is worked on in the thread that reads, line by line, when all before it is
// done; with one job the whole text is.
//
// A worker has a tagger of its own and is copied for each thread:
//
//   void take_line(std::string_view line_with_end, int64_t number);
//   void end_text();                                      // behind the last line of a batch
//   bool ends_sentence(std::string_view line_with_end) const;
//   result_t take_result();                               // of the lines since the last call
#pragma once

#include <orvelle/tagger.h>

#include <algorithm>
#include <cstdint>
#include <exception>
#include <functional>
#include <optional>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "commands/ordered_jobs.h"
#include "commands/remarks.h"
#include "commands/text_io.h"

namespace orvelle {

// A line without its line end.
inline std::string_view without_end(std::string_view line) {
  if (line.ends_with('\n')) line.remove_suffix(1);
  if (line.ends_with('\r')) line.remove_suffix(1);
  return line;
}

template <class Worker>
class SentenceJobs {
 public:
  using result_t = decltype(std::declval<Worker&>().take_result());

  // `take(result, may_wait)` gets the results in the order of the text, also what came before a failure; `may_wait`
  // says that nothing need follow soon.
  template <class Take>
  SentenceJobs(TextInput& in, Worker worker, size_t jobs, Take take)
      : in_(in), alone_(std::move(worker)), take_(take), is_alone_(jobs == 1) {
    if (jobs == 1) return;
    std::vector<typename OrderedJobs<batch_t>::Work> work;
    for (size_t i = 0; i < jobs; ++i)
      work.push_back([mine = alone_](batch_t& batch) mutable { run_batch(mine, batch); });
    jobs_.emplace(std::move(work), [this](batch_t& batch) { take_(std::move(batch.result), true); });
  }

  // What was read before a read fails is worked on and taken first.
  void run(ProgressLine& progress) {
    std::exception_ptr failure;
    try {
      read(progress);
    } catch (const Failure&) {
      failure = std::current_exception();
    }
    whole_ = failure ? whole_ : text_.size();
    send_whole();
    if (jobs_) jobs_->finish();
    if (!failure) alone_.end_text();
    take_(alone_.take_result(), true);
    if (failure) std::rethrow_exception(failure);
  }

 private:
  static constexpr size_t Batch_Size = 1 << 16;    // bytes
  static constexpr size_t Longest_Wait = 1 << 20;  // bytes of a sentence without its end

  struct batch_t {
    std::string text;
    int64_t first_line;
    result_t result{};
  };

  void read(ProgressLine& progress) {
    while (in_.next()) {
      if (is_alone_)
        take_line_alone();
      else
        collect_line();
      if (in_.number() % 4096 == 0) progress.update(in_.bytes_read(), in_.size());
    }
  }

  // Calls `action(line, number)` for each line of the text.
  template <class Action>
  static void for_each_line(std::string_view text, int64_t number, Action action) {
    for (; !text.empty(); ++number) {
      const size_t newline = text.find('\n');
      const std::string_view line = text.substr(0, newline == text.npos ? newline : newline + 1);
      action(line, number);
      text.remove_prefix(line.size());
    }
  }

  static void run_batch(Worker& worker, batch_t& batch) {
    try {
      for_each_line(batch.text, batch.first_line,
                    [&](std::string_view line, int64_t number) { worker.take_line(line, number); });
      worker.end_text();
    } catch (...) {
      batch.result = worker.take_result();
      throw;
    }
    batch.result = worker.take_result();
  }

  void collect_line() {
    text_ += in_.line_with_end();
    if (alone_.ends_sentence(in_.line_with_end())) whole_ = text_.size();
    if (whole_ >= Batch_Size || in_.would_wait()) send_whole();
    if (text_.size() - whole_ > Longest_Wait) go_alone();
  }

  void send_whole() {
    if (whole_ == 0) return;
    std::string batch = std::exchange(text_, text_.substr(whole_));
    batch.resize(std::exchange(whole_, 0));
    const int64_t first_line = next_line_;
    next_line_ += std::ranges::count(batch, '\n');
    jobs_->add({std::move(batch), first_line});  // throws what an earlier job threw
  }

  void go_alone() {
    send_whole();
    jobs_->finish();
    is_alone_ = true;
    for_each_line(text_, next_line_,
                  [&](std::string_view line, int64_t number) { alone_line(line, number); });
    text_.clear();
    take_(alone_.take_result(), true);
  }

  void take_line_alone() {
    alone_line(in_.line_with_end(), in_.number());
    const bool ends_sentence = jobs_ && alone_.ends_sentence(in_.line_with_end());
    taken_ += in_.line().size();
    const bool would_wait = in_.would_wait();
    if (!ends_sentence && !would_wait && taken_ < Batch_Size) return;
    taken_ = 0;
    take_(alone_.take_result(), would_wait);
    if (!ends_sentence) return;
    is_alone_ = false;
    next_line_ = in_.number() + 1;
  }

  void alone_line(std::string_view line, int64_t number) {
    try {
      alone_.take_line(line, number);
    } catch (...) {
      take_(alone_.take_result(), true);
      throw;
    }
  }

  TextInput& in_;
  Worker alone_;  // of the thread that reads
  std::function<void(result_t, bool)> take_;
  bool is_alone_;
  size_t taken_ = 0;                          // bytes that alone_ got since its last result was taken
  std::string text_;                          // lines that wait
  size_t whole_ = 0;                          // bytes of them that are whole sentences
  int64_t next_line_ = 1;                     // number of the first of them
  std::optional<OrderedJobs<batch_t>> jobs_;  // without it all is done by alone_
};

}  // namespace orvelle
