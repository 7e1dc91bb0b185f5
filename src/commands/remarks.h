// SPDX-License-Identifier: MIT
// What the commands say on standard error: remarks, one line each, which begin with the command and, where there is
// one, the place ("orvelle prepare: corpus:12: ..."), and how they end early.
#pragma once

#include <chrono>
#include <cstdint>
#include <stdexcept>
#include <string>
#include <string_view>

namespace orvelle {

// The end of a command, for main to tell as a remark.
struct Failure : std::runtime_error {
  Failure(const std::string& text, int its_status) : std::runtime_error(text), status(its_status) {}
  int status;  // exit status: 1 for a failure, Misuse_Status for arguments that make no sense
};
inline constexpr int Misuse_Status = 2;

[[noreturn]] void stop(const std::string& text);
[[noreturn]] void stop_at(const char* file, int64_t line, const std::string& text);
[[noreturn]] void misuse(const std::string& text);

// A number and what it counts: "1 line", "2 lines".
std::string counted(int64_t number, const char* what);

class Remarks {
 public:
  explicit Remarks(const std::string& program) : program_(program) {}  // "orvelle prepare"

  void say(std::string_view text);
  void say_at(const char* file, int64_t line, const std::string& text);

  const std::string& program() const { return program_; }

 private:
  friend class ProgressLine;
  void clear_progress();

  std::string program_;
  bool progress_shown_ = false;  // a progress line stands on the terminal
};

// A line on standard error that tells how far long work has come, if standard error is a terminal; a remark takes its
// place and the end removes it.
class ProgressLine {
 public:
  ProgressLine(Remarks& remarks, const char* what);
  ~ProgressLine() { remarks_.clear_progress(); }
  ProgressLine(const ProgressLine&) = delete;
  ProgressLine& operator=(const ProgressLine&) = delete;

  // Shows done/total as a percentage, with the time to go, at most some times a second; `total` 0 shows the bare
  // count. Cheap enough for every thousandth line.
  void update(int64_t done, int64_t total);

  // Takes the line away until the next update, so that something else can be written.
  void clear() { remarks_.clear_progress(); }

 private:
  Remarks& remarks_;
  const char* what_;
  bool is_terminal_;
  std::chrono::steady_clock::time_point start_ = std::chrono::steady_clock::now(), last_shown_;
};

}  // namespace orvelle
