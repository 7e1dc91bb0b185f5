// SPDX-License-Identifier: MIT
#include "commands/text_io.h"

#include <fcntl.h>
#include <poll.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <cstdarg>
#include <cstdio>
#include <cstring>
#include <span>

#include "commands/remarks.h"
#include "support/errors.h"

namespace orvelle {

namespace {

constexpr size_t Most_at_Once = 1 << 16;  // bytes that one read asks for

bool is_standard(const char* name) { return std::strcmp(name, "-") == 0; }

[[noreturn]] void stop_with_error_number(const char* what, const char* name) {
  stop(formatted("can't %s %s: %s", what, name, std::strerror(errno)));
}

}  // namespace

const char* shown_name(const char* name, const char* standard_stream) {
  return is_standard(name) ? standard_stream : name;
}

int64_t regular_size(int descriptor) {
  struct stat status;
  return fstat(descriptor, &status) == 0 && S_ISREG(status.st_mode) ? status.st_size : 0;
}

// ---- input

TextInput::TextInput(const char* name)
    : descriptor_(is_standard(name) ? STDIN_FILENO : open(name, O_RDONLY | O_CLOEXEC)),
      shown_name_(shown_name(name, "standard input")),
      capacity_(Most_at_Once),
      buffer_(std::make_unique_for_overwrite<char[]>(capacity_)) {
  if (descriptor_ < 0) stop_with_error_number("open", shown_name_);
  size_ = regular_size(descriptor_);
  look_for_compression();
  drop_byte_order_mark();
}

TextInput::~TextInput() {
  if (descriptor_ != STDIN_FILENO) ::close(descriptor_);
}

bool TextInput::fill() {
  if (next_ > 0) {
    std::memmove(buffer_.get(), buffer_.get() + next_, end_ - next_);
    end_ -= next_;
    scanned_ -= next_;
    next_ = 0;
  }
  if (end_ == capacity_) {
    auto larger = std::make_unique_for_overwrite<char[]>(2 * capacity_);
    std::memcpy(larger.get(), buffer_.get(), end_);
    buffer_ = std::move(larger);
    capacity_ *= 2;
  }
  const std::span<char> room(buffer_.get() + end_, std::min(capacity_ - end_, Most_at_Once));
  const size_t got = unpacker_ ? unpacker_->read(room) : read_raw(room);
  checksum_.add({room.data(), got});
  end_ += got;
  bytes_read_ += static_cast<int64_t>(got);
  return got > 0;
}

size_t TextInput::read_raw(std::span<char> room) {
  if (!raw_.empty()) {
    const size_t count = raw_.copy(room.data(), room.size());
    raw_.erase(0, count);
    return count;
  }
  ssize_t got;
  do got = read(descriptor_, room.data(), room.size());
  while (got < 0 && errno == EINTR);
  if (got < 0) stop_with_error_number("read", shown_name_);
  return static_cast<size_t>(got);
}

// Unpacks what is compressed.
void TextInput::look_for_compression() {
  const std::string_view beginning =
      look_ahead([](std::string_view text) { return !may_be_compressed(text); });
  const auto read = [this](std::span<char> room) { return read_raw(room); };
  unpacker_ = make_unpacker(beginning, read, shown_name_);
  if (!unpacker_) return;
  raw_ = beginning;
  size_ = bytes_read_ = 0;
  next_ = end_ = scanned_ = 0;
  checksum_ = {};
}

// Reads no further than it takes to tell.
void TextInput::drop_byte_order_mark() {
  constexpr std::string_view Mark = "\xEF\xBB\xBF";
  const auto can_tell = [&](std::string_view text) {
    return text.size() >= Mark.size() || !Mark.starts_with(text);
  };
  const std::string_view text = look_ahead(can_tell);
  if (text.starts_with("\xFF\xFE") || text.starts_with("\xFE\xFF"))
    stop(formatted("%s is UTF-16 text; convert it to UTF-8 (iconv -f UTF-16 -t UTF-8)", shown_name_));
  had_byte_order_mark_ = text.starts_with(Mark);
  if (had_byte_order_mark_) scanned_ = next_ = Mark.size();
}

std::string_view TextInput::take_until(size_t end) {
  const std::string_view text(buffer_.get() + next_, end - next_);
  scanned_ = next_ = end;
  return text;
}

// Up to the line end that `find` chooses; at the end of the file all that is left.
template <class Find>
std::string_view TextInput::take_lines(Find find) {
  do {
    const size_t newline = find(std::string_view(buffer_.get() + scanned_, end_ - scanned_));
    if (newline != std::string_view::npos) return take_until(scanned_ + newline + 1);
    scanned_ = end_;
  } while (fill());
  return take_until(end_);
}

bool TextInput::next() {
  line_ = take_lines([](std::string_view text) { return text.find('\n'); });
  if (line_.empty()) return false;
  line_.remove_suffix(line_.ends_with('\n'));
  ++number_;
  return true;
}

std::string_view TextInput::next_lines() {
  const std::string_view lines = take_lines([](std::string_view text) { return text.rfind('\n'); });
  number_ += std::ranges::count(lines, '\n') + (!lines.empty() && !lines.ends_with('\n'));
  return lines;
}

bool TextInput::would_wait() const {
  if (next_ < end_ && std::memchr(buffer_.get() + next_, '\n', end_ - next_) != nullptr) return false;
  pollfd ready{descriptor_, POLLIN, 0};
  return poll(&ready, 1, 0) == 0;
}

// ---- output

TextOutput::TextOutput(const char* name) : name_(shown_name(name, "standard output")) {
  if (!is_standard(name)) file_.emplace(name);
  descriptor_ = file_ ? file_->descriptor() : STDOUT_FILENO;
}

void TextOutput::print(const char* format, ...) {
  char text[512];
  va_list arguments;
  va_start(arguments, format);
  const int size = std::vsnprintf(text, sizeof text, format, arguments);
  va_end(arguments);
  if (size < static_cast<int>(sizeof text)) return put({text, static_cast<size_t>(size)});
  std::string longer(static_cast<size_t>(size), '\0');
  va_start(arguments, format);
  std::vsnprintf(longer.data(), longer.size() + 1, format, arguments);
  va_end(arguments);
  put(longer);
}

void TextOutput::flush() {
  for (std::string_view left = buffer_; !left.empty();) {
    const ssize_t written = write(descriptor_, left.data(), left.size());
    if (written >= 0) {
      left.remove_prefix(static_cast<size_t>(written));
    } else if (errno != EINTR) {
      buffer_.clear();
      stop_with_error_number("write", name_);
    }
  }
  buffer_.clear();
}

// Standard output is closed too: its last moment is now, and some file systems tell only then that the disk is full.
void TextOutput::close() {
  flush();
  if (file_)
    file_->commit();
  else if (::close(descriptor_) != 0)
    stop_with_error_number("write", name_);
}

}  // namespace orvelle
