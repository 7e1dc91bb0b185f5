// SPDX-License-Identifier: MIT
// Counts that are stored as 32-bit numbers.
#pragma once

#include <climits>
#include <cstddef>
#include <string>

#include "support/errors.h"

namespace orvelle {

// The count as an int; error("Too many <what>") if it is none.
inline int int_count(size_t count, const char* what) {
  if (count > INT_MAX) error(std::string("Too many ") + what);
  return static_cast<int>(count);
}

}  // namespace orvelle
