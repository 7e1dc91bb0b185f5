#include "support/binary_input.h"

#include <sys/stat.h>

#include <algorithm>

#include "support/errors.h"

namespace orvelle {

const char* Binary_Input_Name = nullptr;

namespace {

// A failing disk is no damaged file: where the name is known, the message says which file could not be read.
[[noreturn]] void short_read(FILE* file, const char* message) {
  if (std::ferror(file) && Binary_Input_Name != nullptr)
    error2("Can't read from input file", Binary_Input_Name);
  error(message);
}

}  // namespace

char* inputs(FILE* file) { return str_dup(BinaryInput(file).string().data()); }

void bad_parameter_file(const char* what) { error2("in parameter file", what); }

int BinaryInput::count(int largest, const char* what) {
  const auto number = value<int32_t>();
  if (number < 0 || number > largest) bad_parameter_file(what);
  return number;
}

size_t BinaryInput::reservable(int count, size_t least_size) {
  struct stat status;
  if (fstat(fileno(file_), &status) != 0 || !S_ISREG(status.st_mode)) return 0;
  const off_t left = status.st_size - ftello(file_);
  return left > 0 ? std::min<size_t>(count, left / least_size) : 0;
}

void BinaryInput::bytes(void* place, size_t size) {
  if (size > 0 && std::fread(place, 1, size, file_) != size) short_read(file_, "Can't read from input file");
}

// getc_unlocked compiles to a fetch from the stream's buffer; with getc, which locks for every byte, loading
// a lexicon of 20 MB took twice as long.
std::string_view BinaryInput::string() {
  for (size_t length = 0; length < sizeof buffer_; ++length) {
    const int c = getc_unlocked(file_);
    if (c == EOF) break;
    buffer_[length] = static_cast<char>(c);
    if (c == '\0') return {buffer_, length};
  }
  short_read(file_, "while reading string from binary file");
}

}  // namespace orvelle
