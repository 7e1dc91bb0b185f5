// SPDX-License-Identifier: MIT
// The lexicon section of the parameter file, its writer (lexicon_section_writer.cpp) and its reader
// (lexicon_section_reader.cpp). Integers have 32 bits; a string is its bytes and a NUL; nothing is padded.
//
//   order  content                  size          a lexicon with the tags DT, NN, SENT
//     1    Sent_Tag                 4             2
//     2    Number_of_Tags           4             3
//     3    tag names                strings       "DT" "NN" "SENT"
//     4    Number_of_Lemmas         4             5
//     5    lemmas                   strings       "." "@card@" "@ord@" "dog" "the"
//     6    Fullform_Lexicon_Size    4             3
//     7    index of the first entry 4             -2
//     8    entries from there on    see below     cardinal, ordinal, ".", "dog", "the"
//     9    factor of each tag       8 per tag     2.0 2.0 2.0
//
// An entry with n tags:
//
//   offset from the end of word   size     content             "dog"
//          -                      string   word form           "dog"
//          0                      4        n                   1
//          4                      4        freq                1
//          8                      4 n      tag numbers         1
//          8 + 4n                 4 n      probabilities       1.0f
//          8 + 8n                 4 n      lemma numbers       3
//
// The factor of a tag is S / (f + 0.5), where f is the number of corpus tokens with the tag and S the sum of
// all f.
#pragma once

#include "lexicon/fullex.h"

namespace orvelle {

class BinaryInput;
class BinaryOutput;

// Writes the section.
void write_fullex(const fullex_t& fullex, BinaryOutput& out);

// Reads the section. Tag numbers, lemma numbers and the order of the tables are taken as written: before they are used,
// check_lexicon (model/parameter_check.h) must have passed them. Throws as BinaryInput does where the section is cut
// short, and
//   error   "in parameter file"                        where the index of the first entry is not -2
//   error2  "in parameter file" and the count's name   where a count is negative or beyond every table
fullex_t read_fullex(BinaryInput& in);

}  // namespace orvelle
