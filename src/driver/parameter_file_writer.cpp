#include <cstdio>

#include "affix/affix_section.h"
#include "context/tree_func.h"
#include "driver/parameter_file.h"
#include "driver/settings.h"
#include "lexicon/lexicon_section.h"
#include "support/binary_output.h"
#include "support/errors.h"
#include "support/files.h"

namespace orvelle {

namespace {

void write_header(FILE* file) {
  BinaryOutput out(file);
  out.value(Parameter_File_Mark);
  out.value(UTF8_Processing);
  out.flush();
}

}  // namespace

void write_parameter_file(const char* name, const node_t* root) {
  FILE* file = open_binary_output(name, nullptr);
  write_header(file);
  write_fullex(file);
  write_affixlex(file);
  write_tree(root, file);
  // What the system still held back may be what does not fit.
  if (std::fclose(file) != 0) error("Can't write to output file");
}

}  // namespace orvelle
