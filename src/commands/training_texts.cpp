// SPDX-License-Identifier: MIT
#include "commands/training_texts.h"

#include <string_view>

#include "commands/text_io.h"

namespace orvelle {

TrainingInputs training_texts_t::inputs() const {
  return {{lexicon.name.c_str(), lexicon.text},
          {open_classes.name.c_str(), open_classes.text},
          {corpus.name.c_str(), corpus.text}};
}

training_text_t read_whole(const char* name) {
  TextInput in(name);
  training_text_t result{in.name(), {}};
  if (in.had_byte_order_mark()) result.text = "\xEF\xBB\xBF";
  for (std::string_view lines; !(lines = in.next_lines()).empty();) result.text += lines;
  return result;
}

}  // namespace orvelle
