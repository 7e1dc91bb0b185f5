// SPDX-License-Identifier: MIT
#include "lexicon/tagset.h"

#include <utility>

#include "support/errors.h"

namespace orvelle {

Tagset::Tagset(std::vector<const char*> names, int sent_tag, StringArena strings)
    : Tag(std::move(names)),
      Number_of_Tags(static_cast<int>(Tag.size())),
      Sent_Tag(sent_tag),
      strings_(std::move(strings)) {
  for (int i = 0; i < Number_of_Tags; ++i) index_.insert(Tag[i], hash_bytes(Tag[i]), i);
}

int Tagset::find_tag(std::string_view name) const {
  return index_.find(name, [this](int number) { return Tag[number]; });
}

int Tagset::tag_number(const char* name) const {
  const int number = find_tag(name);
  if (number < 0) unknown_tag(name);
  return number;
}

void unknown_tag(const char* name) { fail("\nERROR: unknown tag <%s> !\n\n", name); }

}  // namespace orvelle
