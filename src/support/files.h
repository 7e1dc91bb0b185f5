// SPDX-License-Identifier: MIT
// Opening of the standard I/O streams that every reader and writer works on, and transfers that a signal does not end.
#pragma once

#include <cstddef>
#include <cstdio>
#include <memory>

namespace orvelle {

// Closes a stream, unless it is one of the three standard streams.
struct file_closer_t {
  void operator()(FILE* file) const;
};
using File = std::unique_ptr<FILE, file_closer_t>;

// As fopen opens it; null where that fails, but for want of memory, which is a space_error.
File open_stream(const char* name, const char* mode);

// An open stream; error2 with "Can't open for reading" (or "writing") and the name where it cannot be had.
File open_input(const char* name);
File open_output(const char* name);

// As std::fread, std::getc and std::fwrite, which take a call that a signal interrupted for an error; these go on. A stream
// that is written to must have no buffer: what lies in one is lost with the call.
size_t read_stream(void* place, size_t size, FILE* file);
int next_byte(FILE* file);
size_t write_stream(const void* data, size_t size, FILE* file);

}  // namespace orvelle
