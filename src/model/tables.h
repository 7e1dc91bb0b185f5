// SPDX-License-Identifier: MIT
// The tables of a model, by the sections of its parameter file (parameter_file.h).
#pragma once

#include <orvelle/model.h>
#include <orvelle/tables.h>

#include <cstdint>
#include <memory>
#include <optional>
#include <string_view>
#include <utility>

#include "affix/affix_lexicons.h"
#include "context/context_tree.h"
#include "lexicon/fullex.h"
#include "model/extras.h"
#include "wordclass/wordclass.h"

namespace orvelle {

struct Tables {
  int32_t UTF8_Processing = 0;  // 1: word forms are UTF-8, 0: single bytes
  fullex_t fullex;
  AffixLexicons affixes;
  context_tree_t Context_Tree;
  SparseTable<entry_t> no_word_classes;     // what stands for their lexicon where there are none
  std::optional<WordClasses> word_classes;  // made from this lexicon; not part of the file

  model_extras_t extras;

  // As in Model.
  const entry_t* fullform_lookup(std::string_view word) const;
  const entry_t* fullform_lookup2(const char* word, int strip) const;

  const char* tag_name(int tag) const { return fullex.tagset.Tag[static_cast<size_t>(tag)]; }
  // Those of added readings lie behind the model's own.
  const char* lemma(int number) const {
    const int own = fullex.lemmas.Number_of_Lemmas;
    return number < own ? fullex.lemmas.Lemma[static_cast<size_t>(number)] : extras.added.lemma(number - own);
  }
};

// The way from a model to its tables and back.
struct ModelAccess {
  static const Tables& tables(const Model& model) { return *model.tables_; }
  static Tables& tables(Model& model) { return *model.tables_; }
  static Model make_model(std::unique_ptr<Tables> tables) { return Model(std::move(tables)); }
};

}  // namespace orvelle
