// Twin of parameter_file_writer.cpp: the same fields in the same order.
#include <new>

#include "affix/affix_section.h"
#include "context/context_section.h"
#include "driver/parameter_check.h"
#include "driver/parameter_file.h"
#include "driver/settings.h"
#include "lexicon/lexicon_section.h"
#include "support/binary_input.h"
#include "support/errors.h"
#include "support/files.h"

namespace orvelle {

namespace {

// Of the stream. Static, because the end of the run closes a stream that is still open.
char Buffer[1 << 16];

void read_header(FILE* file) {
  BinaryInput in(file);
  if (in.value<int32_t>() != Parameter_File_Mark) bad_parameter_file("first value, which must be 32");
  UTF8_Processing = in.count(1, "encoding flag");
}

void check_end(FILE* file) {
  if (std::getc(file) != EOF) bad_parameter_file("data behind the decision tree");
  if (std::ferror(file)) error2("Can't read from input file", Binary_Input_Name);
}

}  // namespace

void read_parameter_file(const char* name) try {
  FILE* const file = open_binary_input(name, nullptr);
  std::setvbuf(file, Buffer, _IOFBF, sizeof Buffer);
  Binary_Input_Name = name;
  read_header(file);
  read_fullex(file);
  read_affixlex(file);
  define_context_tree(read_tree(file));
  check_end(file);
  close_file(file);
  Binary_Input_Name = nullptr;
  check_parameters();
} catch (const std::bad_alloc&) {
  space_error();
}

}  // namespace orvelle
