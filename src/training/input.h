// SPDX-License-Identifier: MIT
// An input of the training: a file, by its name, a stream that is open already, or text in memory.
#pragma once

#include <cstdio>
#include <optional>
#include <string_view>

#include "support/files.h"
#include "support/line_reader.h"

namespace orvelle {

struct Input {
  const char* name = nullptr;  // of the file to read, or of what stream or text stand for in messages
  std::optional<std::string_view> text;  // belongs to the caller
  FILE* stream = nullptr;                // belongs to the caller
  PieceObserver* observer = nullptr;     // of the pieces of its lines; null for none
};

struct TrainingInputs {
  Input lexicon;
  Input open_classes;
  Input corpus;
};

// Reads an input in lines; `open(name)` gives a File where there is neither stream nor text.
template <class Open, class Read>
auto with_lines(const Input& input, Open open, Read read) {
  if (input.text) return read(LineReader(*input.text, input.observer));
  const File file(input.stream == nullptr ? open(input.name) : File());
  FILE* const stream = input.stream != nullptr ? input.stream : file.get();
  return read(LineReader(stream, input.name, input.observer));
}

}  // namespace orvelle
