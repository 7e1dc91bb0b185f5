// SPDX-License-Identifier: MIT
// What the parts of orvelle show have in common: distributions, affix trees and the decision tree, as they are looked at.
//
// The decision tree is walked with a stack of nodes still to be shown, never by recursion: a chain of no children is as
// long as the training found tags to ask for. The text of the tree is an if / else if chain, whose indentation grows with
// the yes branches alone, and of these no path has more than there are context positions.
#pragma once

#include <orvelle/model.h>

#include <charconv>
#include <cstdint>
#include <initializer_list>
#include <span>
#include <string>
#include <string_view>
#include <vector>

#include "commands/text_io.h"
#include "model/tables.h"

namespace orvelle {

// ---- distributions

struct share_t {
  int tag;
  double prob;
};
using distribution_t = std::vector<share_t>;

distribution_t distribution(const context_leaf_t& leaf);
distribution_t distribution(const ANODE& leaf);

// The `most` most probable, or all for 0. Some settings of the training make probabilities that are no
// numbers; these come last.
distribution_t best(distribution_t shares, size_t most);

// ---- text

std::string joined(std::initializer_list<std::string_view> parts);

// The shortest text that reads back as the same value.
template <class Float>
std::string exact(Float value) {
  char text[64];
  return std::string(text, std::to_chars(text, text + sizeof text, value).ptr);
}

std::string tag_text(const Model& model, int tag);

void put_columns(TextOutput& out, const Model& model, const distribution_t& shares);

// ---- affix trees

struct affix_tree_view_t {
  const char* name;
  std::span<const ANODE> nodes;
  bool from_end;  // it is walked from the last byte on
};

std::vector<affix_tree_view_t> affix_trees(const Model& model);

std::vector<int> parents(const affix_tree_view_t& tree);

// The bytes on the way to a node as they stand in a word form, * for a default child; "walk", "*ing".
std::string affix_text(const affix_tree_view_t& tree, const std::vector<int>& parent, int node);

int affix_depth(const affix_tree_view_t& tree, const std::vector<int>& parent);

// ---- decision tree

inline bool is_leaf(const context_node_t& node) { return node.no == 0; }

// "tag -1 is DT"
std::string test_text(const Model& model, const context_node_t& node);

struct visit_t {
  int32_t node;
  int32_t parent;  // -1: the root
  int32_t depth;   // tests before it
  int32_t yeses;   // of them answered yes
};

// Calls `action` for every node in pre-order, without the descendants of those that lie `depth` tests deep.
// The stack holds the no children of the yes branches on the way, so it stays small on any chain.
template <class Action>
void walk_tree(const context_tree_t& tree, int32_t depth, Action action) {
  std::vector<visit_t> waiting = {{0, -1, 0, 0}};
  while (!waiting.empty()) {
    const visit_t visit = waiting.back();
    waiting.pop_back();
    action(visit);
    const context_node_t& node = tree.nodes[visit.node];
    if (is_leaf(node) || visit.depth == depth) continue;
    waiting.push_back({node.no, visit.node, visit.depth + 1, visit.yeses});
    waiting.push_back({visit.node + 1, visit.node, visit.depth + 1, visit.yeses + 1});
  }
}

// What a line begins with below so many tests that were answered yes. Deep lines tell that number instead of being indented
// further: a tree that is one long chain would take the square of its length.
std::string indentation(int32_t yeses);

// `put_leaf` writes what a leaf says, up to its line end.
template <class PutLeaf>
void put_tree(TextOutput& out, const Model& model, int32_t depth, PutLeaf put_leaf) {
  const context_tree_t& tree = ModelAccess::tables(model).Context_Tree;
  walk_tree(tree, depth, [&](const visit_t& visit) {
    const context_node_t& node = tree.nodes[visit.node];
    const bool is_no = visit.parent >= 0 && visit.node != visit.parent + 1;
    const bool shows_test = !is_leaf(node) && visit.depth != depth;
    out.put(indentation(visit.yeses));
    if (is_no) out.put(shows_test ? "else " : "else: ");
    if (shows_test)
      out.put(joined({"if ", test_text(model, node)}));
    else if (is_leaf(node))
      put_leaf(tree.leaves[node.tag]);
    else
      out.put("...");
    out.put('\n');
  });
}

// The parts of the command.
void show_word(TextOutput& out, const Model& model, const char* word, size_t most);
void show_context(TextOutput& out, const Model& model, const char* text, size_t most);
void put_dot(TextOutput& out, const Model& model, int32_t depth, size_t most);
void show_leaf(TextOutput& out, const Model& model, const context_leaf_t& leaf, size_t most);
void show_summary(TextOutput& out, const Model& model);
void show_all(TextOutput& out, const Model& model);
void show_card(TextOutput& out, const Model& model, bool as_json);

}  // namespace orvelle
