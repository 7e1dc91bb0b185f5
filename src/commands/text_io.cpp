#include "commands/text_io.h"

#include <fcntl.h>
#include <poll.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <chrono>
#include <cstdarg>
#include <cstdio>
#include <cstdlib>
#include <cstring>

#include "commands/command.h"

namespace orvelle {

// ---- remarks

namespace {

bool Progress_Shown = false;  // a progress line stands on the terminal

// `file` null: no place.
void write_remark(const char* file, int64_t line, const char* format, va_list arguments) {
  ProgressLine::clear();
  std::fputs("orvelle", stderr);
  if (Current_Command != nullptr) std::fprintf(stderr, " %s", Current_Command->name);
  std::fputs(": ", stderr);
  if (file != nullptr) std::fprintf(stderr, "%s:%lld: ", file, static_cast<long long>(line));
  std::vfprintf(stderr, format, arguments);
  std::fputc('\n', stderr);
}

bool is_standard(const char* name) { return std::strcmp(name, "-") == 0; }

}  // namespace

const char* shown_name(const char* name, const char* standard_stream) {
  return is_standard(name) ? standard_stream : name;
}

std::string printable(std::string_view text) {
  constexpr size_t Most = 60;
  std::string shown;
  for (size_t i = 0; i < text.size(); ++i) {
    const unsigned char c = static_cast<unsigned char>(text[i]);
    if (i >= Most && (c & 0xC0) != 0x80) return shown + "...";  // not inside a UTF-8 character
    if (i >= Most + 8) return shown + "...";
    char code[5];
    std::snprintf(code, sizeof code, "\\x%02x", c);
    if (c == '\t')
      shown += "\\t";
    else if (c == '\r')
      shown += "\\r";
    else if (c == '\n')
      shown += "\\n";
    else if (c < ' ' || c == 0x7F)
      shown += code;
    else
      shown += static_cast<char>(c);
  }
  return shown;
}

void remark(const char* format, ...) {
  va_list arguments;
  va_start(arguments, format);
  write_remark(nullptr, 0, format, arguments);
  va_end(arguments);
}

void remark_at(const char* file, int64_t line, const char* format, ...) {
  va_list arguments;
  va_start(arguments, format);
  write_remark(file, line, format, arguments);
  va_end(arguments);
}

void stop(const char* format, ...) {
  va_list arguments;
  va_start(arguments, format);
  write_remark(nullptr, 0, format, arguments);
  va_end(arguments);
  std::exit(1);
}

void stop_at(const char* file, int64_t line, const char* format, ...) {
  va_list arguments;
  va_start(arguments, format);
  write_remark(file, line, format, arguments);
  va_end(arguments);
  std::exit(1);
}

// ---- input

TextInput::TextInput(const char* name)
    : descriptor_(is_standard(name) ? STDIN_FILENO : open(name, O_RDONLY | O_CLOEXEC)),
      shown_name_(shown_name(name, "standard input")),
      capacity_(1 << 16),
      buffer_(std::make_unique_for_overwrite<char[]>(capacity_)) {
  if (descriptor_ < 0) stop("can't open %s: %s", shown_name_, std::strerror(errno));
  struct stat status;
  if (fstat(descriptor_, &status) == 0 && S_ISREG(status.st_mode)) size_ = status.st_size;
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
  ssize_t got;
  do got = read(descriptor_, buffer_.get() + end_, capacity_ - end_);
  while (got < 0 && errno == EINTR);
  if (got < 0) stop("can't read %s: %s", shown_name_, std::strerror(errno));
  end_ += static_cast<size_t>(got);
  bytes_read_ += got;
  return got > 0;
}

bool TextInput::next() {
  for (;;) {
    const char* start = buffer_.get() + next_;
    const void* newline = std::memchr(buffer_.get() + scanned_, '\n', end_ - scanned_);
    if (newline != nullptr) {
      line_ = {start, static_cast<size_t>(static_cast<const char*>(newline) - start)};
      has_end_ = true;
      scanned_ = next_ += line_.size() + 1;
      break;
    }
    scanned_ = end_;
    if (fill()) continue;
    if (next_ == end_) return false;
    line_ = {buffer_.get() + next_, end_ - next_};
    has_end_ = false;
    scanned_ = next_ = end_;
    break;
  }
  ++number_;
  return true;
}

bool TextInput::would_wait() const {
  if (next_ < end_ && std::memchr(buffer_.get() + next_, '\n', end_ - next_) != nullptr) return false;
  pollfd ready{descriptor_, POLLIN, 0};
  return poll(&ready, 1, 0) == 0;
}

// ---- output

TextOutput::TextOutput(const char* name)
    : descriptor_(is_standard(name) ? STDOUT_FILENO
                                    : open(name, O_WRONLY | O_CREAT | O_TRUNC | O_CLOEXEC, 0666)),
      name_(shown_name(name, "standard output")) {
  if (descriptor_ < 0) stop("can't write %s: %s", name_, std::strerror(errno));
}

TextOutput::~TextOutput() {
  if (descriptor_ < 0) return;
  (void)!write(descriptor_, buffer_.data(), buffer_.size());
  if (descriptor_ != STDOUT_FILENO) ::close(descriptor_);
}

void TextOutput::print(const char* format, ...) {
  char text[512];
  va_list arguments, again;
  va_start(arguments, format);
  va_copy(again, arguments);
  const int size = std::vsnprintf(text, sizeof text, format, arguments);
  va_end(arguments);
  if (size < static_cast<int>(sizeof text)) {
    put({text, static_cast<size_t>(size)});
  } else {
    std::string longer(static_cast<size_t>(size), '\0');
    std::vsnprintf(longer.data(), longer.size() + 1, format, again);
    put(longer);
  }
  va_end(again);
}

void TextOutput::flush() {
  for (std::string_view left = buffer_; !left.empty();) {
    const ssize_t written = write(descriptor_, left.data(), left.size());
    if (written >= 0) {
      left.remove_prefix(static_cast<size_t>(written));
    } else if (errno != EINTR) {
      buffer_.clear();
      stop("can't write %s: %s", name_, std::strerror(errno));
    }
  }
  buffer_.clear();
}

void TextOutput::close() {
  flush();
  const int descriptor = descriptor_;
  descriptor_ = -1;
  // Some file systems tell only here that the disk is full. Standard output is closed too: its last moment is
  // now.
  if (::close(descriptor) != 0) stop("can't write %s: %s", name_, std::strerror(errno));
}

// ---- progress

void ProgressLine::update(int64_t done, int64_t total) {
  static const bool is_terminal = isatty(STDERR_FILENO) == 1;
  if (!is_terminal) return;
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
  Progress_Shown = true;
}

void ProgressLine::clear() {
  if (Progress_Shown) std::fputs("\r\033[K", stderr);
  Progress_Shown = false;
}

}  // namespace orvelle
