// Twin of context_section_writer.cpp: the same fields in the same order.
//
// The tree arrives in pre-order and is kept so. A stack holds the inner nodes whose no subtree is still to
// come: a leaf ends the yes subtree of the topmost of them. It is no recursion, because nothing limits the
// depth of a tree, least of all that of a damaged file.
#include <climits>
#include <cstring>
#include <new>
#include <utility>

#include "context/context_section.h"
#include "lexicon/tagset.h"
#include "support/binary_input.h"
#include "support/errors.h"

namespace orvelle {

namespace {

constexpr size_t Tag_Size = sizeof(int32_t);
constexpr size_t Entry_Size = Tag_Size + sizeof(double);  // bytes of a leaf's entry in the file

class TreeReader {
 public:
  explicit TreeReader(FILE* file) : in_(file) {}

  context_tree_t read() {
    tree_.context_size = in_.value<int32_t>();
    while (read_node()) {
    }
    return std::move(tree_);
  }

 private:
  // False after the last node of the tree.
  bool read_node() {
    if (tree_.nodes.size() == INT_MAX) bad_parameter_file("too many nodes in the decision tree");
    switch (in_.value<int32_t>()) {
      case 0:
        return read_inner_node();
      case 1:
        return read_leaf();
      default:
        bad_parameter_file("leaf flag of a decision tree node");
    }
  }

  bool read_inner_node() {
    int32_t test[2];
    in_.bytes(test, sizeof test);
    without_no_.push_back(static_cast<int32_t>(tree_.nodes.size()));
    tree_.nodes.push_back({test[0], test[1], Not_Known_Yet});
    return true;
  }

  bool read_leaf() {
    const int n = in_.count(Max_Number_of_Tags, "number of tags of a decision tree leaf");
    const auto freq = in_.value<uint32_t>();
    tree_.nodes.push_back({0, static_cast<int32_t>(tree_.leaves.size()), 0});
    tree_.leaves.push_back(read_entries(n, freq));
    if (without_no_.empty()) return false;
    tree_.nodes[without_no_.back()].no = static_cast<int32_t>(tree_.nodes.size());
    without_no_.pop_back();
    return true;
  }

  // The file has a tag and its probability side by side; in memory they are apart, so that the doubles are
  // aligned.
  context_leaf_t read_entries(int n, uint32_t freq) {
    entries_.resize(n * Entry_Size);
    in_.bytes(entries_.data(), entries_.size());
    double* const prob = take(n);
    auto* const tag = reinterpret_cast<int32_t*>(prob + n);
    const char* entry = entries_.data();
    for (int i = 0; i < n; ++i, entry += Entry_Size) {
      std::memcpy(tag + i, entry, Tag_Size);
      std::memcpy(prob + i, entry + Tag_Size, sizeof(double));
    }
    return {tag, prob, n, freq};
  }

  // Room for `n` doubles and as many 32-bit integers, in doubles.
  double* take(int n) {
    const size_t size = n + (static_cast<size_t>(n) + 1) / 2;
    if (size > room_) {
      tree_.blocks.push_back(std::make_unique_for_overwrite<double[]>(Block_Size));
      next_ = tree_.blocks.back().get();
      room_ = Block_Size;
    }
    room_ -= size;
    return std::exchange(next_, next_ + size);
  }

  static constexpr int32_t Not_Known_Yet = -1;
  static constexpr size_t Block_Size = 1 << 16;  // doubles
  static_assert(Block_Size >= 2 * Max_Number_of_Tags, "every leaf fits into a block");

  BinaryInput in_;
  context_tree_t tree_;
  std::vector<int32_t> without_no_;  // inner nodes whose no child has not been read, outermost first
  std::vector<char> entries_;        // of one leaf, as in the file
  double* next_ = nullptr;           // free room in the last block
  size_t room_ = 0;                  // doubles left at next_
};

}  // namespace

context_tree_t read_tree(FILE* file) try { return TreeReader(file).read(); } catch (const std::bad_alloc&) {
  space_error();
}

}  // namespace orvelle
