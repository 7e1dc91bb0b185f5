// SPDX-License-Identifier: MIT
// The model file: what `orvelle train` writes. A parameter file, and what a treebank's user needs beside it; integers
// are unsigned and little-endian:
//
//   order  content                                          size
//     1    "ORVMODEL"                                       8
//     2    version of the format, 2                         4
//     3    number of sections                               4
//     4    each section: its name, filled up with NULs      8
//                        the length of its content          8
//                        its content
//     5    the parameter file (parameter_file.h)            up to the last 8 bytes
//     6    the checksum of all before (checksum.h)          8
//
//   section     content
//   card        what the model was made of and how: lines of a key, a TAB and a value
//   treebank    the column of CoNLL-U that the tags are of, xpos, upos or upos+feats; then, for the sentence tag, lines of
//               a word form, a TAB and the tag that the treebank has there, the first for all other forms
//   lemmas      lemma_rules.h
//   weights     second_look_weights.h
//   added       added_readings.h
#pragma once

#include <cstdint>
#include <functional>
#include <string>
#include <string_view>
#include <vector>

#include "support/files.h"

namespace orvelle {

class BinaryInput;
class BinaryOutput;

inline constexpr std::string_view Model_File_Mark = "ORVMODEL";

// Throws error2("in model file", what).
[[noreturn]] void bad_model_file(const char* what);

struct section_t {
  std::string name;
  std::string content;
};

// Reads mark, version and sections.
std::vector<section_t> read_sections(BinaryInput& in);

// Writes a model file: `write_parameters(out)` writes the parameter file inside. A write that fails is error("Can't write
// to output file").
void write_model_file(File file, const std::vector<section_t>& sections,
                      const std::function<void(BinaryOutput&)>& write_parameters);

}  // namespace orvelle
