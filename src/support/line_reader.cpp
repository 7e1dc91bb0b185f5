// SPDX-License-Identifier: MIT
#include "support/line_reader.h"

#include <algorithm>
#include <cstring>

#include "support/errors.h"
#include "support/files.h"
#include "support/strings.h"

namespace orvelle {

LineReader::LineReader(std::string_view text, PieceObserver* observer)
    : text_(text),
      observer_(observer),
      buffer_(std::make_unique_for_overwrite<char[]>(Buffer_Size + Readable_Behind)),
      next_(buffer_.get()),
      end_(buffer_.get()) {}

LineReader::LineReader(FILE* file, const char* name, PieceObserver* observer)
    : LineReader(std::string_view(), observer) {
  file_ = file;
  name_ = name != nullptr ? name : "standard input";
}

std::string_view LineReader::next_piece() {
  if (is_terminated_) {
    *next_ = saved_;
    is_terminated_ = false;
  }
  while (!take_piece()) {
    if (at_end_) return line_ = {};
    fill();
  }
  return line_;
}

// Takes the next piece into line_ if it is whole in the buffer.
bool LineReader::take_piece() {
  const size_t window = std::min<size_t>(end_ - next_, Max_Line_Length);
  const void* newline = std::memchr(next_, '\n', window);
  if (newline == nullptr && window < Max_Line_Length && (!at_end_ || window == 0)) return false;
  char* start = next_;
  next_ = newline != nullptr ? static_cast<char*>(const_cast<void*>(newline)) + 1 : start + window;
  line_ = {start, static_cast<size_t>(next_ - start)};
  return true;
}

std::string_view LineReader::show_other(std::string_view piece) const {
  if (observer_ != nullptr && piece.data() != nullptr) observer_->piece(piece);
  return piece.substr(0, piece.find('\0'));
}

size_t LineReader::next_lines(std::span<std::string_view> lines) {
  lines[0] = next();
  if (lines[0].data() == nullptr) return 0;
  size_t count = 1;
  for (; count < lines.size() && take_piece(); ++count) lines[count] = show(line_);
  return count;
}

char* LineReader::terminated() {
  saved_ = *next_;
  is_terminated_ = true;
  *next_ = '\0';
  return const_cast<char*>(line_.data());
}

// Moves what is left to the front and reads behind it, until a whole piece is there or the file ends.
void LineReader::fill() {
  const size_t left = end_ - next_;
  std::memmove(buffer_.get(), next_, left);
  next_ = buffer_.get();
  const size_t got = read(next_ + left, Buffer_Size - left);
  if (got < Buffer_Size - left) {
    if (file_ != nullptr && std::ferror(file_)) error2("Can't read from input file", name_);
    at_end_ = true;
  }
  end_ = next_ + left + got;
  is_plain_ = observer_ == nullptr && std::memchr(next_, '\0', end_ - next_) == nullptr;
}

size_t LineReader::read(char* place, size_t size) {
  if (file_ != nullptr) return read_stream(place, size, file_);
  const size_t got = text_.copy(place, size);
  text_.remove_prefix(got);
  return got;
}

}  // namespace orvelle
