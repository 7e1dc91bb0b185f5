// The lemma table: every distinct lemma once, sorted; a lemma's number is its index. It always holds the lemmas of
// cardinal and ordinal numbers, which take their places in byte order like any other:
//
//   Lemma    "."  "@card@"  "@ord@"  "dog"  "the"
//   number    0       1        2       3      4
#pragma once

#include <vector>

namespace orvelle {

inline constexpr const char* Card_Lemma = "@card@";
inline constexpr const char* Ord_Lemma = "@ord@";

// Written by define_lemmas alone; fixed from then on. Distinct and strictly ascending in byte order.
extern std::vector<const char*> Lemma;
extern int Number_of_Lemmas;

// Makes `lemmas` the table. The strings belong to the caller and must outlive every use of the table.
void define_lemmas(std::vector<const char*> lemmas);

// Number of a lemma; a lemma that is not in the table is an inconsistency of the program and ends the run with
// "\nPROGRAM ERROR: in function lemma_number: \"%s\"\n".
int lemma_number(const char* lemma);

}  // namespace orvelle
