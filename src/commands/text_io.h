// SPDX-License-Identifier: MIT
// What the subcommands read and write: text files and standard streams, line by line and checked.
#pragma once

#include <cstdint>
#include <memory>
#include <optional>
#include <span>
#include <string>
#include <string_view>

#include "commands/new_file.h"
#include "commands/unpack.h"
#include "support/checksum.h"

namespace orvelle {

// The name of an input or output in messages: "standard input" for "-".
const char* shown_name(const char* name, const char* standard_stream);

// Bytes of an open file; 0 if it is no regular file.
int64_t regular_size(int descriptor);

// The lines of a file of any length, NULs and all; of a compressed file (unpack.h) those that are in it. A line is
// there as soon as its end has arrived, so a pipe can be answered line by line. A file that cannot be opened or read
// is a Failure.
class TextInput {
 public:
  explicit TextInput(const char* name);  // "-" for standard input; the name stays the caller's
  ~TextInput();
  TextInput(const TextInput&) = delete;
  TextInput& operator=(const TextInput&) = delete;

  // Goes to the next line; false at the end of the file.
  bool next();
  // Goes behind all whole lines that are at hand, after waiting for one, and returns them with their LFs, which only the
  // last line of the file may lack; empty at the end of the file. Valid until: the next call of either.
  std::string_view next_lines();

  // The line without its LF; a CR stays. Valid until: next.
  std::string_view line() const { return line_; }
  int64_t number() const { return number_; }  // of the last line gone to, from 1

  // What was not taken yet, so much of it that `is_enough` holds of it, or all there is, up to a megabyte. Valid until:
  // next.
  template <class Enough>
  std::string_view look_ahead(Enough is_enough) {
    constexpr size_t Most = 1 << 20;  // bytes
    while (end_ - next_ < Most && !is_enough(std::string_view(buffer_.get() + next_, end_ - next_)) && fill())
      continue;
    return {buffer_.get() + next_, end_ - next_};
  }

  // The file began with a byte-order mark, which is not part of the first line.
  bool had_byte_order_mark() const { return had_byte_order_mark_; }

  // Of what was read so far.
  uint64_t checksum() const { return checksum_.value(); }

  // No line is at hand: next may wait for more input. The moment to flush what was written.
  bool would_wait() const;

  const char* name() const { return shown_name_; }
  int64_t size() const { return size_; }  // bytes of the file; 0 if it is no regular file
  int64_t bytes_read() const { return bytes_read_; }

 private:
  bool fill();  // false at the end of the file
  std::string_view take_until(size_t end);
  template <class Find>
  std::string_view take_lines(Find find);
  size_t read_raw(std::span<char> room);
  void look_for_compression();
  void drop_byte_order_mark();

  int descriptor_;
  const char* shown_name_;
  int64_t size_ = 0;
  int64_t bytes_read_ = 0;
  int64_t number_ = 0;
  size_t capacity_;
  std::unique_ptr<char[]> buffer_;
  size_t next_ = 0;  // what was not handed out yet: buffer_[next_] to buffer_[end_ - 1]
  size_t end_ = 0;
  size_t scanned_ = 0;                  // no LF stands between next_ and here
  std::unique_ptr<Unpacker> unpacker_;  // null for a file that is not compressed
  std::string raw_;                     // what was read of it to tell
  bool had_byte_order_mark_ = false;
  Checksum checksum_;
  std::string_view line_;
};

// A file, or standard output, written in large pieces. Every failing write is a Failure. A file gets its name when it is
// closed, and is nothing if it is not (new_file.h); of standard output what was neither flushed nor closed is lost.
class TextOutput {
 public:
  explicit TextOutput(const char* name);  // "-" for standard output; the name stays the caller's

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
  std::optional<NewFile> file_;                   // not for standard output
  int descriptor_;
  const char* name_;
  std::string buffer_;
};

}  // namespace orvelle
