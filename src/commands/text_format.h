// SPDX-License-Identifier: MIT
// The formats of text that is tagged, compared or learned from.
#pragma once

#include "commands/text_io.h"

namespace orvelle {

enum class text_format_t {
  Words,   // a word at the beginning of each line, up to a TAB; an empty line behind each sentence
  Conllu,  // CoNLL-U
  Lines,   // a sentence a line, its words between blanks
};

// What the lines at hand look like; nothing of them is taken. Text that begins like CoNLL-U is CoNLL-U, so that what is
// wrong with its lines can be told.
text_format_t recognise_format(TextInput& in);

}  // namespace orvelle
