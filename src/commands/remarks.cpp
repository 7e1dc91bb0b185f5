// SPDX-License-Identifier: MIT
#include "commands/remarks.h"

#include <unistd.h>

#include <algorithm>
#include <chrono>
#include <cstdio>

namespace orvelle {

namespace {

std::string placed(const char* file, int64_t line, const std::string& text) {
  return std::string(file) + ":" + std::to_string(line) + ": " + text;
}

}  // namespace

void stop(const std::string& text) { throw Failure(text, 1); }
void stop_at(const char* file, int64_t line, const std::string& text) { stop(placed(file, line, text)); }
void misuse(const std::string& text) { throw Failure(text, Misuse_Status); }

std::string counted(int64_t number, const char* what) {
  return std::to_string(number) + " " + what + (number == 1 ? "" : "s");
}

void Remarks::say(std::string_view text) {
  clear_progress();
  std::fprintf(stderr, "%s: %.*s\n", program_.c_str(), static_cast<int>(text.size()), text.data());
}

void Remarks::say_at(const char* file, int64_t line, const std::string& text) {
  say(placed(file, line, text));
}

void Remarks::clear_progress() {
  if (progress_shown_) std::fputs("\r\033[K", stderr);
  progress_shown_ = false;
}

ProgressLine::ProgressLine(Remarks& remarks, const char* what)
    : remarks_(remarks), what_(what), is_terminal_(isatty(STDERR_FILENO) == 1) {}

void ProgressLine::update(int64_t done, int64_t total) {
  if (!is_terminal_) return;
  const auto now = std::chrono::steady_clock::now().time_since_epoch();
  const int64_t milliseconds = std::chrono::duration_cast<std::chrono::milliseconds>(now).count();
  if (milliseconds - last_shown_ < 200) return;
  last_shown_ = milliseconds;
  if (total > 0) {
    constexpr int Width = 30;  // columns
    const int drawn = static_cast<int>(Width * std::min(done, total) / total);
    const std::string bar = std::string(drawn, '#') + std::string(Width - drawn, '.');
    std::fprintf(stderr, "\r%s [%s] %lld%%\033[K", what_, bar.c_str(),
                 static_cast<long long>(100 * done / total));
  } else {
    std::fprintf(stderr, "\r%s %lld\033[K", what_, static_cast<long long>(done));
  }
  remarks_.progress_shown_ = true;
}

}  // namespace orvelle
