// SPDX-License-Identifier: MIT
// A lexicon that a model is given when it tags.
#pragma once

#include <orvelle/model.h>

#include "commands/remarks.h"

namespace orvelle {

// Adds the readings of a lexicon in the trainer's format, compressed or not; "-" for standard input. Those with tags that
// the model does not have are left out, with a remark. A line that the trainer would refuse is a Failure.
void add_lexicon(Model& model, const char* name, Remarks& remarks);

}  // namespace orvelle
