// The one place that touches fread. Values lie in a parameter file as their bytes in memory, little-endian,
// without padding; the twin is binary_output.h.
//
// A parameter file may be cut short or damaged, so no count in it is believed: memory for counted values
// grows with the values that were really read, and a file of 60 bytes that announces 2^31 of them ends in a
// message.
#pragma once

#include <bit>
#include <cstddef>
#include <cstdint>
#include <cstdio>
#include <limits>
#include <string_view>
#include <type_traits>

#include "support/strings.h"

namespace orvelle {

static_assert(std::endian::native == std::endian::little, "the parameter file is little-endian");
static_assert(std::numeric_limits<double>::is_iec559 && std::numeric_limits<float>::is_iec559);

// Name of the parameter file that is being read, for the message of a read that fails (not one that meets the
// end of the file); null while it is not known. Written by read_parameter_file alone.
extern const char* Binary_Input_Name;

// The next string of a stream: its bytes up to a NUL. Returns a copy made with malloc, exactly one byte
// longer than the string, that the caller frees with free; leaves the stream behind the NUL. The end of the
// file (or a failing read) before the NUL, or more than Max_Line_Length bytes before it, ends the run through
// error with "while reading string from binary file".
char* inputs(FILE* file);

// Ends the run: error2("in parameter file", what). For values that no parameter file can hold.
[[noreturn]] void bad_parameter_file(const char* what);

// Reads values from the current position of a stream on, and nothing beyond them. A read that does not
// complete ends the run through error with "Can't read from input file", in a string as inputs does.
class BinaryInput {
 public:
  // The stream belongs to the caller and must outlive the object, which keeps it locked.
  explicit BinaryInput(FILE* file) : file_(file) { flockfile(file); }
  ~BinaryInput() { funlockfile(file_); }
  BinaryInput(const BinaryInput&) = delete;
  BinaryInput& operator=(const BinaryInput&) = delete;

  template <class T>
  T value() {
    static_assert(std::is_arithmetic_v<T>);
    T x;
    bytes(&x, sizeof x);
    return x;
  }

  // A 32-bit count; one that is negative or greater than `largest` ends the run, named by `what`.
  int count(int largest, const char* what);

  // How many of `count` items of at least `least_size` bytes the rest of the file can hold, as far as that is
  // known: a number that memory may be reserved for. 0 for a stream that is no regular file.
  size_t reservable(int count, size_t least_size);

  // `size` bytes. Requires: room for them, of a size that does not depend on an unchecked count.
  void bytes(void* place, size_t size);

  // The next string, without a copy. Valid until: the next call.
  std::string_view string();

 private:
  FILE* file_;
  char buffer_[Max_Line_Length + 1];
};

}  // namespace orvelle
