// SPDX-License-Identifier: MIT
// The tagset: the names of all tags, sorted; a tag's number is its index.
//
//   Tag      "DT"  "NN"  "SENT"  "VB"
//   number    0     1      2      3       Sent_Tag = 2
#pragma once

#include <orvelle/tables.h>

#include <string_view>
#include <vector>

#include "support/string_index.h"
#include "support/strings.h"

namespace orvelle {

class Tagset {
 public:
  Tagset() = default;
  // Takes ownership of the names, which lie in `strings`.
  Tagset(std::vector<const char*> names, int sent_tag, StringArena strings);

  // Number of a tag name, or -1 if it is not a tag.
  int find_tag(std::string_view name) const;

  // Number of a tag name; throws unknown_tag if it is not a tag.
  int tag_number(const char* name) const;

  // Written by the constructor alone. A loaded tagset is distinct and strictly ascending in byte order once
  // model/parameter_check.h has passed it.
  std::vector<const char*> Tag;
  int Number_of_Tags = 0;
  int Sent_Tag = 0;  // number of the sentence tag

 private:
  StringIndex index_;  // from a name to its number
  StringArena strings_;
};

// The failure for a name that is not a tag: "\nERROR: unknown tag <%s> !\n\n".
[[noreturn]] void unknown_tag(const char* name);

}  // namespace orvelle
