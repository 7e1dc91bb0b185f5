// SPDX-License-Identifier: MIT
#include "model/tables.h"

#include <orvelle/word_forms.h>

namespace orvelle {

const entry_t* Tables::fullform_lookup(std::string_view word) const {
  if (!word_classes) return fullex.lexicon.fullform_lookup(word);
  const entry_t* entry = fullex.lexicon.find_entry(word);
  return entry != nullptr ? entry : word_classes->lookup(word);
}

const entry_t* Tables::fullform_lookup2(const char* word, int strip) const {
  if (const entry_t* entry = fullform_lookup(word)) return entry;
  const std::optional<std::string> stripped = strip_xml(word, strip);
  return stripped ? fullform_lookup(*stripped) : nullptr;
}

}  // namespace orvelle
