// SPDX-License-Identifier: MIT
#include "support/errors.h"

#include <cstdarg>

#include "support/files.h"

namespace orvelle {

namespace {

std::string formatted_list(const char* format, va_list arguments) {
  va_list again;
  va_copy(again, arguments);
  std::string text(static_cast<size_t>(std::vsnprintf(nullptr, 0, format, arguments)), '\0');
  std::vsnprintf(text.data(), text.size() + 1, format, again);
  va_end(again);
  return text;
}

}  // namespace

void error(std::string_view message) { throw Error("\nERROR: " + std::string(message) + "\naborted.\n"); }

void error2(std::string_view message, std::string_view detail) {
  error(std::string(message) + ": " + std::string(detail));
}

void space_error() { throw std::bad_alloc(); }

void fail(const char* format, ...) {
  va_list arguments;
  va_start(arguments, format);
  const std::string text = formatted_list(format, arguments);
  va_end(arguments);
  throw Error(text);
}

std::string formatted(const char* format, ...) {
  va_list arguments;
  va_start(arguments, format);
  std::string text = formatted_list(format, arguments);
  va_end(arguments);
  return text;
}

std::string message_of(const Error& failure) {
  std::string_view text = failure.what();
  const auto drop = [&text](std::string_view part) {
    if (text.starts_with(part)) text.remove_prefix(part.size());
  };
  drop("\n");
  drop("ERROR: ");
  drop("Error: ");
  text = text.substr(0, text.find("\naborted."));
  return std::string(text.substr(0, text.find_last_not_of('\n') + 1));
}

void warn_on_standard_error(std::string_view text) { write_stream(text.data(), text.size(), stderr); }

}  // namespace orvelle
