// SPDX-License-Identifier: MIT
// All that a program needs that loads models, looks words up and tags text.
#pragma once

#include <orvelle/automaton.h>
#include <orvelle/error.h>
#include <orvelle/model.h>
#include <orvelle/tables.h>
#include <orvelle/tagger.h>
#include <orvelle/unicode_tables.h>
#include <orvelle/utf8.h>
#include <orvelle/word_forms.h>
