// SPDX-License-Identifier: MIT
// The lemma table: every distinct lemma once, sorted; a lemma's number is its index. It always holds the lemmas of
// cardinal and ordinal numbers, which take their places in byte order like any other:
//
//   Lemma    "."  "@card@"  "@ord@"  "dog"  "the"
//   number    0       1        2       3      4
#pragma once

#include <vector>

#include "support/strings.h"

namespace orvelle {

inline constexpr char Card_Lemma[] = "@card@";
inline constexpr char Ord_Lemma[] = "@ord@";

class LemmaTable {
 public:
  LemmaTable() = default;
  // Takes ownership of the lemmas, which lie in `strings`.
  LemmaTable(std::vector<const char*> lemmas, StringArena strings);

  // Number of a lemma; one that is not in the table is an inconsistency of the program and throws
  // "\nPROGRAM ERROR: in function lemma_number: \"%s\"\n".
  int lemma_number(const char* lemma) const;

  // Written by the constructor alone; distinct and strictly ascending in byte order.
  std::vector<const char*> Lemma;
  int Number_of_Lemmas = 0;

 private:
  StringArena strings_;
};

}  // namespace orvelle
