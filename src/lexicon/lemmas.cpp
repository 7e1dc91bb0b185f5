// SPDX-License-Identifier: MIT
#include "lexicon/lemmas.h"

#include <algorithm>
#include <utility>

#include "support/errors.h"

namespace orvelle {

LemmaTable::LemmaTable(std::vector<const char*> lemmas, StringArena strings)
    : Lemma(std::move(lemmas)),
      Number_of_Lemmas(static_cast<int>(Lemma.size())),
      strings_(std::move(strings)) {}

int LemmaTable::lemma_number(const char* lemma) const {
  const auto place = std::lower_bound(Lemma.begin(), Lemma.end(), lemma,
                                      [](const char* a, const char* b) { return str_cmp(a, b) < 0; });
  if (place == Lemma.end() || str_cmp(*place, lemma) != 0)
    fail("\nPROGRAM ERROR: in function lemma_number: \"%s\"\n", lemma);
  return static_cast<int>(place - Lemma.begin());
}

}  // namespace orvelle
