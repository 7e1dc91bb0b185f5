#include "support/binary_output.h"

#include "support/errors.h"

namespace orvelle {

BinaryOutput::BinaryOutput(FILE* file)
    : file_(file), buffer_(std::make_unique_for_overwrite<char[]>(Buffer_Size)) {}

void BinaryOutput::bytes(const void* data, size_t size) {
  if (size == 0) return;
  if (size > Buffer_Size) {
    write_buffer();
    write(data, size);
    return;
  }
  std::memcpy(place(size), data, size);
}

void BinaryOutput::flush() { write_buffer(); }

void BinaryOutput::write_buffer() {
  write(buffer_.get(), used_);
  used_ = 0;
}

void BinaryOutput::write(const void* data, size_t size) {
  if (std::fwrite(data, 1, size, file_) != size) error("Can't write to output file");
}

}  // namespace orvelle
