#include "lexicon/open_classes.h"

#include <cstdio>

#include "driver/settings.h"
#include "lexicon/tagset.h"
#include "support/errors.h"

namespace orvelle {

std::vector<char> Open_Class;

void read_open_classes(const char* name) {
  if (!Quiet) std::fputs("\t\treading the open class tags ...\n", stderr);
  FILE* file = std::fopen(name, "rt");
  if (file == nullptr) fail("Can't open open-class file: %s\n\n", name);
  Open_Class.assign(Number_of_Tags, 0);
  char tag[1000];
  while (std::fscanf(file, "%999s", tag) == 1) Open_Class[tag_number(tag)] = 1;
  std::fclose(file);
}

}  // namespace orvelle
