// SPDX-License-Identifier: MIT
// Compressed files, by the libraries that this program was built with.
#pragma once

#include <cstddef>
#include <functional>
#include <memory>
#include <span>
#include <string_view>

namespace orvelle {

// Gives the next bytes of a compressed file, at most as many as there is room for; 0 at its end.
using ReadRaw = std::function<size_t(std::span<char> room)>;

class Unpacker {
 public:
  virtual ~Unpacker() = default;

  // The next bytes of what was compressed, at most as many as there is room for; 0 at its end. A file that is damaged or
  // ends too early is a Failure.
  virtual size_t read(std::span<char> room) = 0;
};

// Whether more bytes are needed to tell.
bool may_be_compressed(std::string_view beginning);

// For a file that begins with these bytes; null if it is not compressed. A kind of compression that this program was not
// built for is a Failure. `name` is for messages and must outlive the object.
std::unique_ptr<Unpacker> make_unpacker(std::string_view beginning, ReadRaw read_raw, const char* name);

}  // namespace orvelle
