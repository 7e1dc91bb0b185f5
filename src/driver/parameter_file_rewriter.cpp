#include "affix/affix_section.h"
#include "context/context_section.h"
#include "driver/parameter_file.h"
#include "driver/settings.h"
#include "lexicon/lexicon_section.h"
#include "support/binary_output.h"
#include "support/errors.h"
#include "support/files.h"

namespace orvelle {

void rewrite_parameter_file(const char* name) {
  FILE* const file = open_binary_output(name, nullptr);
  BinaryOutput header(file);
  header.value(Parameter_File_Mark);
  header.value(int32_t{UTF8_Processing});
  header.flush();
  write_fullex(file);
  write_affixlex(file);
  write_tree(Context_Tree, file);
  if (std::fclose(file) != 0) error("Can't write to output file");
}

}  // namespace orvelle
