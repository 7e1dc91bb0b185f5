// SPDX-License-Identifier: MIT
// orvelle show --word: the entry of a word form, or the ways through the affix trees and what the tagger guesses.
#include <orvelle/word_forms.h>

#include <algorithm>
#include <memory>
#include <string>
#include <utility>

#include "commands/escape.h"
#include "commands/show/view.h"
#include "tagger/guesser.h"

namespace orvelle {

namespace {

void show_affix_walk(TextOutput& out, const Model& model, const affix_tree_view_t& tree, const char* word,
                     size_t most) {
  const ANODE* const leaf = tree.from_end ? model.suffix_leaf(word) : model.prefix_leaf(word);
  if (leaf == nullptr) {
    out.print("  %s tree: no leaf for these bytes\n", tree.name);
    return;
  }
  const std::vector<int> parent = parents(tree);
  std::vector<int> way;
  for (int i = static_cast<int>(leaf - tree.nodes.data()); i >= 0; i = parent[i]) way.push_back(i);
  std::reverse(way.begin(), way.end());
  out.print("  %s tree:", tree.name);
  for (size_t i = 1; i < way.size(); ++i)
    out.print("%s%s", i == 1 ? " " : ", ", affix_text(tree, parent, way[i]).c_str());
  out.print("%s\n", way.size() == 1 ? " a bare root" : "");
  put_columns(out, model, best(distribution(*leaf), most));
}

void show_entry(TextOutput& out, const Model& model, const char* word, const entry_t& entry) {
  const entrydata_t& data = *entry.data;
  const bool is_ordinal = &entry == &model.Fullform_Lexicon(Ordinal_Entry);
  const bool is_cardinal = &entry == &model.Fullform_Lexicon(Cardinal_Entry);
  out.print("%s: %s, %d in the corpus\n", escaped(word).c_str(),
            is_ordinal    ? "ordinal number"
            : is_cardinal ? "cardinal number"
                          : "entry",
            data.freq);
  for (int i = 0; i < data.n; ++i)
    out.print("    %-10s %8.6f  %s\n", tag_text(model, data.tag[i]).c_str(), data.prob[i],
              escaped(model.Lemma(data.lemma[i])).c_str());
}

void show_guess(TextOutput& out, const Model& model, const char* word, size_t most) {
  const Tables& tables = ModelAccess::tables(model);
  Guesser guesser(tables, std::make_shared<RareWords>(tables, Warn()), Warn());
  distribution_t guess;
  for (const double prob : guesser.guess(word, nullptr).by_tag())
    guess.push_back({static_cast<int>(guess.size()), prob});
  out.put("  the tagger's guess:\n");
  put_columns(out, model, best(std::move(guess), most));
}

}  // namespace

void show_word(TextOutput& out, const Model& model, const char* word, size_t most) {
  if (const entry_t* entry = model.fullform_lookup(word)) return show_entry(out, model, word, *entry);
  out.print("%s: no entry\n", escaped(word).c_str());
  if (is_upper(word, model.UTF8_Processing())) {
    const std::string lower = all_to_lower(word, model.UTF8_Processing());
    if (const entry_t* entry = model.find_entry(lower)) {
      out.put("  in small letters, ");
      show_entry(out, model, lower.c_str(), *entry);
    }
  }
  for (const affix_tree_view_t& tree : affix_trees(model)) show_affix_walk(out, model, tree, word, most);
  out.put("  open classes:\n");
  put_columns(out, model, best(distribution(model.Open_Class_Node()), most));
  show_guess(out, model, word, most);
}

}  // namespace orvelle
