// The parameter file: what the training writes and a tagger loads. A header of two 32-bit integers and three
// sections, one directly behind the other, without checksum or trailer:
//
//   order  content                                   described in
//     1    32                                        -
//     2    UTF8_Processing, 0 or 1                   -
//     3    tagset, lemmas, entries, tag factors      lexicon/lexicon_section.h
//     4    prefix tree, suffix tree, open classes    affix/affix_section.h
//     5    decision tree                             context/context_section.h
#pragma once

#include <cstdint>

namespace orvelle {

struct node_t;  // a node of the decision tree that the training grows

inline constexpr int32_t Parameter_File_Mark = 32;  // the first value of every parameter file

// Loads a parameter file and checks it (driver/parameter_check.h). Afterwards UTF8_Processing, the tables of
// lexicon_section.h, the affix lexicons and Context_Tree are those of the file; tables loaded before are
// released, with all that pointed into them. Ends the run through error or error2 for a file that cannot be
// opened or read, is cut short, is none that the training can have written, or has bytes behind its end;
// without ever taking much more memory than the file is long.
void read_parameter_file(const char* name);

// Both write to a file of that name, which is emptied first. Every write that fails, closing included, ends
// the run through error with "Can't write to output file".
//
// Writes the tables that the training left, and the tree under `root`. Part of the training, which is not installed.
void write_parameter_file(const char* name, const struct node_t* root);

// Writes the tables that read_parameter_file loaded: the bytes that it read.
void rewrite_parameter_file(const char* name);

}  // namespace orvelle
