// SPDX-License-Identifier: MIT
// What reads parameter files. Values lie in a parameter file as their bytes in memory, little-endian,
// without padding; binary_output.h writes them.
//
// A parameter file may be cut short or damaged, so no count in it is believed: memory for counted values
// grows with the values that were really read, and a file of 60 bytes that announces 2^31 of them ends in a
// message.
#pragma once

#include <bit>
#include <cstddef>
#include <cstdint>
#include <cstring>
#include <limits>
#include <memory>
#include <optional>
#include <span>
#include <string>
#include <string_view>
#include <type_traits>

#include "support/checksum.h"
#include "support/files.h"
#include "support/strings.h"

namespace orvelle {

static_assert(std::endian::native == std::endian::little, "the parameter file is little-endian");
static_assert(std::numeric_limits<double>::is_iec559 && std::numeric_limits<float>::is_iec559);

// Throws error2("in parameter file", what). For values that no parameter file can hold.
[[noreturn]] void bad_parameter_file(const char* what);

// Reads values one behind the other. One that is cut short is error("Can't read from input file"), in a string
// error("while reading string from binary file"); a failing read is error2("Can't read from input file") with the name.
class BinaryInput {
 public:
  // Of the file of that name; error2("Can't open for reading") if it cannot be opened.
  explicit BinaryInput(const char* name);
  // Of bytes that belong to the caller and must outlive the object.
  explicit BinaryInput(std::span<const std::byte> content);

  template <class T>
  T value() {
    static_assert(std::is_arithmetic_v<T>);
    T x;
    bytes(&x, sizeof x);
    return x;
  }

  // A 32-bit count; one that is negative or greater than `largest` is a bad_parameter_file, named by `what`.
  int count(int largest, const char* what);

  // How many of `count` items of at least `least_size` bytes the rest of the input can hold, as far as that is
  // known: a number that memory may be reserved for. 0 for a file that is no regular file.
  size_t reservable(int count, size_t least_size) const;

  // `size` bytes. Requires: room for them, of a size that does not depend on an unchecked count.
  void bytes(void* place, size_t size) {
    if (static_cast<size_t>(end_ - next_) < size) return long_bytes(place, size);
    if (size == 0) return;  // the place may be null then
    std::memcpy(place, next_, size);
    next_ += size;
  }

  // The next string: its bytes up to a NUL, at most Max_Line_Length of them; the NUL stands behind it. Valid until:
  // the next call.
  std::string_view inputs();

  // The next bytes, `count` of them or all that are left, which are not taken yet. Requires: count is at most the length
  // of a string. Valid until: the next call.
  std::string_view peek(size_t count);

  // `size` bytes, which nobody has checked: memory grows with what is really there.
  std::string text(uint64_t size);

  // From here on a checksum of the input is formed. Requires: nothing was taken yet.
  void begin_checksum();
  // Whether the input ends in the checksum of all before. Requires: at_end.
  bool is_sealed() const { return checksum_ && checksum_->is_sealed(); }

  // Whether nothing is left.
  bool at_end();

 private:
  static constexpr size_t Buffer_Size = 1 << 16;  // bytes; more than the longest string

  size_t known_rest() const;  // bytes; 0 if it is not known
  void long_bytes(void* place, size_t size);
  void fill();
  size_t read(char* place, size_t size);

  File file_;  // null for bytes in memory
  std::string name_;
  size_t size_ = 0;                 // bytes of the whole input; 0 if it is not known
  size_t read_from_file_ = 0;       // bytes
  std::unique_ptr<char[]> buffer_;  // Buffer_Size bytes
  const char* next_ = nullptr;      // what was not handed out yet: next_ to end_
  const char* end_ = nullptr;
  std::optional<Checksum> checksum_;  // of what next_ to end_ ever held
};

}  // namespace orvelle
