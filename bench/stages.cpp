// SPDX-License-Identifier: MIT
// Where the time of a training goes: runs it as train-orvelle does and stops the clock at each message that
// begins a stage. Prints a line a stage: milliseconds of processor time, TAB, the stage's message.
//
//   bench_stages [options as for train-orvelle] LEXICON OPEN-CLASSES CORPUS PARAMETER-FILE
#include <cstdio>
#include <ctime>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "commands/heap.h"
#include "commands/train_command_line.h"
#include "support/errors.h"
#include "training/train.h"

using namespace orvelle;

namespace {

// Stage messages begin with a TAB and end with dots.
class StageClock {
 public:
  void note(std::string_view message) {
    const size_t first = message.find_first_not_of("\t"), last = message.find(" ...\n");
    if (message.starts_with('\t') && last != message.npos)
      stages_.emplace_back(message.substr(first, last - first), std::clock());
  }

  void print() {
    stages_.emplace_back("", std::clock());
    for (size_t i = 0; i + 1 < stages_.size(); ++i)
      std::printf("%.3f\t%s\n",
                  1e3 * static_cast<double>(stages_[i + 1].second - stages_[i].second) / CLOCKS_PER_SEC,
                  stages_[i].first.c_str());
  }

 private:
  std::vector<std::pair<std::string, std::clock_t>> stages_;  // message and start
};

}  // namespace

int main(int argc, char* argv[]) {
  return exit_status([&] {
    take_large_pieces();
    const command_line_t line = parse_command_line(argc, argv);
    StageClock clock;
    const Progress progress = [&clock](std::string_view text) { clock.note(text); };
    const TrainedModel trained = train(line.inputs(), line.settings, progress);
    progress("\tsaving parameters ...\n");
    write_parameter_file(line.Output_File_Name, trained, progress);
    clock.print();
    return 0;
  });
}
