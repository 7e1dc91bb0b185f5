// SPDX-License-Identifier: MIT
// The one family of functions that throw. A text is what a program prints: it has its own line ends.
#pragma once

#include <cstdio>
#include <exception>
#include <new>
#include <stdexcept>
#include <string>
#include <string_view>

#include <orvelle/error.h>

namespace orvelle {

// Error with "\nERROR: <message>\naborted.\n".
[[noreturn]] void error(std::string_view message);

// Error with "\nERROR: <message>: <detail>\naborted.\n".
[[noreturn]] void error2(std::string_view message, std::string_view detail);

// For a size that no memory could hold: what a failing allocation throws.
[[noreturn]] void space_error();

// Error with the text that `format` and its arguments (as for printf) give, as it stands: for the messages that have a
// wording of their own.
[[noreturn, gnu::format(printf, 1, 2)]] void fail(const char* format, ...);

// What `format` and its arguments (as for printf) give.
[[gnu::format(printf, 1, 2)]] std::string formatted(const char* format, ...);

// What an Error says, without the "ERROR: " before and the "aborted." behind it.
std::string message_of(const Error& failure);

// What a program prints when memory cannot be had.
inline constexpr const char Space_Error_Text[] = "\nERROR: Not enough memory\naborted.\n";

// The whole of a program's main: prints on standard error what `run` throws, and turns it into status 1.
template <class Run>
int exit_status(Run run) {
  try {
    return run();
  } catch (const Error& failure) {
    warn_on_standard_error(failure.what());
  } catch (const std::bad_alloc&) {
    warn_on_standard_error(Space_Error_Text);
  } catch (const std::length_error&) {  // a container asked for more than any memory could hold
    warn_on_standard_error(Space_Error_Text);
  } catch (const std::exception& failure) {  // of the standard library, such as a thread that cannot be had
    for (const char* part : {"\nERROR: ", failure.what(), "\naborted.\n"}) warn_on_standard_error(part);
  }
  return 1;
}

}  // namespace orvelle
