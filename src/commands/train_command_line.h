// SPDX-License-Identifier: MIT
// The command line of train-orvelle.
#pragma once

#include <string>

#include "training/input.h"
#include "training/settings.h"

namespace orvelle {

struct command_line_t {
  Settings settings;
  bool Quiet = false;  // no progress messages
  // The arguments themselves.
  const char* Lexicon_File_Name = nullptr;
  const char* Open_Class_File_Name = nullptr;
  const char* Input_File_Name = nullptr;  // the tagged corpus
  const char* Output_File_Name = nullptr;

  TrainingInputs inputs() const;
};

// Reads the arguments. A command line that is not right is an Error with a message where there is one to give, and the
// usage text.
command_line_t parse_command_line(int argc, char* argv[]);

// The effective settings and the file names, as the run shows them at its beginning.
std::string echo_line(const command_line_t& line);

}  // namespace orvelle
