// All that a program needs that loads a parameter file and looks words up; its library is `orvelle`.
// docs/library.md shows the use, each header states the contracts of its functions.
#pragma once

#include "affix/affix_lookup.h"
#include "affix/affix_nodes.h"
#include "affix/affix_section.h"
#include "context/context_section.h"
#include "context/context_tree.h"
#include "driver/parameter_check.h"
#include "driver/parameter_file.h"
#include "driver/settings.h"
#include "lexicon/entries.h"
#include "lexicon/lemmas.h"
#include "lexicon/lexicon_section.h"
#include "lexicon/tagset.h"
#include "support/binary_input.h"
#include "support/errors.h"
#include "support/files.h"
#include "support/strings.h"
#include "support/unicode_tables.h"
#include "support/utf8.h"
#include "support/word_forms.h"
#include "wordclass/wordclass.h"
