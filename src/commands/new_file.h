// SPDX-License-Identifier: MIT
// Outputs that harm nothing: a file gets its name only when it is complete.
#pragma once

#include <cstdint>
#include <span>
#include <string>

#include "support/files.h"

namespace orvelle {

// A file that is written beside the one it will replace. What is not committed leaves no trace, and what had the name
// stays as it is. A device, a pipe or a dangling link cannot be replaced: it is written at once. A file that cannot be
// made is a Failure.
class NewFile {
 public:
  explicit NewFile(const char* name);
  ~NewFile();
  NewFile(const NewFile&) = delete;
  NewFile& operator=(const NewFile&) = delete;

  // To write to; the object's own.
  int descriptor() const { return descriptor_; }

  // A stream to write to, from where the descriptor stands; a Failure if there can be none.
  File stream() const;

  int64_t size() const;  // bytes; a Failure if the system does not tell

  // All is written: closes the file and gives it its name. A failure of either is a Failure.
  void commit();

 private:
  bool open_beside();
  [[noreturn]] void stop_here() const;

  std::string name_;       // as in messages
  std::string target_;     // the file itself, behind links; "" if it is written at once
  std::string temporary_;  // its name so far; "" if it has none
  int descriptor_ = -1;
};

// Stops if an output is one of the inputs, whatever name it goes by; "-" is the standard output or input.
void require_other_file(const char* output, std::span<const char* const> inputs);

}  // namespace orvelle
