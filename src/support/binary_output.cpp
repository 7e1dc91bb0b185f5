// SPDX-License-Identifier: MIT
#include "support/binary_output.h"

#include <utility>

#include "support/errors.h"

namespace orvelle {

namespace {

[[noreturn]] void cannot_write() { error("Can't write to output file"); }

}  // namespace

BinaryOutput::BinaryOutput(const char* name) : BinaryOutput(open_output(name)) {}

BinaryOutput::BinaryOutput(File file, Checksum* checksum)
    : file_(std::move(file)),
      checksum_(checksum),
      buffer_(std::make_unique_for_overwrite<char[]>(Buffer_Size)) {}

void BinaryOutput::bytes(const void* data, size_t size) {
  if (size == 0) return;
  if (size > Buffer_Size) {
    flush();
    write(data, size);
    return;
  }
  std::memcpy(place(size), data, size);
}

// What the system still held back may be what does not fit.
void BinaryOutput::close() {
  flush();
  if (std::fclose(file_.release()) != 0) cannot_write();
}

void BinaryOutput::flush() {
  write(buffer_.get(), used_);
  used_ = 0;
}

void BinaryOutput::write(const void* data, size_t size) {
  if (std::fwrite(data, 1, size, file_.get()) != size) cannot_write();
  if (checksum_ != nullptr) checksum_->add({static_cast<const char*>(data), size});
}

}  // namespace orvelle
