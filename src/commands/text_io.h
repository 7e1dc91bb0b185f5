// What the subcommands read and write: text files and standard streams, line by line and checked, and
// remarks.
//
// Results go to standard output or to files, through TextOutput; everything else that is said goes to
// standard error, one line each, and begins with the command and, where there is one, the place: "orvelle
// check: corpus:12: ...".
#pragma once

#include <cstdint>
#include <memory>
#include <string>
#include <string_view>

namespace orvelle {

// The name of an input or output in messages: "standard input" for "-".
const char* shown_name(const char* name, const char* standard_stream);

// The text on one screen line: control bytes as \t, \r, \n or \xNN, and nothing behind the first 60 bytes or
// so.
std::string printable(std::string_view text);

// A line on standard error.
[[gnu::format(printf, 1, 2)]] void remark(const char* format, ...);
[[gnu::format(printf, 3, 4)]] void remark_at(const char* file, int64_t line, const char* format, ...);

// A remark, and the end of the process with status 1.
[[noreturn, gnu::format(printf, 1, 2)]] void stop(const char* format, ...);
[[noreturn, gnu::format(printf, 3, 4)]] void stop_at(const char* file, int64_t line, const char* format, ...);

// The lines of a file of any length, NULs and all. A line is there as soon as its end has arrived, so a pipe
// can be answered line by line. A file that cannot be opened or read ends the process through stop.
class TextInput {
 public:
  explicit TextInput(const char* name);  // "-" for standard input; the name stays the caller's
  ~TextInput();
  TextInput(const TextInput&) = delete;
  TextInput& operator=(const TextInput&) = delete;

  // Goes to the next line; false at the end of the file.
  bool next();

  // The line without its LF; a CR stays. Valid until: next.
  std::string_view line() const { return line_; }
  // The line with its LF, which only the last line may lack.
  std::string_view line_with_end() const { return {line_.data(), line_.size() + has_end_}; }
  int64_t number() const { return number_; }  // of the line, from 1

  // No line is at hand: next may wait for more input. The moment to flush what was written.
  bool would_wait() const;

  const char* name() const { return shown_name_; }
  int64_t size() const { return size_; }  // bytes of the file; 0 if it is no regular file
  int64_t bytes_read() const { return bytes_read_; }

 private:
  bool fill();  // false at the end of the file

  int descriptor_;
  const char* shown_name_;
  int64_t size_ = 0;
  int64_t bytes_read_ = 0;
  int64_t number_ = 0;
  size_t capacity_;
  std::unique_ptr<char[]> buffer_;
  size_t next_ = 0;  // what was not handed out yet: buffer_[next_] to buffer_[end_ - 1]
  size_t end_ = 0;
  size_t scanned_ = 0;  // no LF stands between next_ and here
  bool has_end_ = false;
  std::string_view line_;
};

// A file, or standard output, written in large pieces. Every failing write ends the process through stop.
class TextOutput {
 public:
  explicit TextOutput(const char* name);  // "-" for standard output; the name stays the caller's
  ~TextOutput();                          // writes what is left, without a check; call close
  TextOutput(const TextOutput&) = delete;
  TextOutput& operator=(const TextOutput&) = delete;

  void put(std::string_view text) {
    buffer_.append(text);
    if (buffer_.size() >= Buffer_Size) flush();
  }
  void put(char c) { put(std::string_view(&c, 1)); }
  [[gnu::format(printf, 2, 3)]] void print(const char* format, ...);

  void flush();
  void close();  // no more is written afterwards

 private:
  static constexpr size_t Buffer_Size = 1 << 16;  // bytes
  int descriptor_;
  const char* name_;
  std::string buffer_;
};

// A line on standard error that tells how far long work has come, if standard error is a terminal; a remark
// takes its place and the end removes it.
class ProgressLine {
 public:
  explicit ProgressLine(const char* what) : what_(what) {}
  ~ProgressLine() { clear(); }

  // Shows done/total as a percentage, at most some times a second; `total` 0 shows the bare count. Cheap
  // enough for every thousandth line.
  void update(int64_t done, int64_t total);
  static void clear();

 private:
  const char* what_;
  int64_t last_shown_ = 0;  // milliseconds
};

}  // namespace orvelle
