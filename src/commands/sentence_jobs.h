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
    constexpr int64_t Lines_to_Tell = 4096;
    int64_t told = 0;
    for (std::string_view lines; !(lines = in_.next_lines()).empty();) {
      if (is_alone_) lines = take_alone(lines);
      if (!lines.empty()) collect(lines);
      if (in_.number() - told < Lines_to_Tell) continue;
      progress.update(in_.bytes_read(), in_.size());
      told = in_.number();
    }
  }

  static std::string_view first_line(std::string_view text) {
    const size_t newline = text.find('\n');
    return text.substr(0, newline == text.npos ? newline : newline + 1);
  }

  static void run_batch(Worker& worker, batch_t& batch) {
    try {
      int64_t number = batch.first_line;
      for (std::string_view lines = batch.text, line; !lines.empty(); lines.remove_prefix(line.size()))
        worker.take_line(line = first_line(lines), number++);
      worker.end_text();
    } catch (...) {
      batch.result = worker.take_result();
      throw;
    }
    batch.result = worker.take_result();
  }

  void collect(std::string_view lines) {
    const size_t known = text_.size();
    text_ += lines;
    find_whole(known);
    if (whole_ >= Batch_Size || in_.would_wait()) send_whole();
    if (text_.size() - whole_ > Longest_Wait) go_alone();
  }

  // The last line that ends a sentence, if it stands behind `known` bytes, which end with a line.
  void find_whole(size_t known) {
    for (size_t end = text_.size(), start; end > known; end = start) {
      const size_t newline = std::string_view(text_).substr(0, end - 1).rfind('\n');
      start = newline == text_.npos ? 0 : newline + 1;
      if (!alone_.ends_sentence(std::string_view(text_).substr(start, end - start))) continue;
      whole_ = end;
      return;
    }
  }

  void send_whole() {
    if (whole_ == 0) return;
    std::string batch = std::exchange(text_, text_.substr(whole_));
    batch.resize(std::exchange(whole_, 0));
    const int64_t first_line = std::exchange(next_line_, in_.number() + 1 - std::ranges::count(text_, '\n'));
    jobs_->add({std::move(batch), first_line});  // throws what an earlier job threw
  }

  void go_alone() {
    send_whole();
    jobs_->finish();
    is_alone_ = true;
    take_alone(std::exchange(text_, {}));
  }

  // Returns what stands behind the long sentence, which is for the threads again.
  std::string_view take_alone(std::string_view lines) {
    while (is_alone_ && !lines.empty()) {
      const std::string_view line = first_line(lines);
      alone_line(line, next_line_++);
      lines.remove_prefix(line.size());
      is_alone_ = !jobs_ || !alone_.ends_sentence(line);
    }
    take_(alone_.take_result(), lines.empty() && in_.would_wait());
    return lines;
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
  std::string text_;                          // lines that wait
  size_t whole_ = 0;                          // bytes of them that are whole sentences
  int64_t next_line_ = 1;                     // number of the first of them
  std::optional<OrderedJobs<batch_t>> jobs_;  // without it all is done by alone_
};

}  // namespace orvelle
