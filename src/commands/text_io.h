// What the subcommands read and write: text files and standard streams, line by line and checked.
#pragma once

#include <cstdint>
#include <memory>
#include <string>
#include <string_view>

namespace orvelle {

// The name of an input or output in messages: "standard input" for "-".
const char* shown_name(const char* name, const char* standard_stream);

// Bytes of an open file; 0 if it is no regular file.
int64_t regular_size(int descriptor);

// The lines of a file of any length, NULs and all. A line is there as soon as its end has arrived, so a pipe
// can be answered line by line. A file that cannot be opened or read is a Failure.
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

// A file, or standard output, written in large pieces. Every failing write is a Failure. What was neither flushed nor
// closed is lost, so that a command that fails leaves no end that looks whole.
class TextOutput {
 public:
  explicit TextOutput(const char* name);  // "-" for standard output; the name stays the caller's
  ~TextOutput();
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

}  // namespace orvelle
