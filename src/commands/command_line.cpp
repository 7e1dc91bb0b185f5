#include <cerrno>
#include <cmath>
#include <cstdarg>
#include <cstdio>
#include <cstdlib>
#include <string>

#include "commands/command.h"
#include "commands/text_io.h"

namespace orvelle {

const command_t* Current_Command = nullptr;

void misuse(const char* format, ...) {
  const std::string program = Current_Command ? std::string("orvelle ") + Current_Command->name : "orvelle";
  std::fprintf(stderr, "%s: ", program.c_str());
  va_list arguments;
  va_start(arguments, format);
  std::vfprintf(stderr, format, arguments);
  va_end(arguments);
  std::fprintf(stderr, "\nTry '%s --help'.\n", program.c_str());
  std::exit(2);
}

int print_version() {
  TextOutput out("-");
  out.put("orvelle " ORVELLE_VERSION "\n");
  out.close();
  return 0;
}

CommandLine::CommandLine(int argc, char** argv, std::span<const option_t> options, int least, int most) {
  bool are_options = true;
  for (int i = 1; i < argc; ++i) {
    const std::string_view argument = argv[i];
    if (!are_options || argument == "-" || !argument.starts_with('-'))
      operands_.push_back(argv[i]);
    else if (argument == "--")
      are_options = false;
    else
      i = take_option(argc, argv, i, options);
  }
  const int count = static_cast<int>(operands_.size());
  if (count < least) misuse("%s", count == 0 ? "which file?" : "too few file names");
  if (most >= 0 && count > most) misuse("one file name too many: %s", operands_[most]);
}

// Returns the index of the last argument that belongs to the option.
int CommandLine::take_option(int argc, char** argv, int i, std::span<const option_t> options) {
  const std::string_view argument = argv[i];
  if (argument == "--help" || argument == "-h") {
    TextOutput out("-");
    out.put(Current_Command->help);
    out.close();
    std::exit(0);
  }
  if (argument == "--version") std::exit(print_version());
  const std::string_view name = argument.substr(0, argument.find('='));
  for (const option_t& option : options) {
    if (!name.starts_with("--") || name.substr(2) != option.name) continue;
    const bool has_value = name.size() < argument.size();
    if (option.value == nullptr && has_value) misuse("--%s takes no value", option.name);
    if (option.value == nullptr || has_value) {
      given_.push_back({&option, has_value ? argv[i] + name.size() + 1 : nullptr});
      return i;
    }
    if (i + 1 == argc) misuse("--%s lacks its %s", option.name, option.value);
    given_.push_back({&option, argv[i + 1]});
    return i + 1;
  }
  misuse("no such option: %.*s", static_cast<int>(name.size()), name.data());
}

std::vector<const char*> CommandLine::values(std::string_view name) const {
  std::vector<const char*> found;
  for (const given_t& given : given_)
    if (name == given.option->name) found.push_back(given.value);
  return found;
}

bool CommandLine::has(std::string_view name) const { return !values(name).empty(); }

const char* CommandLine::value(std::string_view name, const char* fallback) const {
  const std::vector<const char*> found = values(name);
  return found.empty() ? fallback : found.back();
}

double CommandLine::number(std::string_view name, double fallback, double least, double most) const {
  const char* text = value(name, nullptr);
  if (text == nullptr) return fallback;
  char* end;
  const double number = std::strtod(text, &end);
  if (end == text || *end != '\0' || !(number >= least && number <= most))
    misuse("--%.*s takes a number from %g to %g, not '%s'", static_cast<int>(name.size()), name.data(), least,
           most, text);
  return number;
}

int64_t CommandLine::integer(std::string_view name, int64_t fallback, int64_t least, int64_t most) const {
  const char* text = value(name, nullptr);
  if (text == nullptr) return fallback;
  char* end;
  errno = 0;
  const long long number = std::strtoll(text, &end, 10);
  if (end == text || *end != '\0' || errno != 0 || number < least || number > most)
    misuse("--%.*s takes a whole number from %lld to %lld, not '%s'", static_cast<int>(name.size()),
           name.data(), static_cast<long long>(least), static_cast<long long>(most), text);
  return number;
}

int CommandLine::choice(std::string_view name, int fallback,
                        std::initializer_list<const char*> choices) const {
  const char* text = value(name, nullptr);
  if (text == nullptr) return fallback;
  int place = 0;
  std::string list;
  for (const char* choice : choices) {
    if (std::string_view(choice) == text) return place;
    list += (place++ == 0 ? "" : ", ");
    list += choice;
  }
  misuse("--%.*s is one of %s, not '%s'", static_cast<int>(name.size()), name.data(), list.c_str(), text);
}

}  // namespace orvelle
