// SPDX-License-Identifier: MIT
// What orvelle train is asked for.
#pragma once

#include <vector>

#include "commands/command.h"
#include "training/settings.h"

namespace orvelle {

struct train_request_t {
  std::vector<const char*> treebanks;
  const char* model;
  Settings settings;
  bool has_settings;
};

// What makes no sense is misuse; a model that would be written over an input, or over a file that is no model, is a Failure.
train_request_t parse_train_request(const CommandLine& line);

}  // namespace orvelle
