// SPDX-License-Identifier: MIT
// orvelle show, the summary, and --all: everything as text.
#include <algorithm>
#include <cstring>
#include <string>
#include <utility>
#include <vector>

#include "commands/escape.h"
#include "commands/show/view.h"

namespace orvelle {

namespace {

int64_t string_bytes(const char* text) { return static_cast<int64_t>(std::strlen(text)) + 1; }

int64_t lexicon_bytes(const Model& model) {
  int64_t bytes = 20 + 8 * int64_t{model.Number_of_Tags()};
  for (int tag = 0; tag < model.Number_of_Tags(); ++tag) bytes += string_bytes(model.Tag(tag));
  for (int lemma = 0; lemma < model.Number_of_Lemmas(); ++lemma) bytes += string_bytes(model.Lemma(lemma));
  for (int i = First_Entry; i < model.Fullform_Lexicon_Size(); ++i) {
    const entry_t& entry = model.Fullform_Lexicon(i);
    bytes += string_bytes(entry.word) + 8 + 12 * int64_t{entry.data->n};
  }
  return bytes;
}

int64_t affix_bytes(const Model& model) {
  int64_t bytes = 12 + 8 * int64_t{model.Open_Class_Node().number};
  for (const affix_tree_view_t& tree : affix_trees(model)) {
    bytes += 2 + 12 * static_cast<int64_t>(tree.nodes.size());
    for (const ANODE& node : tree.nodes)
      if (node.leaf) bytes += 8 * int64_t{node.number};
  }
  return bytes;
}

int64_t context_bytes(const context_tree_t& tree) {
  int64_t bytes = 4 + 12 * static_cast<int64_t>(tree.nodes.size());
  for (const context_leaf_t& leaf : tree.leaves) bytes += 12 * int64_t{leaf.n};
  return bytes;
}

void put_lexicon_summary(TextOutput& out, const Model& model) {
  int64_t readings = 0;
  int seen = 0;
  for (int i = 0; i < model.Fullform_Lexicon_Size(); ++i) {
    readings += model.Fullform_Lexicon(i).data->n;
    seen += model.Fullform_Lexicon(i).data->freq > 0;
  }
  out.print("tags           %d, sentence tag %s\n", model.Number_of_Tags(),
            tag_text(model, model.Sent_Tag()).c_str());
  out.print("lemmas         %d\n", model.Number_of_Lemmas());
  out.print("entries        %d with %lld tags, %d seen in the corpus\n", model.Fullform_Lexicon_Size(),
            static_cast<long long>(readings), seen);
}

void put_tree_summaries(TextOutput& out, const Model& model) {
  for (const affix_tree_view_t& tree : affix_trees(model))
    out.print("%s tree    %zu nodes, %td of them leaves, depth %d\n", tree.name, tree.nodes.size(),
              std::ranges::count_if(tree.nodes, [](const ANODE& node) { return node.leaf; }),
              affix_depth(tree, parents(tree)));
  out.print("open classes   %d tags\n", model.Open_Class_Node().number);
  const context_tree_t& tree = ModelAccess::tables(model).Context_Tree;
  int32_t deepest = 0;
  walk_tree(tree, -1, [&](const visit_t& visit) { deepest = std::max(deepest, visit.depth); });
  out.print("decision tree  %zu nodes, %zu of them leaves, depth %d, over %d preceding tags\n",
            tree.nodes.size(), tree.leaves.size(), deepest, tree.Context_Size);
}

// Affixes in byte order, because their order in the file changes with every frequency.
void put_affix_tree(TextOutput& out, const Model& model, const affix_tree_view_t& tree) {
  const std::vector<int> parent = parents(tree);
  std::vector<std::pair<std::string, const ANODE*>> leaves;
  for (size_t i = 0; i < tree.nodes.size(); ++i)
    if (tree.nodes[i].leaf)
      leaves.emplace_back(affix_text(tree, parent, static_cast<int>(i)), &tree.nodes[i]);
  std::stable_sort(leaves.begin(), leaves.end(),
                   [](const auto& a, const auto& b) { return a.first < b.first; });
  for (const auto& [text, leaf] : leaves) {
    out.print("%s\t%s", tree.name, text.c_str());
    for (int i = 0; i < leaf->number; ++i)
      out.put(joined({"\t", tag_text(model, leaf->tagprob[i].tag), " ", exact(leaf->tagprob[i].prob)}));
    out.put('\n');
  }
}

void put_entry(TextOutput& out, const Model& model, int index) {
  const entry_t& entry = model.Fullform_Lexicon(index);
  if (index == Cardinal_Entry)
    out.put("cardinal numbers");
  else if (index == Ordinal_Entry)
    out.put("ordinal numbers");
  else
    out.put(joined({"entry\t", escaped(entry.word)}));
  out.print("\t%d", entry.data->freq);
  for (int k = 0; k < entry.data->n; ++k)
    out.put(joined({"\t", tag_text(model, entry.data->tag[k]), " ", exact(entry.data->prob[k]), " ",
                    escaped(model.lemma(entry, k))}));
  out.put('\n');
}

void put_lexicon(TextOutput& out, const Model& model) {
  out.print("sentence tag\t%s\n", tag_text(model, model.Sent_Tag()).c_str());
  for (int tag = 0; tag < model.Number_of_Tags(); ++tag)
    out.print("tag\t%s\t%s\n", tag_text(model, tag).c_str(), exact(model.A_Priori_Tag_Prob_Fac(tag)).c_str());
  for (int lemma = 0; lemma < model.Number_of_Lemmas(); ++lemma)
    out.print("lemma\t%s\n", escaped(model.Lemma(lemma)).c_str());
  for (int i = First_Entry; i < model.Fullform_Lexicon_Size(); ++i) put_entry(out, model, i);
}

}  // namespace

void show_summary(TextOutput& out, const Model& model) {
  constexpr int64_t Header = 8;
  const int64_t lexicon = lexicon_bytes(model), affixes = affix_bytes(model),
                context = context_bytes(ModelAccess::tables(model).Context_Tree),
                all = Header + lexicon + affixes + context;
  out.print("word forms     %s\n", model.UTF8_Processing() ? "UTF-8" : "single bytes");
  put_lexicon_summary(out, model);
  put_tree_summaries(out, model);
  out.print("bytes          %lld: header %lld, lexicon %lld, affixes %lld, decision tree %lld\n",
            static_cast<long long>(all), static_cast<long long>(Header), static_cast<long long>(lexicon),
            static_cast<long long>(affixes), static_cast<long long>(context));
}

void show_all(TextOutput& out, const Model& model) {
  out.print("utf8\t%d\n", ModelAccess::tables(model).UTF8_Processing);
  put_lexicon(out, model);
  for (const affix_tree_view_t& tree : affix_trees(model)) put_affix_tree(out, model, tree);
  for (const auto& [tag, prob] : distribution(model.Open_Class_Node()))
    out.print("open class\t%s\t%s\n", tag_text(model, tag).c_str(), exact(static_cast<float>(prob)).c_str());
  out.print("preceding tags\t%d\n", model.Context_Size());
  put_tree(out, model, -1, [&](const context_leaf_t& leaf) {
    out.print("%u", leaf.freq);
    for (int i = 0; i < leaf.n; ++i)
      out.put(joined({"\t", tag_text(model, leaf.tag[i]), " ", exact(leaf.prob[i])}));
  });
}

}  // namespace orvelle
