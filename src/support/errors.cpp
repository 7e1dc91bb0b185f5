#include "support/errors.h"

#include <cstdarg>
#include <cstdio>
#include <cstdlib>
#include <new>

namespace orvelle {

void error(const char* message) { fail("\nERROR: %s\naborted.\n", message); }

void error2(const char* message, const char* detail) { fail("\nERROR: %s: %s\naborted.\n", message, detail); }

void space_error() { error("Not enough memory"); }

void fail(const char* format, ...) {
  va_list arguments;
  va_start(arguments, format);
  std::vfprintf(stderr, format, arguments);
  va_end(arguments);
  std::exit(1);
}

void install_space_error() { std::set_new_handler(space_error); }

}  // namespace orvelle
