// SPDX-License-Identifier: MIT
// The formats of text that is tagged or compared.
#pragma once

#include <string_view>

#include "commands/text_io.h"

namespace orvelle {

enum class text_format_t {
  Words,   // a word at the beginning of each line, up to a TAB; an empty line behind each sentence
  Conllu,  // CoNLL-U
  Lines,   // a sentence a line, its words between blanks
};

// What the beginning of a text looks like; nothing of it is taken.
text_format_t recognise_format(TextInput& in);

}  // namespace orvelle
