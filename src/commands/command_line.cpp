// SPDX-License-Identifier: MIT
#include <cerrno>
#include <cstdlib>

#include "commands/command.h"
#include "support/errors.h"

namespace orvelle {

namespace {

const option_t& find_option(const command_t& command, std::string_view argument) {
  if (argument.starts_with("--")) {
    for (const option_t& option : command.options)
      if (argument.substr(2) == option.name) return option;
    if (command.group != nullptr)
      for (const option_t& option : command.group->options)
        if (argument.substr(2) == option.name) return option;
  }
  misuse("no such option: " + std::string(argument));
}

}  // namespace

CommandLine::CommandLine(const command_t& command, int argc, char** argv) {
  if (!take_arguments(command, argc, argv)) return;
  const int count = static_cast<int>(operands_.size());
  if (count < command.least) misuse(count == 0 ? "which file?" : "too few file names");
  if (command.most >= 0 && count > command.most)
    misuse(std::string("one file name too many: ") + operands_[command.most]);
}

// Returns whether there is work to do.
bool CommandLine::take_arguments(const command_t& command, int argc, char** argv) {
  bool are_options = true;
  for (int i = 1; i < argc; ++i) {
    const std::string_view argument = argv[i];
    if (!are_options || argument == "-" || !argument.starts_with('-')) {
      operands_.push_back(argv[i]);
    } else if (argument == "--") {
      are_options = false;
    } else {
      asks_for_help_ = argument == "--help" || argument == "-h";
      asks_for_version_ = argument == "--version";
      if (asks_for_help_ || asks_for_version_) return false;
      i = take_option(command, argc, argv, i);
    }
  }
  return true;
}

// Returns the index of the last argument that belongs to the option.
int CommandLine::take_option(const command_t& command, int argc, char** argv, int i) {
  const std::string_view argument = argv[i];
  const std::string_view name = argument.substr(0, argument.find('='));
  const option_t& option = find_option(command, name);
  const bool has_value = name.size() < argument.size();
  if (option.value == nullptr && has_value) misuse(formatted("--%s takes no value", option.name));
  if (option.value == nullptr || has_value) {
    given_.push_back({&option, has_value ? argv[i] + name.size() + 1 : nullptr});
    return i;
  }
  if (i + 1 == argc) misuse(formatted("--%s lacks its %s", option.name, option.value));
  given_.push_back({&option, argv[i + 1]});
  return i + 1;
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
    misuse(formatted("--%.*s takes a number from %g to %g, not '%s'", static_cast<int>(name.size()),
                     name.data(), least, most, text));
  return number;
}

int64_t CommandLine::integer(std::string_view name, int64_t fallback, int64_t least, int64_t most) const {
  const char* text = value(name, nullptr);
  if (text == nullptr) return fallback;
  char* end;
  errno = 0;
  const long long number = std::strtoll(text, &end, 10);
  if (end == text || *end != '\0' || errno != 0 || number < least || number > most)
    misuse(formatted("--%.*s takes a whole number from %lld to %lld, not '%s'", static_cast<int>(name.size()),
                     name.data(), static_cast<long long>(least), static_cast<long long>(most), text));
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
  misuse("--" + std::string(name) + " is one of " + list + ", not '" + text + "'");
}

}  // namespace orvelle
