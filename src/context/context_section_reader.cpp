// SPDX-License-Identifier: MIT
#include <climits>
#include <cstring>
#include <vector>

#include "context/context_section.h"
#include "support/binary_input.h"

namespace orvelle {

namespace {

// The file has a tag and its probability side by side; in memory they are apart, so that the doubles are aligned.
void read_leaf(BinaryInput& in, std::vector<char>& raw, ContextTreeBuilder& builder) {
  constexpr size_t Entry_Size = ContextSectionWriter::Entry_Size;
  const int n = in.count(Max_Number_of_Tags, "number of tags of a decision tree leaf");
  const auto freq = in.value<uint32_t>();
  raw.resize(static_cast<size_t>(n) * Entry_Size);
  in.bytes(raw.data(), raw.size());
  const ContextTreeBuilder::entries_t entries = builder.leaf(n, freq);
  const char* entry = raw.data();
  for (int i = 0; i < n; ++i, entry += Entry_Size) {
    std::memcpy(entries.tag + i, entry, sizeof(int32_t));
    std::memcpy(entries.prob + i, entry + sizeof(int32_t), sizeof(double));
  }
}

void read_inner_node(BinaryInput& in, ContextTreeBuilder& builder) {
  const auto context_pos = in.value<int32_t>();
  builder.inner_node(context_pos, in.value<int32_t>());
}

}  // namespace

context_tree_t read_tree(BinaryInput& in) {
  ContextTreeBuilder builder(in.value<int32_t>());
  std::vector<char> raw;  // the entries of one leaf as in the file
  while (!builder.is_complete()) {
    if (builder.size() == INT_MAX) bad_parameter_file("too many nodes in the decision tree");
    switch (in.value<int32_t>()) {
      case 0:
        read_inner_node(in, builder);
        break;
      case 1:
        read_leaf(in, raw, builder);
        break;
      default:
        bad_parameter_file("leaf flag of a decision tree node");
    }
  }
  return builder.take();
}

}  // namespace orvelle
