// SPDX-License-Identifier: MIT
// The three files of a training, in memory.
#pragma once

#include <string>

#include "training/input.h"

namespace orvelle {

struct training_text_t {
  std::string name;  // in messages
  std::string text;
};

struct training_texts_t {
  training_text_t lexicon, open_classes, corpus;

  // Valid as long as the texts.
  TrainingInputs inputs() const;
};

// The whole of a file, byte by byte; one that cannot be read is a Failure.
training_text_t read_whole(const char* name);

}  // namespace orvelle
