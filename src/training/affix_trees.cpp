// SPDX-License-Identifier: MIT
// The order of the work on one tree: grow and prune (build_tree), sort, lay out. The prefix tree comes first; what its
// leaves leave over at its root becomes the open-class node.
#include "training/affix_trees.h"

#include <memory>
#include <utility>

#include "support/errors.h"
#include "training/build_tree.h"

namespace orvelle {

namespace {

// Appends a leaf's pairs: its tags with their shares of the sum of all its cells.
void append_pairs(const std::vector<tagfreq_t>& tags, std::vector<tagprob_t>& pairs) {
  double sum = 0.0;
  for (const tagfreq_t& cell : tags) sum += cell.freq;
  const double reciprocal = 1.0 / sum;
  for (const tagfreq_t& cell : tags)
    pairs.push_back({static_cast<int16_t>(cell.tag), static_cast<float>(cell.freq * reciprocal)});
}

// The cells of the root, found by tag, for the leaves to be subtracted from.
class RootCells {
 public:
  RootCells(std::vector<tagfreq_t>& tags, const Tagset& tagset, const Warn& warn)
      : tagset_(tagset), warn_(warn), cell_of_(tagset.Tag.size(), nullptr) {
    for (tagfreq_t& cell : tags) cell_of_[static_cast<size_t>(cell.tag)] = &cell;
  }

  void subtract_freq_at_root(const std::vector<tagfreq_t>& tags) {
    for (const tagfreq_t& cell : tags) {
      const auto tag = static_cast<size_t>(cell.tag);
      if (cell_of_[tag] != nullptr)
        cell_of_[tag]->freq -= cell.freq;
      else if (warn_)
        warn_(formatted("warning: function SUBTRACT_FREQ_AT_ROOT: missing tag at root node: <%s>\n",
                        tagset_.Tag[tag]));
    }
  }

 private:
  const Tagset& tagset_;
  const Warn& warn_;
  std::vector<tagfreq_t*> cell_of_;  // indexed by tag; null if the root does not have it
};

// Lays the tree out group of siblings by group, depth first, and takes what each leaf holds off the root.
class Layout {
 public:
  Layout(node_1& root, const Tagset& tagset, const Warn& warn)
      : root_(root), root_cells_(root.tags, tagset, warn) {
    add_node(root);
    transform_children(root, 0);
  }

  // The leaves have been met in index order, so their pairs come in it too.
  affix_tree_t take() {
    for (const node_1* leaf : leaves_) append_pairs(leaf->tags, tree_.pairs);
    return std::move(tree_);
  }

 private:
  void add_node(const node_1& node) {
    ANODE written;
    written.symbol = node.symbol;
    written.leaf = node.children.empty();
    written.number = static_cast<int16_t>(written.leaf ? node.tags.size() : node.children.size());
    tree_.nodes.push_back(written);
    if (!written.leaf) return;
    if (&node != &root_) root_cells_.subtract_freq_at_root(node.tags);
    leaves_.push_back(&node);
  }

  void transform_children(const node_1& node, size_t index) {
    if (node.children.empty()) return;
    const size_t first = tree_.nodes.size();
    tree_.nodes[index].first_child = static_cast<uint16_t>(first);
    for (const auto& child : node.children) add_node(*child);
    for (size_t i = 0; i < node.children.size(); ++i) transform_children(*node.children[i], first + i);
  }

  const node_1& root_;
  RootCells root_cells_;
  affix_tree_t tree_;
  std::vector<const node_1*> leaves_;
};

// Leaf with the tags that the leaves of the prefix tree have left over at its root.
affix_tree_t make_open_class_node(node_1& prefix_root) {
  thin_and_order(prefix_root.tags);
  affix_tree_t open_class;
  ANODE node;
  node.leaf = 1;
  node.symbol = Root_Symbol;
  node.number = static_cast<int16_t>(prefix_root.tags.size());
  open_class.nodes.push_back(node);
  append_pairs(prefix_root.tags, open_class.pairs);
  return open_class;
}

}  // namespace

AffixLexicons make_affix_trees(const Lexicon& lexicon, const Tagset& tagset,
                               const std::vector<char>& Open_Class, double Cut_Off_Gain,
                               const Progress& progress, const Warn& warn) {
  const auto transform_tree = [&](node_1& root, const char* kind) {
    sort_tree(root);
    const size_t nodes = tree_size(root);
    if (nodes > Max_Number_of_Affix_Nodes) error("Too many nodes in affix tree");
    affix_tree_t tree = Layout(root, tagset, warn).take();
    if (progress) progress(formatted("%s lexicon: %zu nodes\n", kind, nodes));
    return tree;
  };
  const affix_words_t words = collect_affix_words(lexicon, Open_Class);
  std::unique_ptr<node_1> root = grow_pruned_tree(words, words.prefix, tagset.Number_of_Tags, Cut_Off_Gain);
  affix_tree_t prefix = transform_tree(*root, "prefix");
  affix_tree_t open_class = make_open_class_node(*root);
  root = grow_pruned_tree(words, words.suffix, tagset.Number_of_Tags, Cut_Off_Gain);
  affix_tree_t suffix = transform_tree(*root, "suffix");
  return {std::move(prefix), std::move(suffix), std::move(open_class)};
}

}  // namespace orvelle
