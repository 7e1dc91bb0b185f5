// SPDX-License-Identifier: MIT
// The parameter file: what the training writes and a tagger loads. A header of two 32-bit integers and three
// sections, one directly behind the other, without checksum or trailer:
//
//   order  content                                   described in
//     1    32                                        -
//     2    UTF8_Processing, 0 or 1                   -
//     3    tagset, lemmas, entries, tag factors      lexicon/lexicon_section.h
//     4    prefix tree, suffix tree, open classes    affix/affix_section.h
//     5    decision tree                             context/context_section.h
//
// Its reader is read_parameter_file, its writer for a loaded model write_parameter_file of <orvelle/model.h>.
#pragma once

#include <cstdint>

#include "affix/affix_section.h"
#include "lexicon/lexicon_section.h"
#include "support/binary_output.h"

namespace orvelle {

struct Tables;

inline constexpr int32_t Parameter_File_Mark = 32;  // the first value of every parameter file

// Writes a whole parameter file: `write_tree(out)` writes its last section, from wherever the tree lies.
template <class WriteTree>
void write_parameters(BinaryOutput& out, int32_t utf8, const fullex_t& fullex, const AffixLexicons& affixes,
                      WriteTree write_tree) {
  out.value(Parameter_File_Mark);
  out.value(utf8);
  write_fullex(fullex, out);
  write_affixlex(affixes, out);
  write_tree(out);
}

// The same for the tables of a model.
void write_parameters(BinaryOutput& out, const Tables& tables);

}  // namespace orvelle
