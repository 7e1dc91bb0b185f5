// SPDX-License-Identifier: MIT
// orvelle show: what is in a parameter file.
//
// The decision tree is walked with a stack of nodes still to be shown, never by recursion: a chain of no
// children is as long as the training found tags to ask for. The text of the tree is an if / else if chain,
// whose indentation grows with the yes branches alone, and of these no path has more than there are context
// positions.
#include <orvelle/model.h>
#include <orvelle/word_forms.h>
#include <unistd.h>

#include <algorithm>
#include <charconv>
#include <cmath>
#include <cstring>
#include <initializer_list>
#include <map>
#include <memory>
#include <span>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "commands/command.h"
#include "commands/escape.h"
#include "commands/tagger_options.h"
#include "commands/text_io.h"
#include "model/parameter_file.h"
#include "model/tables.h"
#include "support/binary_output.h"
#include "support/errors.h"
#include "support/strings.h"
#include "tagger/guesser.h"

namespace orvelle {

namespace {

constexpr char Help[] =
    "Usage: orvelle show [OPTION...] MODEL\n"
    "\n"
    "Shows what is in a model or a parameter file; without an option a summary.\n"
    "\n"
    "  --card             what the model was made of and how, and how often it is right\n"
    "  --json             the same as JSON\n"
    "  --parameter-file F write the parameter file that is in the model to F, for programs\n"
    "                     that take nothing else\n"
    "  --word FORM        the form's entry or, if it has none, the ways through the affix\n"
    "                     trees and what the tagger guesses; may be repeated\n"
    "  --context 'TAG...' for the tags before a word, the nearest last: the way through the\n"
    "                     decision tree, and the distribution at its end\n"
    "  --tree             the decision tree as indented text\n"
    "  --dot              the decision tree for Graphviz: orvelle show --dot F | dot -Tsvg\n"
    "  --depth N          of --tree and --dot only the first N tests of every path\n"
    "  --best N           of a distribution the N most probable tags, 0 for all\n"
    "                     (10, in trees 3)\n"
    "  --all              everything as text, one fact a line, names for numbers, numbers\n"
    "                     exact: made to be compared by diff\n";

constexpr option_t Options[] = {
    {"word", "FORM"}, {"context", "TAGS"}, {"tree", nullptr}, {"dot", nullptr},  {"depth", "N"},
    {"best", "N"},    {"all", nullptr},    {"card", nullptr}, {"json", nullptr}, {"parameter-file", "FILE"}};

// ---- distributions

struct share_t {
  int tag;
  double prob;
};

using distribution_t = std::vector<share_t>;

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

// The `most` most probable, or all for 0. Some settings of the training make probabilities that are no
// numbers; these come last.
distribution_t best(distribution_t shares, size_t most) {
  const auto weight = [](const share_t& share) { return std::isnan(share.prob) ? -INFINITY : share.prob; };
  std::stable_sort(shares.begin(), shares.end(),
                   [&](const share_t& a, const share_t& b) { return weight(a) > weight(b); });
  if (most != 0 && shares.size() > most) shares.resize(most);
  return shares;
}

// ---- text

std::string joined(std::initializer_list<std::string_view> parts) {
  std::string result;
  for (const std::string_view part : parts) result += part;
  return result;
}

// The shortest text that reads back as the same value.
template <class Float>
std::string exact(Float value) {
  char text[64];
  return std::string(text, std::to_chars(text, text + sizeof text, value).ptr);
}

std::string tag_text(const Model& model, int tag) { return escaped(model.Tag(tag)); }

void put_columns(TextOutput& out, const Model& model, const distribution_t& shares) {
  for (const auto& [tag, prob] : shares) out.print("    %-10s %8.6f\n", tag_text(model, tag).c_str(), prob);
}

// ---- affix trees

struct affix_tree_view_t {
  const char* name;
  std::span<const ANODE> nodes;
  bool from_end;  // it is walked from the last byte on
};

std::vector<affix_tree_view_t> affix_trees(const Model& model) {
  return {{"prefix", model.Prefix_Lexicon(), false}, {"suffix", model.Suffix_Lexicon(), true}};
}

std::string symbol_text(int symbol) {
  if (symbol == Root_Symbol) return "";
  if (symbol == Default_Symbol) return "*";
  const char byte = static_cast<char>(symbol);
  // A byte alone is no character where it is one of several.
  return symbol < 0 ? hex_code(byte) : escaped({&byte, 1}, '*');
}

std::vector<int> parents(const affix_tree_view_t& tree) {
  std::vector<int> parent(tree.nodes.size(), -1);
  for (size_t i = 0; i < tree.nodes.size(); ++i)
    if (!tree.nodes[i].leaf)
      for (int k = 0; k < tree.nodes[i].number; ++k)
        parent[tree.nodes[i].first_child + k] = static_cast<int>(i);
  return parent;
}

// The bytes on the way to a node as they stand in a word form, * for a default child; "walk", "*ing".
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

// ---- --word

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
  for (const double prob : guesser.guess(word, nullptr))
    guess.push_back({static_cast<int>(guess.size()), prob});
  out.put("  the tagger's guess:\n");
  put_columns(out, model, best(std::move(guess), most));
}

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

// ---- decision tree

bool is_leaf(const context_node_t& node) { return node.no == 0; }

std::string test_text(const Model& model, const context_node_t& node) {
  const int distance = model.Context_Size() - node.context_pos;  // 1 is the tag just before
  return joined({"tag -", std::to_string(distance), " is ", tag_text(model, node.tag)});
}

// The shares are set off by `gap`.
std::string leaf_text(const Model& model, const context_leaf_t& leaf, size_t most, const char* gap = " ") {
  std::string text = std::to_string(leaf.freq) + ":";
  for (const auto& [tag, prob] : best(distribution(leaf), most))
    text += joined({gap, tag_text(model, tag), formatted(" %.3f", prob)});
  return text;
}

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

// `put_leaf` writes what a leaf says, up to its line end.
template <class PutLeaf>
void put_tree(TextOutput& out, const Model& model, int32_t depth, PutLeaf put_leaf) {
  const context_tree_t& tree = ModelAccess::tables(model).Context_Tree;
  walk_tree(tree, depth, [&](const visit_t& visit) {
    const context_node_t& node = tree.nodes[visit.node];
    const bool is_no = visit.parent >= 0 && visit.node != visit.parent + 1;
    const bool shows_test = !is_leaf(node) && visit.depth != depth;
    out.put(std::string(2 * static_cast<size_t>(visit.yeses), ' '));
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

// ---- --context

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

// ---- summary

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

void show_summary(TextOutput& out, const Model& model) {
  constexpr int64_t Header = 8;
  const int64_t lexicon = lexicon_bytes(model), affixes = affix_bytes(model),
                context = context_bytes(ModelAccess::tables(model).Context_Tree);
  out.print("word forms     %s\n", model.UTF8_Processing() ? "UTF-8" : "single bytes");
  put_lexicon_summary(out, model);
  put_tree_summaries(out, model);
  out.print("bytes          %lld: header %lld, lexicon %lld, affixes %lld, decision tree %lld\n",
            static_cast<long long>(Header + lexicon + affixes + context), static_cast<long long>(Header),
            static_cast<long long>(lexicon), static_cast<long long>(affixes),
            static_cast<long long>(context));
}

// ---- --all

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

// ---- --card

// Keys that stand several times come as a list.
void put_card_as_json(TextOutput& out, const Model& model) {
  std::map<std::string, std::vector<std::string>> values;
  std::vector<std::string> keys;  // in their order
  for (const auto& [key, value] : model.card()) {
    if (values[key].empty()) keys.push_back(key);
    values[key].push_back(json_quoted(value));
  }
  out.put('{');
  const char* separator = "\n";
  for (const std::string& key : keys) {
    out.put(joined({std::exchange(separator, ",\n"), "  ", json_quoted(key), ": "}));
    const bool is_list = key == "input";
    std::string list;
    for (const std::string& value : values[key]) list += (list.empty() ? "" : ", ") + value;
    out.put(is_list ? joined({"[", list, "]"}) : list);
  }
  out.put("\n}\n");
}

void show_card(TextOutput& out, const Model& model, bool as_json) {
  if (model.card().empty()) stop("a plain parameter file has no card");
  if (as_json) return put_card_as_json(out, model);
  for (const auto& [key, value] : model.card())
    out.print("%-14s %s\n", escaped(key).c_str(), escaped(value).c_str());
}

void write_parameter_file_of(const Model& model, const char* name) {
  NewFile file(name);
  BinaryOutput out(File(fdopen(dup(file.descriptor()), "wb")));
  write_parameters(out, ModelAccess::tables(model));
  out.close();
  file.commit();
}

int show_command(const CommandLine& line, Remarks&) {
  const bool shows_card = line.has("card") || line.has("json");
  const char* const parameter_file = line.value("parameter-file", nullptr);
  const bool any = line.has("word") || line.has("context") || line.has("tree") || line.has("dot") ||
                   line.has("all") || shows_card || parameter_file != nullptr;
  constexpr int64_t Most = 1000000000;
  const size_t most = static_cast<size_t>(line.integer("best", 10, 0, Most));
  const size_t most_in_tree = line.has("best") ? most : 3;
  const int32_t depth = static_cast<int32_t>(line.integer("depth", -1, 0, Most));
  if (parameter_file != nullptr) require_other_file(parameter_file, line.operands());
  const Model model = load_model(line.operands()[0]);

  if (parameter_file != nullptr) write_parameter_file_of(model, parameter_file);
  TextOutput out("-");
  if (!any) show_summary(out, model);
  if (shows_card) show_card(out, model, line.has("json"));
  for (const char* word : line.values("word")) show_word(out, model, word, most);
  for (const char* context : line.values("context")) show_context(out, model, context, most);
  if (line.has("tree"))
    put_tree(out, model, depth,
             [&](const context_leaf_t& leaf) { out.put(leaf_text(model, leaf, most_in_tree)); });
  if (line.has("dot")) put_dot(out, model, depth, most_in_tree);
  if (line.has("all")) show_all(out, model);
  out.close();
  return 0;
}

}  // namespace

const command_t Show_Command = {"show", "what is in a model", Help, Options, 1, 1, show_command};

}  // namespace orvelle
