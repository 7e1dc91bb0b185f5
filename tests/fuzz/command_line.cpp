// SPDX-License-Identifier: MIT
// Command lines, an argument a line, as far as they are read before the work: the name of a command of orvelle
// first, or anything else for train-orvelle.
#include "commands/tagger_options.h"
#include "commands/train_command_line.h"
#include "commands/train_request.h"
#include "commands/treebank_options.h"
#include "fuzz/fuzz.h"

using namespace orvelle;
using namespace orvelle::fuzz;

namespace {

constexpr const command_t* Commands[] = {&Train_Command,   &Tag_Command,   &Evaluate_Command, &Show_Command,
                                         &Prepare_Command, &Check_Command, &Tune_Command};

void read_command(const command_t& command, int argc, char** argv) {
  const CommandLine line(command, argc, argv);
  if (line.asks_for_help() || line.asks_for_version()) return;
  require(static_cast<int>(line.operands().size()) >= command.least,
          "there are as many operands as it takes");
  if (&command == &Train_Command) parse_train_request(line);
  if (command.group == &Tagger_Group) tagger_options(line), jobs_option(line, 1), path_of(line.operands()[0]);
  if (command.group == &Treebank_Group) treebank_options(line);
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  std::string text(reinterpret_cast<const char*>(data), size);
  std::vector<char*> argv = {text.data()};
  for (char& c : text)
    if (c == '\n') c = '\0', argv.push_back(&c + 1);
  const int argc = static_cast<int>(argv.size());
  try {
    for (const command_t* command : Commands)
      if (std::string_view(argv[0]) == command->name) return read_command(*command, argc, argv.data()), 0;
    const command_line_t line = parse_command_line(argc, argv.data());
    require(!echo_line(line).empty() && line.Output_File_Name != nullptr,
            "a command line that is taken is whole");
  } catch (const Failure&) {
  } catch (const Error&) {
  }
  return 0;
}
