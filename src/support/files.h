// SPDX-License-Identifier: MIT
// Opening of the standard I/O streams that every reader and writer works on.
#pragma once

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

}  // namespace orvelle
