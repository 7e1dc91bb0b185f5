// SPDX-License-Identifier: MIT
// The affix section of the parameter file, its writer (affix_section_writer.cpp) and its reader
// (affix_section_reader.cpp): the prefix tree, the suffix tree and the open-class node (affix_lexicons.h).
//
//   order  content                                         size
//     1    number of prefix nodes                          2, unsigned
//     2    prefix nodes in index order, the root first     12 each
//     3    pairs of the prefix leaves, leaf after leaf     8 each
//     4-6  the same for the suffix tree
//     7    the open-class node                             12
//     8    its pairs                                       8 each
//
//   a node   offset size content              a pair   offset size content
//              0     2   leaf, 1 or 0                    0     2   tag number
//              2     2   symbol                          2     2   0
//              4     2   number                          4     4   probability, float
//              6     2   first_child, 0 in a leaf
//              8     4   0
//
// No offset leads from a leaf to its pairs: the pairs of a tree follow its nodes, and a reader counts.
#pragma once

#include "affix/affix_lexicons.h"

namespace orvelle {

class BinaryInput;
class BinaryOutput;

// Writes the section.
void write_affixlex(const AffixLexicons& affixes, BinaryOutput& out);

// Reads the section. Symbols, child indices and tag numbers are taken as written: before they are used,
// check_affix_lexicons (model/parameter_check.h) must have passed them. Throws as BinaryInput does where the section is
// cut short, and error2 with "in parameter file" for a negative number of pairs.
AffixLexicons read_affixlex(BinaryInput& in);

}  // namespace orvelle
