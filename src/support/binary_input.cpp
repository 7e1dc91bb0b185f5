// SPDX-License-Identifier: MIT
#include "support/binary_input.h"

#include <sys/stat.h>

#include <algorithm>

#include "support/errors.h"

namespace orvelle {

void bad_parameter_file(const char* what) { error2("in parameter file", what); }

BinaryInput::BinaryInput(const char* name)
    : file_(open_input(name)),
      name_(name),
      buffer_(std::make_unique_for_overwrite<char[]>(Buffer_Size)),
      next_(buffer_.get()),
      end_(buffer_.get()) {
  std::setvbuf(file_.get(), nullptr, _IONBF, 0);
  struct stat status;
  if (fstat(fileno(file_.get()), &status) == 0 && S_ISREG(status.st_mode))
    size_ = static_cast<size_t>(status.st_size);
}

BinaryInput::BinaryInput(std::span<const std::byte> content)
    : size_(content.size()),
      read_from_file_(content.size()),
      next_(reinterpret_cast<const char*>(content.data())),
      end_(next_ + content.size()) {}

int BinaryInput::count(int largest, const char* what) {
  const auto number = value<int32_t>();
  if (number < 0 || number > largest) bad_parameter_file(what);
  return number;
}

size_t BinaryInput::known_rest() const {
  const size_t handed_out = read_from_file_ - static_cast<size_t>(end_ - next_);
  return handed_out < size_ ? size_ - handed_out : 0;
}

size_t BinaryInput::reservable(int count, size_t least_size) const {
  return std::min<size_t>(count, known_rest() / least_size);
}

// More bytes than the buffer holds: those that it has, the rest from the file.
void BinaryInput::long_bytes(void* place, size_t size) {
  const auto held = static_cast<size_t>(end_ - next_);
  if (held > 0) std::memcpy(place, next_, held);
  next_ = end_;
  const size_t missing = size - held;
  if (missing < Buffer_Size) {
    fill();
    if (static_cast<size_t>(end_ - next_) < missing) error("Can't read from input file");
    std::memcpy(static_cast<char*>(place) + held, next_, missing);
    next_ += missing;
  } else if (read(static_cast<char*>(place) + held, missing) != missing) {
    error("Can't read from input file");
  }
}

std::string_view BinaryInput::inputs() {
  constexpr size_t Longest = Max_Line_Length + 1;  // with its NUL
  if (static_cast<size_t>(end_ - next_) < Longest) fill();
  const size_t window = std::min<size_t>(end_ - next_, Longest);
  const void* nul = window > 0 ? std::memchr(next_, '\0', window) : nullptr;
  if (nul == nullptr) error("while reading string from binary file");
  const char* start = next_;
  next_ = static_cast<const char*>(nul) + 1;
  return {start, static_cast<size_t>(next_ - start) - 1};
}

std::string_view BinaryInput::peek(size_t count) {
  if (static_cast<size_t>(end_ - next_) < count) fill();
  return {next_, std::min(count, static_cast<size_t>(end_ - next_))};
}

std::string BinaryInput::text(uint64_t size) {
  constexpr uint64_t Step = 1 << 20;  // bytes
  std::string result;
  result.reserve(static_cast<size_t>(std::min<uint64_t>(size, known_rest())));
  while (result.size() < size) {
    const size_t had = result.size();
    result.resize(had + static_cast<size_t>(std::min(Step, size - had)));
    bytes(result.data() + had, result.size() - had);
  }
  return result;
}

void BinaryInput::begin_checksum() { checksum_.emplace().add({next_, static_cast<size_t>(end_ - next_)}); }

bool BinaryInput::at_end() {
  if (next_ == end_) fill();
  return next_ == end_;
}

// Moves what is left to the front of the buffer and reads behind it.
void BinaryInput::fill() {
  if (file_ == nullptr) return;
  const auto left = static_cast<size_t>(end_ - next_);
  std::memmove(buffer_.get(), next_, left);
  next_ = buffer_.get();
  end_ = next_ + left + read(buffer_.get() + left, Buffer_Size - left);
}

size_t BinaryInput::read(char* place, size_t size) {
  if (file_ == nullptr) return 0;
  const size_t got = read_stream(place, size, file_.get());
  // A failing disk is no damaged file, nor the end of one: the message says which file could not be read.
  if (got < size && std::ferror(file_.get()) != 0) error2("Can't read from input file", name_);
  read_from_file_ += got;
  if (checksum_) checksum_->add({place, got});
  return got;
}

}  // namespace orvelle
