#include "support/files.h"

#include "support/errors.h"

namespace orvelle {

namespace {

File open_file(const char* name, FILE* fallback, const char* mode, const char* message) {
  if (name == nullptr && fallback != nullptr) return File(fallback);
  File file(name != nullptr ? std::fopen(name, mode) : nullptr);
  if (file == nullptr) error2(message, name != nullptr ? name : "no file name");
  return file;
}

}  // namespace

File open_input(const char* name, FILE* fallback) {
  return open_file(name, fallback, "rt", "Can't open for reading");
}

File open_binary_input(const char* name, FILE* fallback) {
  return open_file(name, fallback, "rb", "Can't open for reading");
}

File open_binary_output(const char* name, FILE* fallback) {
  return open_file(name, fallback, "wb", "Can't open for writing");
}

void close_file(FILE* file) {
  if (file != stdin && file != stdout && file != stderr) std::fclose(file);
}

}  // namespace orvelle
