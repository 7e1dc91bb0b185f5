// SPDX-License-Identifier: MIT
// train-orvelle: from a full-form lexicon, a list of open-class tags and a tagged corpus to a parameter file.
#include <cstdio>
#include <string_view>

#include "commands/heap.h"
#include "commands/standard_streams.h"
#include "commands/train_command_line.h"
#include "support/errors.h"
#include "training/train.h"

using namespace orvelle;

namespace {

void print_on_standard_error(std::string_view text) { std::fwrite(text.data(), 1, text.size(), stderr); }

int run(int argc, char* argv[]) {
  take_large_pieces();
  const command_line_t line = parse_command_line(argc, argv);
  const Progress progress = line.Quiet ? Progress() : print_on_standard_error;
  if (progress) progress(echo_line(line));
  const TrainedModel trained = train(line.inputs(), line.settings, progress);
  if (progress) progress("\tsaving parameters ...\n");
  write_parameter_file(line.Output_File_Name, trained, progress);
  if (progress) progress("\ndone.\n");
  return 0;
}

}  // namespace

int main(int argc, char* argv[]) {
  take_standard_descriptors();
  return exit_status([&] { return run(argc, argv); });
}
