// SPDX-License-Identifier: MIT
// train-orvelle: from a full-form lexicon, a list of open-class tags and a tagged corpus to a parameter file.
#include "commands/heap.h"
#include "commands/standard_streams.h"
#include "commands/train_command_line.h"
#include "support/errors.h"
#include "training/train.h"

using namespace orvelle;

namespace {

int run(int argc, char* argv[]) {
  take_large_pieces();
  const command_line_t line = parse_command_line(argc, argv);
  const Progress progress = line.Quiet ? Progress() : warn_on_standard_error;
  if (progress) progress(echo_line(line));
  const TrainedModel trained = train(line.inputs(), line.settings, progress);
  if (progress) progress("\tsaving parameters ...\n");
  write_parameter_file(line.Output_File_Name, trained, progress);
  if (progress) progress("\ndone.\n");
  return 0;
}

}  // namespace

int main(int argc, char* argv[]) {
  tell_when_nothing_can_be_thrown();
  take_standard_descriptors();
  return exit_status([&] { return run(argc, argv); });
}
