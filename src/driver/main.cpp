// train-orvelle: from a full-form lexicon, a list of open-class tags and a tagged corpus to a parameter file.
#include <cstdio>
#include <new>
#include <stdexcept>

#include "context/tree_func.h"
#include "driver/command_line.h"
#include "driver/parameter_file.h"
#include "driver/settings.h"
#include "lexicon/make_lexicon.h"
#include "support/errors.h"
#include "support/heap.h"

using namespace orvelle;

namespace {

void train() {
  make_lexicon(Input_File_Name, Lexicon_File_Name, Open_Class_File_Name);
  const node_t* root = make_tree(Input_File_Name);
  if (!Quiet) std::fputs("\tsaving parameters ...\n", stderr);
  write_parameter_file(Output_File_Name, root);
  if (!Quiet) std::fputs("\ndone.\n", stderr);
}

}  // namespace

int main(int argc, char* argv[]) {
  install_space_error();
  take_large_pieces();
  parse_command_line(argc, argv);
  echo_command_line();
  try {
    train();
  } catch (const std::length_error&) {  // a container asked for more than any memory could hold
    space_error();
  } catch (const std::bad_alloc&) {  // likewise an array, which the handler of failing allocations never sees
    space_error();
  }
}
