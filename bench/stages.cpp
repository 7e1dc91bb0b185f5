// Where the time of a training goes: runs it as train-orvelle does and stops the clock at each message that
// begins a stage. Prints a line a stage: milliseconds of processor time, TAB, the stage's message.
//
//   bench_stages [options as for train-orvelle] LEXICON OPEN-CLASSES CORPUS PARAMETER-FILE
//
// The messages are caught in the process, so that they cost next to nothing; that needs the GNU C library.
#include <cstdio>
#include <ctime>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "context/tree_func.h"
#include "driver/command_line.h"
#include "driver/parameter_file.h"
#include "driver/settings.h"
#include "lexicon/make_lexicon.h"
#include "support/heap.h"

using namespace orvelle;

namespace {

std::vector<std::pair<std::string, std::clock_t>> Stages;  // message and start

// Stage messages begin with a TAB and end with dots.
ssize_t note_stage(void*, const char* text, size_t size) {
  const std::string_view message(text, size);
  const size_t first = message.find_first_not_of("\t"), last = message.find(" ...\n");
  if (message.starts_with('\t') && last != message.npos)
    Stages.emplace_back(message.substr(first, last - first), std::clock());
  return static_cast<ssize_t>(size);
}

}  // namespace

int main(int argc, char* argv[]) {
  take_large_pieces();
  parse_command_line(argc, argv);
  Quiet = 0;
  FILE* const screen = stderr;
  stderr = fopencookie(nullptr, "w", {nullptr, note_stage, nullptr, nullptr});
  std::setvbuf(stderr, nullptr, _IONBF, 0);
  make_lexicon(Input_File_Name, Lexicon_File_Name, Open_Class_File_Name);
  const node_t* root = make_tree(Input_File_Name);
  std::fputs("\tsaving parameters ...\n", stderr);
  write_parameter_file(Output_File_Name, root);
  Stages.emplace_back("", std::clock());
  stderr = screen;
  for (size_t i = 0; i + 1 < Stages.size(); ++i)
    std::printf("%.3f\t%s\n",
                1e3 * static_cast<double>(Stages[i + 1].second - Stages[i].second) / CLOCKS_PER_SEC,
                Stages[i].first.c_str());
}
