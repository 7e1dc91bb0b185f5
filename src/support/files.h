// Opening of the standard I/O streams that every reader and writer works on.
#pragma once

#include <cstdio>
#include <memory>

namespace orvelle {

// Closes a stream, unless it is one of the three standard streams.
void close_file(FILE* file);

struct file_closer_t {
  void operator()(FILE* file) const { close_file(file); }
};
using File = std::unique_ptr<FILE, file_closer_t>;

// An open stream, or error2 with "Can't open for reading" (or "writing") and the name. A null `name` selects
// `fallback`, which is returned unopened.
File open_input(const char* name, FILE* fallback);
File open_binary_input(const char* name, FILE* fallback);
File open_binary_output(const char* name, FILE* fallback);

}  // namespace orvelle
