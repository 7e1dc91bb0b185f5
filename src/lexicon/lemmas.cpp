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

int LemmaTable::find_lemma(std::string_view lemma) const {
  const auto place = std::lower_bound(Lemma.begin(), Lemma.end(), lemma,
                                      [](const char* a, std::string_view b) { return a < b; });
  return place != Lemma.end() && *place == lemma ? static_cast<int>(place - Lemma.begin()) : -1;
}

int LemmaTable::lemma_number(const char* lemma) const {
  const int number = find_lemma(lemma);
  if (number < 0) fail("\nPROGRAM ERROR: in function lemma_number: \"%s\"\n", lemma);
  return number;
}

}  // namespace orvelle
