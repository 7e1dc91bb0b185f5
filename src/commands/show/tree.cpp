// SPDX-License-Identifier: MIT
// orvelle show --tree, --dot and --context: the decision tree, and the way through it.
#include <string>
#include <vector>

#include "commands/escape.h"
#include "commands/remarks.h"
#include "commands/show/view.h"
#include "support/errors.h"
#include "support/strings.h"

namespace orvelle {

namespace {

// The shares are set off by `gap`.
std::string leaf_text(const Model& model, const context_leaf_t& leaf, size_t most, const char* gap) {
  std::string text = std::to_string(leaf.freq) + ":";
  for (const auto& [tag, prob] : best(distribution(leaf), most))
    text += joined({gap, tag_text(model, tag), formatted(" %.3f", prob)});
  return text;
}

std::vector<int32_t> parse_context(const Model& model, const char* text) {
  std::string copy(text);
  char* cursor = copy.data();
  std::vector<int32_t> tags;
  for (const char* name = next_string(&cursor); *name != '\0'; name = next_string(&cursor)) {
    const int tag = model.find_tag(name);
    if (tag < 0) misuse(std::string("no such tag in the file: ") + name);
    tags.push_back(tag);
  }
  const size_t size = static_cast<size_t>(model.Context_Size());
  if (tags.size() < size)
    misuse(formatted("the tree looks at %zu preceding tags, --context gives %zu", size, tags.size()));
  tags.erase(tags.begin(), tags.end() - static_cast<std::ptrdiff_t>(size));
  return tags;
}

}  // namespace

void show_leaf(TextOutput& out, const Model& model, const context_leaf_t& leaf, size_t most) {
  out.put(leaf_text(model, leaf, most, " "));
}

void put_dot(TextOutput& out, const Model& model, int32_t depth, size_t most) {
  const context_tree_t& tree = ModelAccess::tables(model).Context_Tree;
  out.put(
      "digraph context_tree {\n  node [shape=box, fontname=\"sans-serif\"];\n  edge "
      "[fontname=\"sans-serif\"];\n");
  walk_tree(tree, depth, [&](const visit_t& visit) {
    const context_node_t& node = tree.nodes[visit.node];
    std::string label = "...", shape = "plaintext";
    if (is_leaf(node)) {
      label = leaf_text(model, tree.leaves[node.tag], most, "\n");
    } else if (visit.depth != depth) {
      label = test_text(model, node).append("?");
      shape = "ellipse";
    }
    out.print("  n%d [label=%s%s];\n", visit.node, dot_quoted(label).c_str(),
              is_leaf(node) ? "" : joined({", shape=", shape}).c_str());
    if (visit.parent >= 0)
      out.print("  n%d -> n%d [label=\"%s\"];\n", visit.parent, visit.node,
                visit.node == visit.parent + 1 ? "yes" : "no");
  });
  out.put("}\n");
}

void show_context(TextOutput& out, const Model& model, const char* text, size_t most) {
  const std::vector<int32_t> tags = parse_context(model, text);
  const context_tree_t& tree = ModelAccess::tables(model).Context_Tree;
  const context_node_t* node = tree.nodes.data();
  int64_t noes = 0;  // in a row
  const auto put_noes = [&] {
    if (noes > 0) out.print("  no to %lld tests\n", static_cast<long long>(noes));
    noes = 0;
  };
  while (!is_leaf(*node)) {
    if (tags[node->context_pos] == node->tag) {
      put_noes();
      out.print("  yes, %s\n", test_text(model, *node).c_str());
      ++node;
    } else {
      ++noes;
      node = &tree.nodes[node->no];
    }
  }
  put_noes();
  const context_leaf_t& leaf = tree.leaves[node->tag];
  out.print("  a leaf that %u places of the corpus reached\n", leaf.freq);
  put_columns(out, model, best(distribution(leaf), most));
}

}  // namespace orvelle
