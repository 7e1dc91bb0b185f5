// SPDX-License-Identifier: MIT
#include "commands/show/view.h"

#include <algorithm>
#include <cmath>
#include <utility>

#include "commands/escape.h"

namespace orvelle {

distribution_t distribution(const context_leaf_t& leaf) {
  distribution_t result;
  for (int i = 0; i < leaf.n; ++i) result.push_back({leaf.tag[i], leaf.prob[i]});
  return result;
}

distribution_t distribution(const ANODE& leaf) {
  distribution_t result;
  for (int i = 0; i < leaf.number; ++i) result.push_back({leaf.tagprob[i].tag, leaf.tagprob[i].prob});
  return result;
}

distribution_t best(distribution_t shares, size_t most) {
  const auto weight = [](const share_t& share) { return std::isnan(share.prob) ? -INFINITY : share.prob; };
  std::stable_sort(shares.begin(), shares.end(),
                   [&](const share_t& a, const share_t& b) { return weight(a) > weight(b); });
  if (most != 0 && shares.size() > most) shares.resize(most);
  return shares;
}

std::string joined(std::initializer_list<std::string_view> parts) {
  std::string result;
  for (const std::string_view part : parts) result += part;
  return result;
}

std::string tag_text(const Model& model, int tag) { return escaped(model.Tag(tag)); }

void put_columns(TextOutput& out, const Model& model, const distribution_t& shares) {
  for (const auto& [tag, prob] : shares) out.print("    %-10s %8.6f\n", tag_text(model, tag).c_str(), prob);
}

std::vector<affix_tree_view_t> affix_trees(const Model& model) {
  return {{"prefix", model.Prefix_Lexicon(), false}, {"suffix", model.Suffix_Lexicon(), true}};
}

namespace {

std::string symbol_text(int symbol) {
  if (symbol == Root_Symbol) return "";
  if (symbol == Default_Symbol) return "*";
  const char byte = static_cast<char>(symbol);
  // A byte alone is no character where it is one of several.
  return symbol < 0 ? hex_code(byte) : escaped({&byte, 1}, '*');
}

}  // namespace

std::vector<int> parents(const affix_tree_view_t& tree) {
  std::vector<int> parent(tree.nodes.size(), -1);
  for (size_t i = 0; i < tree.nodes.size(); ++i)
    if (!tree.nodes[i].leaf)
      for (int k = 0; k < tree.nodes[i].number; ++k)
        parent[tree.nodes[i].first_child + k] = static_cast<int>(i);
  return parent;
}

std::string affix_text(const affix_tree_view_t& tree, const std::vector<int>& parent, int node) {
  constexpr size_t Most = 100;  // symbols; training makes no more than five
  std::vector<std::string> symbols;
  for (int i = node; i > 0 && symbols.size() < Most; i = parent[i])
    symbols.push_back(symbol_text(tree.nodes[i].symbol));
  if (!tree.from_end) std::reverse(symbols.begin(), symbols.end());
  std::string text;
  for (const std::string& symbol : symbols) text += symbol;
  return text;
}

int affix_depth(const affix_tree_view_t& tree, const std::vector<int>& parent) {
  std::vector<int> depth(tree.nodes.size(), 0);
  int deepest = 0;
  for (size_t i = 1; i < tree.nodes.size(); ++i) deepest = std::max(deepest, depth[i] = depth[parent[i]] + 1);
  return deepest;
}

std::string test_text(const Model& model, const context_node_t& node) {
  const int distance = model.Context_Size() - node.context_pos;  // 1 is the tag just before
  return joined({"tag -", std::to_string(distance), " is ", tag_text(model, node.tag)});
}

std::string indentation(int32_t yeses) {
  constexpr int32_t Deepest_Indented = 40;
  const std::string text(2 * static_cast<size_t>(std::min(yeses, Deepest_Indented)), ' ');
  return yeses > Deepest_Indented ? text + formatted("[%d yes] ", yeses) : text;
}

}  // namespace orvelle
