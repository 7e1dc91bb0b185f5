// SPDX-License-Identifier: MIT
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

#include <cstring>

#include "context/context_tree.h"
#include "support/binary_output.h"

namespace orvelle {

class BinaryInput;

// Reads the section. Positions and tag numbers are taken as written: before the tree is used, check_context_tree
// (model/parameter_check.h) must have passed it. Throws as BinaryInput does where the section is cut short, and error2
// with "in parameter file" and the fault where a node is neither inner node nor leaf, or a leaf's number of tags is
// negative or greater than Max_Number_of_Tags.
context_tree_t read_tree(BinaryInput& in);

// Writes the section.
void write_tree(const context_tree_t& tree, BinaryOutput& out);

// Writes the section node by node in pre-order, for whatever the tree lies in.
class ContextSectionWriter {
 public:
  static constexpr size_t Entry_Size = sizeof(int32_t) + sizeof(double);  // bytes of a leaf's entry

  // Some entries of a leaf in the output's buffer, for the caller to fill by ascending tag.
  struct entries_t {
    char* first;
    void put(int place, int32_t tag, double prob) const {
      char* const entry = first + static_cast<size_t>(place) * Entry_Size;
      std::memcpy(entry, &tag, sizeof tag);
      std::memcpy(entry + sizeof tag, &prob, sizeof prob);
    }
  };

  ContextSectionWriter(int32_t context_size, BinaryOutput& out) : out_(out) { out_.value(context_size); }

  void inner_node(int32_t context_pos, int32_t tag) {
    out_.value(int32_t{0});
    out_.value(context_pos);
    out_.value(tag);
  }

  // The head of a leaf, whose entries must follow.
  void leaf(int32_t entries, uint32_t freq) {
    out_.value(int32_t{1});
    out_.value(entries);
    out_.value(freq);
  }

  // Room for the next `count` entries of the leaf, at most Entries_At_Once.
  static constexpr int Entries_At_Once = 1024;
  entries_t entries(int count) { return {out_.place(static_cast<size_t>(count) * Entry_Size)}; }

 private:
  BinaryOutput& out_;
};

}  // namespace orvelle
