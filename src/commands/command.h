// SPDX-License-Identifier: MIT
// A subcommand of the program `orvelle`, and how it reads its arguments.
//
//   constexpr option_t Options[] = {{"word", "FORM"}, {"all", nullptr}};
//
//   int show_command(const CommandLine& line, Remarks&) {    "orvelle show --word light sample.par"
//     if (line.has("all")) ...
//     read_parameter_file(line.operands()[0]);
//   }
//   const command_t Show_Command = {"show", "what is in a parameter file", Help, Options, 1, 1, show_command};
//
// Exit statuses: 0 for a job done, 1 for one that failed (or a judgement that came out bad, where the command
// gives one), 2 for misuse.
#pragma once

#include <cstdint>
#include <initializer_list>
#include <span>
#include <string>
#include <string_view>
#include <vector>

#include "commands/remarks.h"

namespace orvelle {

struct option_t {
  const char* name;   // without the leading "--"
  const char* value;  // what its value is called in messages; null for an option without one
};

// Options that several commands take, and what their help says of them.
struct option_group_t {
  std::span<const option_t> options;
  const char* help;
};

class CommandLine;

struct command_t {
  const char* name;
  const char* summary;  // one line, for the list of commands
  const char* help;     // what --help prints: usage, description, options; ends in a line end
  std::span<const option_t> options;
  int least, most;                                        // operands; `most` below 0: no limit
  int (*run)(const CommandLine& line, Remarks& remarks);  // returns the exit status
  const option_group_t* group = nullptr;                  // that it takes as well
};

// Each in <name>_command.cpp.
extern const command_t Train_Command;
extern const command_t Prepare_Command;
extern const command_t Check_Command;
extern const command_t Tag_Command;
extern const command_t Evaluate_Command;
extern const command_t Tune_Command;
extern const command_t Show_Command;

// The arguments of a command, read as far as their form goes. Options are written --name VALUE or --name=VALUE and may
// stand anywhere; "--" ends them; "-" and all else are operands. Whatever is wrong is misuse.
class CommandLine {
 public:
  // argv[0] is the command's name.
  CommandLine(const command_t& command, int argc, char** argv);

  // --help or --version was met; nothing behind it was looked at.
  bool asks_for_help() const { return asks_for_help_; }
  bool asks_for_version() const { return asks_for_version_; }

  bool has(std::string_view name) const;

  // The value of the last occurrence, or `fallback`.
  const char* value(std::string_view name, const char* fallback) const;
  double number(std::string_view name, double fallback, double least, double most) const;
  int64_t integer(std::string_view name, int64_t fallback, int64_t least, int64_t most) const;
  // Its place in `choices`; an unknown value is misuse. Without the option the fallback's place.
  int choice(std::string_view name, int fallback, std::initializer_list<const char*> choices) const;

  // Of all occurrences, in their order.
  std::vector<const char*> values(std::string_view name) const;

  const std::vector<const char*>& operands() const { return operands_; }

 private:
  struct given_t {
    const option_t* option;
    const char* value;
  };
  bool take_arguments(const command_t& command, int argc, char** argv);
  int take_option(const command_t& command, int argc, char** argv, int i);

  bool asks_for_help_ = false;
  bool asks_for_version_ = false;
  std::vector<given_t> given_;
  std::vector<const char*> operands_;
};

}  // namespace orvelle
