#include "support/files.h"

#include "support/errors.h"

namespace orvelle {

int64_t Line = 0;

namespace {

FILE* open_file(const char* name, FILE* fallback, const char* mode, const char* message) {
  if (name == nullptr && fallback != nullptr) return fallback;
  FILE* file = name != nullptr ? std::fopen(name, mode) : nullptr;
  if (file == nullptr) error2(message, name != nullptr ? name : "no file name");
  return file;
}

constexpr const char* Cannot_Read = "Can't open for reading";
constexpr const char* Cannot_Write = "Can't open for writing";

}  // namespace

FILE* open_input(const char* name, FILE* fallback) {
  Line = 0;
  return open_file(name, fallback, "rt", Cannot_Read);
}

FILE* open_output(const char* name, FILE* fallback) { return open_file(name, fallback, "wt", Cannot_Write); }

FILE* open_binary_input(const char* name, FILE* fallback) {
  Line = 0;
  return open_file(name, fallback, "rb", Cannot_Read);
}

FILE* open_binary_output(const char* name, FILE* fallback) {
  return open_file(name, fallback, "wb", Cannot_Write);
}

void close_file(FILE* file) {
  if (file != stdin && file != stdout && file != stderr) std::fclose(file);
}

}  // namespace orvelle
