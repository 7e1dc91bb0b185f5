// SPDX-License-Identifier: MIT
#include "commands/remarks.h"

#include <unistd.h>

#include <algorithm>
#include <chrono>
#include <cstdio>

#include "commands/escape.h"
#include "support/errors.h"

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
  warn_on_standard_error(program_ + ": " + shown(text) + "\n");
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
  using std::chrono::duration_cast, std::chrono::milliseconds, std::chrono::seconds;
  const auto now = std::chrono::steady_clock::now();
  if (now - last_shown_ < milliseconds(200)) return;
  last_shown_ = now;
  if (total > 0) {
    constexpr int Width = 30;  // columns
    done = std::min(done, total);
    const auto drawn = static_cast<size_t>(Width * done / total);
    std::fprintf(stderr, "\r%s [%s%s] %d%%", what_, std::string(drawn, '#').c_str(),
                 std::string(Width - drawn, '.').c_str(), static_cast<int>(100 * done / total));
    const auto left =
        duration_cast<seconds>((now - start_) * (total - done) / std::max<int64_t>(done, 1)).count();
    if (now - start_ > seconds(3) && done > 0)
      std::fprintf(stderr, " %lld:%02d to go", static_cast<long long>(left / 60),
                   static_cast<int>(left % 60));
    std::fputs("\033[K", stderr);
  } else {
    std::fprintf(stderr, "\r%s %lld\033[K", what_, static_cast<long long>(done));
  }
  remarks_.progress_shown_ = true;
}

}  // namespace orvelle
