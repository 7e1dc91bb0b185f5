// The affix section of the parameter file, its writer (affix_section_writer.cpp) and its reader
// (affix_section_reader.cpp): the prefix tree, the suffix tree and the open-class node (affix_nodes.h).
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

#include <cstdio>

#include "affix/affix_nodes.h"

namespace orvelle {

// Writes the affix lexicons in use at the stream's position. A short write ends the run through error with
// "Can't write to output file".
void write_affixlex(FILE* file);

// Writes `count` nodes, without their pairs; nothing if `count` is not positive.
void write_anodes(const ANODE* nodes, int count, FILE* file);

// Reads the section at the stream's position and makes it the affix lexicons in use; those of an earlier call
// are released. Leaves the stream behind the section. Symbols, child indices and tag numbers are taken as
// written: before they are used, check_affix_lexicons (driver/parameter_check.h) must have passed them. A
// value that is cut short ends the run through error with "Can't read from input file", a negative number of
// pairs through error2 with "in parameter file".
void read_affixlex(FILE* file);

}  // namespace orvelle
