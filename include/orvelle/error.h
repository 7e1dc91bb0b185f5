// SPDX-License-Identifier: MIT
// How the library reports what goes wrong.
#pragma once

#include <functional>
#include <stdexcept>
#include <string_view>

#include <orvelle/export.h>

namespace orvelle {

// Every failure of the library is thrown as an Error, but for memory that cannot be had, which is std::bad_alloc (or
// std::length_error) as everywhere. what() is the whole text that a program should print, line ends included, such as
// "\nERROR: Can't open for reading: english.par\naborted.\n". Nothing in the library ends the process.
class ORVELLE_API Error : public std::runtime_error {
 public:
  using std::runtime_error::runtime_error;
};

// Takes a warning, line ends included; the work goes on afterwards. Called in the thread that does the work. An empty one
// hears nothing.
using Warn = std::function<void(std::string_view text)>;

// What warns unless a caller gives something else.
ORVELLE_API void warn_on_standard_error(std::string_view text);

}  // namespace orvelle
