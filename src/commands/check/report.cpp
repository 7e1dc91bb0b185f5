// SPDX-License-Identifier: MIT
#include "commands/check/report.h"

#include <algorithm>

#include "commands/escape.h"
#include "support/errors.h"
#include "support/strings.h"

namespace orvelle {

Report::Report(TextOutput& out, bool all) : out_(out), limit_(all ? SIZE_MAX : 5) {}

void Report::add(const kind_t& kind, int64_t line, const std::string& text) {
  findings_t& findings = findings_[kind.place];
  findings.kind = &kind;
  ++findings.count;
  ++(kind.stops ? errors_ : warnings_);
  if (has_room(kind)) findings.texts.emplace_back(line, text);
}

void Report::print(const char* file_name) {
  const std::string file = shown(file_name);
  for (findings_t& findings : findings_) {
    if (findings.count == 0) continue;
    const char* const severity = findings.kind->stops ? "error" : "warning";
    for (const auto& [line, text] : findings.texts) {
      out_.put(file);
      if (line > 0) out_.print(":%lld", static_cast<long long>(line));
      out_.print(": %s: %s\n", severity, shown(text).c_str());
    }
    const int64_t more = findings.count - static_cast<int64_t>(findings.texts.size());
    if (more > 0)
      out_.print("%s: %s: %lld more %s\n", file.c_str(), severity, static_cast<long long>(more),
                 findings.kind->more);
    findings = {};
  }
  out_.flush();
}

void LineWatch::piece(std::string_view text) {
  ++pieces_;
  if (is_open_)
    continued_.push_back(pieces_);
  else
    begin_line(text);
  line_size_ += text.size();
  if (!has_nul_ && text.find('\0') != text.npos) {
    has_nul_ = true;
    report_.add(Line_With_Nul, lines_, "what follows the NUL is not read");
  }
  is_open_ = !text.ends_with('\n');
  bytes_ += static_cast<int64_t>(text.size());
  if (!is_open_) end_line();
}

int64_t LineWatch::line_of(int64_t piece) const {
  return piece - (std::upper_bound(continued_.begin(), continued_.end(), piece) - continued_.begin());
}

void LineWatch::end_line() {
  if (line_size_ > Max_Line_Length)
    report_.add(Line_Too_Long, lines_,
                formatted("%zu bytes are read as %zu lines", line_size_,
                          (line_size_ + Max_Line_Length - 1) / Max_Line_Length));
  line_size_ = 0;
}

void LineWatch::begin_line(std::string_view text) {
  ++lines_;
  has_nul_ = false;
  if (lines_ % 1000 == 0) progress_.update(bytes_, file_size_);
  if (lines_ == 1 && text.starts_with("\xEF\xBB\xBF"))
    report_.add(Byte_Order_Mark, lines_, "the byte-order mark becomes part of the first word form");
}

}  // namespace orvelle
