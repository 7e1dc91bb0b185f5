// SPDX-License-Identifier: MIT
// What a model file has beside the parameter file (model_file.h); all empty for a plain parameter file.
#pragma once

#include <orvelle/model.h>

#include <vector>

#include "model/added_readings.h"
#include "model/lemma_rules.h"
#include "model/model_file.h"
#include "model/second_look_weights.h"
#include "model/treebank_columns.h"

namespace orvelle {

struct model_extras_t {
  std::vector<card_line_t> card;
  treebank_columns_t treebank;
  LemmaRules lemma_rules;
  second_look_weights_t weights;
  AddedReadings added;

  model_extras_t() = default;
  // A section that is not as it should be is a bad_model_file.
  model_extras_t(const std::vector<section_t>& sections, int number_of_tags);

  std::vector<section_t> sections() const;
};

}  // namespace orvelle
