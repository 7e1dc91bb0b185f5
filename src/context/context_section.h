// The decision tree section of the parameter file, its writer (context_section_writer.cpp) and its reader
// (context_section_reader.cpp). Integers have 32 bits; nothing is padded. The section is the number of
// preceding tags that the tests look at and then the nodes in pre-order, the root first:
//
//   an inner node   offset size content              a leaf   offset size content
//                     0     4   0                               0     4   1
//                     4     4   context position                4     4   n, number of its tags
//                     8     4   tag number                      8     4   frequency, unsigned
//                    12         the yes subtree                12    12n  n times: tag number, 4 bytes, and
//                               the no subtree                            probability, double, 8 bytes
//
// There is no count of nodes: the section ends where every inner node has its two subtrees.
#pragma once

#include <cstdio>

#include "context/context_tree.h"

namespace orvelle {

// Reads the section at the stream's position and returns the tree; leaves the stream behind the section.
// Positions and tag numbers are taken as written: before the tree is used, check_context_tree
// (driver/parameter_check.h) must have passed it. The run ends through error with "Can't read from input
// file" where the section is cut short, and through error2 with "in parameter file" and the fault where a
// node is neither inner node nor leaf, or a leaf's number of tags is negative or greater than
// Max_Number_of_Tags.
context_tree_t read_tree(FILE* file);

// Writes a loaded tree at the stream's position: the bytes that read_tree read. A short write ends the run
// through error with "Can't write to output file".
void write_tree(const context_tree_t& tree, FILE* file);

}  // namespace orvelle
