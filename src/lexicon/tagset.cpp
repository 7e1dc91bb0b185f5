#include "lexicon/tagset.h"

#include <utility>

#include "support/errors.h"
#include "support/string_index.h"

namespace orvelle {

std::vector<const char*> Tag;
int Number_of_Tags = 0;
int Sent_Tag = 0;
std::vector<int> Tag_Freq;

namespace {

StringIndex Tag_Index;  // from a name to its number

const char* tag_at(int number) { return Tag[number]; }

}  // namespace

void define_tagset(std::vector<const char*> names, int sent_tag) {
  Tag = std::move(names);
  Number_of_Tags = static_cast<int>(Tag.size());
  Sent_Tag = sent_tag;
  Tag_Index.clear();
  for (int i = 0; i < Number_of_Tags; ++i) Tag_Index.insert(hash_bytes(Tag[i]), i);
}

int find_tag(std::string_view name) { return Tag_Index.find(name, tag_at); }

int tag_number(const char* name) {
  const int number = find_tag(name);
  if (number < 0) unknown_tag(name);
  return number;
}

void unknown_tag(const char* name) { fail("\nERROR: unknown tag <%s> !\n\n", name); }

}  // namespace orvelle
