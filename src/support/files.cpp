// SPDX-License-Identifier: MIT
#include "support/files.h"

#include <cerrno>

#include "support/errors.h"

namespace orvelle {

File open_stream(const char* name, const char* mode) {
  File file(std::fopen(name, mode));
  if (file == nullptr && errno == ENOMEM) space_error();
  return file;
}

namespace {

File open_file(const char* name, const char* mode, const char* message) {
  File file = name != nullptr ? open_stream(name, mode) : nullptr;
  if (file == nullptr) error2(message, name != nullptr ? name : "no file name");
  return file;
}

// Takes an interruption back; false for any other error.
bool was_interrupted(FILE* file) {
  if (std::ferror(file) == 0 || errno != EINTR) return false;
  std::clearerr(file);
  return true;
}

}  // namespace

File open_input(const char* name) { return open_file(name, "rb", "Can't open for reading"); }

File open_output(const char* name) { return open_file(name, "wb", "Can't open for writing"); }

size_t read_stream(void* place, size_t size, FILE* file) {
  size_t got = 0;
  do got += std::fread(static_cast<char*>(place) + got, 1, size - got, file);
  while (got < size && was_interrupted(file));
  return got;
}

int next_byte(FILE* file) {
  int c = std::getc(file);
  while (c == EOF && was_interrupted(file)) c = std::getc(file);
  return c;
}

size_t write_stream(const void* data, size_t size, FILE* file) {
  size_t written = 0;
  do written += std::fwrite(static_cast<const char*>(data) + written, 1, size - written, file);
  while (written < size && was_interrupted(file));
  return written;
}

void file_closer_t::operator()(FILE* file) const {
  if (file != stdin && file != stdout && file != stderr) std::fclose(file);
}

}  // namespace orvelle
