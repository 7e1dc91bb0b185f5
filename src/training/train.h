// SPDX-License-Identifier: MIT
// The training as a function: from a lexicon, a list of open-class tags and a tagged corpus to a model.
#pragma once

#include <orvelle/error.h>
#include <orvelle/model.h>

#include "affix/affix_lexicons.h"
#include "lexicon/fullex.h"
#include "support/messages.h"
#include "training/input.h"
#include "training/settings.h"
#include "training/tree_func.h"

namespace orvelle {

// What a training makes: the tables of a model, but for the decision tree, whose leaves still hold counts: as
// distributions over thousands of tags they would take 30 times the memory.
struct TrainedModel {
  int UTF8_Processing = 0;
  fullex_t fullex;
  AffixLexicons affixes;
  GrownTree tree;
};

// Trains. Every failure is an Error with the text that stands for it.
TrainedModel train(const TrainingInputs& inputs, const Settings& settings, const Progress& progress,
                   const Warn& warn = warn_on_standard_error);

// Writes the parameter file and reports the size of the tree. A write that fails is the Error "Can't write to output
// file".
void write_parameter_file(const char* name, const TrainedModel& trained, const Progress& progress);
// The same into an output that is open.
void write_parameters(BinaryOutput& out, const TrainedModel& trained, const Progress& progress);

// The model that loading the parameter file would give.
Model make_model(TrainedModel trained);

}  // namespace orvelle
