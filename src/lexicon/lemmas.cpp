#include "lexicon/lemmas.h"

#include <algorithm>
#include <utility>

#include "support/errors.h"
#include "support/strings.h"

namespace orvelle {

std::vector<const char*> Lemma;
int Number_of_Lemmas = 0;

void define_lemmas(std::vector<const char*> lemmas) {
  Lemma = std::move(lemmas);
  Number_of_Lemmas = static_cast<int>(Lemma.size());
}

int lemma_number(const char* lemma) {
  const auto place = std::lower_bound(Lemma.begin(), Lemma.end(), lemma,
                                      [](const char* a, const char* b) { return str_cmp(a, b) < 0; });
  if (place == Lemma.end() || str_cmp(*place, lemma) != 0)
    fail("\nPROGRAM ERROR: in function lemma_number: \"%s\"\n", lemma);
  return static_cast<int>(place - Lemma.begin());
}

}  // namespace orvelle
