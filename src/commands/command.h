// A subcommand of the program `orvelle`, and how it reads its arguments.
//
//   const option_t Options[] = {{"word", "FORM"}, {"all", nullptr}};
//
//   int show_command(int argc, char** argv) {
//     const CommandLine line(argc, argv, Options, 1, 1);    "orvelle show --word light sample.par"
//     if (line.has("all")) ...
//     read_parameter_file(line.operands()[0]);
//   }
//   const command_t Show_Command = {"show", "what is in a parameter file", Help, show_command};
//
// Exit statuses: 0 for a job done, 1 for one that failed (or a judgement that came out bad, where the command
// gives one), 2 for misuse.
#pragma once

#include <cstdint>
#include <initializer_list>
#include <span>
#include <string_view>
#include <vector>

namespace orvelle {

struct command_t {
  const char* name;
  const char* summary;                // one line, for the list of commands
  const char* help;                   // what --help prints: usage, description, options; ends in a line end
  int (*run)(int argc, char** argv);  // argv[0] is the name; returns the exit status
};

// Each in <name>_command.cpp.
extern const command_t Prepare_Command;
extern const command_t Check_Command;
extern const command_t Tag_Command;
extern const command_t Evaluate_Command;
extern const command_t Tune_Command;
extern const command_t Show_Command;

// The command that runs; written by main before it calls `run`. Its name begins every remark.
extern const command_t* Current_Command;

// What --version prints, of the program and of each command; returns status 0.
int print_version();

// Prints a message and where help is to be found, and ends the process with status 2.
[[noreturn, gnu::format(printf, 1, 2)]] void misuse(const char* format, ...);

struct option_t {
  const char* name;   // without the leading "--"
  const char* value;  // what its value is called in messages; null for an option without one
};

// The arguments of a command, read as far as their form goes. Options are written --name VALUE or
// --name=VALUE and may stand anywhere; "--" ends them; "-" and all else are operands. --help prints the help
// to standard output, --version the version, and both end the process with status 0. Whatever is wrong ends it through
// misuse.
class CommandLine {
 public:
  // `most` below 0: no limit.
  CommandLine(int argc, char** argv, std::span<const option_t> options, int least, int most);

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
  int take_option(int argc, char** argv, int i, std::span<const option_t> options);

  std::vector<given_t> given_;
  std::vector<const char*> operands_;
};

}  // namespace orvelle
