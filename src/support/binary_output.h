// SPDX-License-Identifier: MIT
// What writes parameter files. Values are written as their bytes in memory: two's complement and IEEE 754,
// little-endian, which the format prescribes and static assertions below demand of the platform.
#pragma once

#include <bit>
#include <cstddef>
#include <cstring>
#include <limits>
#include <memory>
#include <type_traits>

#include "support/checksum.h"
#include "support/files.h"

namespace orvelle {

static_assert(std::endian::native == std::endian::little, "the parameter file is little-endian");
static_assert(std::numeric_limits<double>::is_iec559 && std::numeric_limits<float>::is_iec559);
static_assert(sizeof(int) == 4 && sizeof(float) == 4 && sizeof(double) == 8);

// Collects small values and writes them in large pieces to the file of a name, which is emptied first. A write that does
// not complete, closing included, is error("Can't write to output file"). What was not written by close is lost.
//
// All pieces have Piece_Size bytes, so that each begins where a page of the file begins: a file of 621 MB took the system
// half the time that pieces of 64 KB at any place took. Larger pieces bring nothing more and leave the cache.
class BinaryOutput {
 public:
  explicit BinaryOutput(const char* name);
  // To an open file, from its position on; what is written goes into the checksum, if there is one.
  explicit BinaryOutput(File file, Checksum* checksum = nullptr);

  template <class T>
  void value(T x) {
    static_assert(std::is_arithmetic_v<T>);
    std::memcpy(place(sizeof x), &x, sizeof x);
  }

  // `count` values one behind the other.
  template <class T>
  void values(const T* first, size_t count) {
    bytes(first, count * sizeof(T));
  }

  // The bytes of `s` and its NUL.
  void string(const char* s) { bytes(s, std::strlen(s) + 1); }

  void bytes(const void* data, size_t size);

  static constexpr size_t Piece_Size = 1 << 18;
  static constexpr size_t Max_Place = 1 << 16;
  // `size` bytes of the buffer for the caller to fill at once. Requires: size is at most Max_Place.
  char* place(size_t size) {
    if (used_ >= Piece_Size) write(Piece_Size);
    char* start = buffer_.get() + used_;
    used_ += size;
    return start;
  }

  void flush() { write(used_); }  // writes what was collected
  // Writes the whole blocks of it, as a stream with a buffer does; the rest of a small file may wait for close, and with it
  // the message that the disk is full.
  void flush_blocks() { write(used_ - used_ % Block_Size); }
  void close();

 private:
  static constexpr size_t Block_Size = 1 << 12;
  void write(size_t size);  // the first of what was collected

  File file_;
  Checksum* checksum_;
  std::unique_ptr<char[]> buffer_;  // Piece_Size + Max_Place bytes
  size_t used_ = 0;                 // bytes
};

}  // namespace orvelle
