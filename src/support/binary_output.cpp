// SPDX-License-Identifier: MIT
#include "support/binary_output.h"

#include <algorithm>
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
      buffer_(std::make_unique_for_overwrite<char[]>(Piece_Size + Max_Place)) {
  std::setvbuf(file_.get(), nullptr, _IONBF, 0);
}

void BinaryOutput::bytes(const void* data, size_t size) {
  for (const char* from = static_cast<const char*>(data); size > 0;) {
    const size_t part = std::min(size, Max_Place);
    std::memcpy(place(part), from, part);
    from += part;
    size -= part;
  }
}

// What the system still held back may be what does not fit.
void BinaryOutput::close() {
  flush();
  if (std::fclose(file_.release()) != 0) cannot_write();
}

void BinaryOutput::write(size_t size) {
  if (write_stream(buffer_.get(), size, file_.get()) != size) cannot_write();
  if (checksum_ != nullptr) checksum_->add({buffer_.get(), size});
  used_ -= size;
  std::memmove(buffer_.get(), buffer_.get() + size, used_);
}

}  // namespace orvelle
