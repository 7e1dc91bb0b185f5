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

}  // namespace

File open_input(const char* name) { return open_file(name, "rb", "Can't open for reading"); }

File open_output(const char* name) { return open_file(name, "wb", "Can't open for writing"); }

void file_closer_t::operator()(FILE* file) const {
  if (file != stdin && file != stdout && file != stderr) std::fclose(file);
}

}  // namespace orvelle
