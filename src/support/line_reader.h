// SPDX-License-Identifier: MIT
// Reads a text file in lines as fgets with a buffer of 10,000 bytes would: a line is at most 9,999 bytes with its LF,
// and a longer one comes in several pieces, each a line of its own. The bytes of a line behind a NUL are not seen.
#pragma once

#include <cstdio>
#include <memory>
#include <span>
#include <string_view>

namespace orvelle {

// Sees every piece that is read, with its LF and whatever stands behind a NUL.
class PieceObserver {
 public:
  virtual ~PieceObserver() = default;
  virtual void piece(std::string_view text) = 0;
};

class LineReader {
 public:
  // Bytes behind the end of each line that may be read, whatever they are.
  static constexpr size_t Readable_Behind = 16;

  // Reads from the stream's position. `name` is for the message of a failed read: error2 with "Can't read from input
  // file" and the name. The stream stays the caller's, as does the name.
  LineReader(FILE* file, const char* name, PieceObserver* observer = nullptr);

  // Reads text in memory, which stays the caller's and must outlive the reader.
  explicit LineReader(std::string_view text, PieceObserver* observer = nullptr);

  // The next line with its LF, up to its first NUL; its data is null at the end of the file. Valid until: the next
  // call.
  std::string_view next() { return show(next_piece()); }

  // Fills `lines` with the next lines, as next gives them, as far as they are at hand; returns how many there are, 0 at
  // the end of the file. Valid until: the next call.
  size_t next_lines(std::span<std::string_view> lines);

  // The line that next gave last, as a NUL-terminated string that may be split in place. Valid until: the next call of
  // next.
  char* terminated();

 private:
  // What is handed out of a piece. Called once for each.
  std::string_view show(std::string_view piece) const { return is_plain_ ? piece : show_other(piece); }
  std::string_view show_other(std::string_view piece) const;
  std::string_view next_piece();
  bool take_piece();
  void fill();
  size_t read(char* place, size_t size);

  static constexpr size_t Buffer_Size = 1 << 18;  // bytes; beyond that a larger buffer gains nothing

  FILE* file_ = nullptr;  // null for text in memory
  const char* name_ = nullptr;
  std::string_view text_;  // in memory: what was not read yet
  PieceObserver* observer_;
  std::unique_ptr<char[]> buffer_;  // Buffer_Size bytes and those that may be read behind them
  char* next_;                      // first byte not handed out yet
  char* end_;                       // end of what was read
  bool at_end_ = false;             // nothing is left behind end_
  bool is_plain_ = false;           // no NUL stands in the buffer, and nobody observes
  char saved_ = '\0';               // what stood where terminated wrote its NUL
  bool is_terminated_ = false;
  std::string_view line_;  // what next_piece gave last
};

}  // namespace orvelle
