// orvelle: everything around a parameter file but its training, as subcommands of one program.
#include <csignal>
#include <cstdio>
#include <new>
#include <stdexcept>
#include <string_view>

#include "commands/command.h"
#include "commands/text_io.h"
#include "support/errors.h"

using namespace orvelle;

namespace {

// In the order of the work: from a treebank to tagged text.
const command_t* const Commands[] = {&Prepare_Command, &Check_Command,    &Tune_Command,
                                     &Tag_Command,     &Evaluate_Command, &Show_Command};

const command_t* find_command(std::string_view name) {
  for (const command_t* command : Commands)
    if (name == command->name) return command;
  return nullptr;
}

int print_overview() {
  TextOutput out("-");
  out.put(
      "Usage: orvelle COMMAND [OPTION...] [FILE...]\n"
      "\n"
      "Prepares the training of a part-of-speech tagger and uses the parameter file that train-orvelle "
      "made.\n"
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

const command_t* command_named(std::string_view name) {
  const command_t* command = find_command(name);
  if (command == nullptr) misuse("no such command: %.*s", static_cast<int>(name.size()), name.data());
  return command;
}

int print_help(int argc, char** argv) {
  if (argc == 0) return print_overview();
  TextOutput out("-");
  out.put(command_named(argv[0])->help);
  out.close();
  return 0;
}

int run(int argc, char** argv) {
  if (argc < 2) misuse("which command?");
  const std::string_view first = argv[1];
  if (first == "--help" || first == "-h") return print_overview();
  if (first == "--version") return print_version();
  if (first == "help") return print_help(argc - 2, argv + 2);
  if (first.starts_with('-')) misuse("no such option: %s", argv[1]);
  Current_Command = command_named(first);
  return Current_Command->run(argc - 1, argv + 1);
}

}  // namespace

int main(int argc, char* argv[]) {
  // A reader that goes away early (`orvelle show --all FILE | head`) ends the program quietly, even where the
  // parent process ignores the signal.
  std::signal(SIGPIPE, SIG_DFL);
  install_space_error();
  try {
    return run(argc, argv);
  } catch (const std::length_error&) {  // a container asked for more than any memory could hold
    space_error();
  }
}
