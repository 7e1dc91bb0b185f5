// SPDX-License-Identifier: MIT
// orvelle: everything around a parameter file but its training, as subcommands of one program.
#include <csignal>
#include <string_view>

#include "commands/command.h"
#include "commands/heap.h"
#include "commands/standard_streams.h"
#include "commands/text_io.h"
#include "support/errors.h"

using namespace orvelle;

namespace {

// The road of a treebank first, then the way through files of one's own.
const command_t* const Commands[] = {&Train_Command,   &Tag_Command,   &Evaluate_Command, &Show_Command,
                                     &Prepare_Command, &Check_Command, &Tune_Command};

const command_t* find_command(std::string_view name) {
  for (const command_t* command : Commands)
    if (name == command->name) return command;
  return nullptr;
}

const command_t& command_named(std::string_view name) {
  if (const command_t* command = find_command(name)) return *command;
  misuse("no such command: " + std::string(name));
}

int print_version() {
  TextOutput out("-");
  out.put("orvelle " ORVELLE_VERSION "\n");
  out.close();
  return 0;
}

int print_overview() {
  TextOutput out("-");
  out.put(
      "Usage: orvelle COMMAND [OPTION...] [FILE...]\n"
      "\n"
      "Trains part-of-speech taggers from treebanks, and tags text.\n"
      "\n");
  for (const command_t* command : Commands) out.print("  %-10s %s\n", command->name, command->summary);
  out.put(
      "\n"
      "  orvelle help COMMAND, orvelle COMMAND --help    what a command takes and does\n"
      "  orvelle --version                               the version\n"
      "\n"
      "A file name - stands for standard input or output. Status 0: done, 1: failed, 2: misused.\n");
  out.close();
  return 0;
}

int print_help(const command_t& command) {
  TextOutput out("-");
  out.put(command.help);
  if (command.group != nullptr) out.put(command.group->help);
  out.close();
  return 0;
}

int run_command(const command_t& command, int argc, char** argv, Remarks& remarks) {
  const CommandLine line(command, argc, argv);
  if (line.asks_for_help()) return print_help(command);
  if (line.asks_for_version()) return print_version();
  return command.run(line, remarks);
}

// What the program does without a command.
int run_alone(int argc, char** argv) {
  if (argc < 2) misuse("which command?");
  const std::string_view first = argv[1];
  if (first == "--help" || first == "-h") return print_overview();
  if (first == "--version") return print_version();
  if (first == "help") return argc == 2 ? print_overview() : print_help(command_named(argv[2]));
  if (first.starts_with('-')) misuse("no such option: " + std::string(first));
  misuse("no such command: " + std::string(first));
}

int run(int argc, char** argv) {
  const command_t* const command = argc > 1 ? find_command(argv[1]) : nullptr;
  Remarks remarks(command != nullptr ? std::string("orvelle ") + command->name : "orvelle");
  try {
    return command != nullptr ? run_command(*command, argc - 1, argv + 1, remarks) : run_alone(argc, argv);
  } catch (const Failure& failure) {
    remarks.say(failure.what());
    if (failure.status == Misuse_Status) warn_on_standard_error("Try '" + remarks.program() + " --help'.\n");
    return failure.status;
  } catch (const Error& failure) {
    remarks.say(message_of(failure));
    return 1;
  }
}

}  // namespace

int main(int argc, char* argv[]) {
  tell_when_nothing_can_be_thrown();
  take_standard_descriptors();
  take_large_pieces();
  // A reader that goes away early (`orvelle show --all FILE | head`) ends the program quietly, even where the
  // parent process ignores the signal.
  std::signal(SIGPIPE, SIG_DFL);
  return exit_status([&] { return run(argc, argv); });
}
