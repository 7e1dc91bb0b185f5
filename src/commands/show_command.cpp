// orvelle show: what is in a parameter file.
//
// The decision tree is walked with a stack of nodes still to be shown, never by recursion: a chain of no
// children is as long as the training found tags to ask for. The text of the tree is an if / else if chain,
// whose indentation grows with the yes branches alone, and of these no path has more than there are context
// positions.
#include <algorithm>
#include <charconv>
#include <cmath>
#include <cstdio>
#include <cstring>
#include <initializer_list>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "affix/affix_lookup.h"
#include "commands/command.h"
#include "commands/tagger_options.h"
#include "commands/text_io.h"
#include "context/context_tree.h"
#include "driver/parameter_file.h"
#include "driver/settings.h"
#include "lexicon/entries.h"
#include "lexicon/lemmas.h"
#include "lexicon/lexicon_section.h"
#include "lexicon/tagset.h"
#include "support/strings.h"
#include "support/word_forms.h"
#include "tagger/guesser.h"

namespace orvelle {

namespace {

constexpr const char* Help =
    "Usage: orvelle show [OPTION...] FILE\n"
    "\n"
    "Shows what is in a parameter file; without an option a summary.\n"
    "\n"
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

constexpr option_t Options[] = {{"word", "FORM"}, {"context", "TAGS"}, {"tree", nullptr}, {"dot", nullptr},
                                {"depth", "N"},   {"best", "N"},       {"all", nullptr}};

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

// Reversible: control bytes, the backslash and `more` as \xNN.
std::string escaped(std::string_view text, char more = '\\') {
  std::string result;
  for (const char c : text) {
    const unsigned char byte = static_cast<unsigned char>(c);
    char code[5];
    std::snprintf(code, sizeof code, "\\x%02x", byte);
    if (byte < ' ' || byte == 0x7F || c == '\\' || c == more)
      result += code;
    else
      result += c;
  }
  return result;
}

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

void put_columns(TextOutput& out, const distribution_t& shares) {
  for (const auto& [tag, prob] : shares) out.print("    %-10s %8.6f\n", escaped(Tag[tag]).c_str(), prob);
}

// ---- affix trees

struct affix_tree_view_t {
  const char* name;
  const ANODE* nodes;
  size_t size;
  bool from_end;  // it is walked from the last byte on
};

std::vector<affix_tree_view_t> affix_trees() {
  return {{"prefix", Prefix_Lexicon, Number_of_Prefnodes, false},
          {"suffix", Suffix_Lexicon, Number_of_Suffnodes, true}};
}

std::string symbol_text(int symbol) {
  if (symbol == Root_Symbol) return "";
  if (symbol == Default_Symbol) return "*";
  const char byte = static_cast<char>(symbol);
  // A byte alone is no character where it is one of several.
  char code[5];
  std::snprintf(code, sizeof code, "\\x%02x", static_cast<unsigned char>(byte));
  return symbol < 0 ? code : escaped({&byte, 1}, '*');
}

std::vector<int> parents(const affix_tree_view_t& tree) {
  std::vector<int> parent(tree.size, -1);
  for (size_t i = 0; i < tree.size; ++i)
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
  std::vector<int> depth(tree.size, 0);
  int deepest = 0;
  for (size_t i = 1; i < tree.size; ++i) deepest = std::max(deepest, depth[i] = depth[parent[i]] + 1);
  return deepest;
}

void show_affix_walk(TextOutput& out, const affix_tree_view_t& tree, const char* word, size_t most) {
  const ANODE* const leaf = tree.from_end ? suffix_leaf(word) : prefix_leaf(word);
  if (leaf == nullptr) {
    out.print("  %s tree: no leaf for these bytes\n", tree.name);
    return;
  }
  const std::vector<int> parent = parents(tree);
  std::vector<int> way;
  for (int i = static_cast<int>(leaf - tree.nodes); i >= 0; i = parent[i]) way.push_back(i);
  std::reverse(way.begin(), way.end());
  out.print("  %s tree:", tree.name);
  for (size_t i = 1; i < way.size(); ++i)
    out.print("%s%s", i == 1 ? " " : ", ", affix_text(tree, parent, way[i]).c_str());
  out.print("%s\n", way.size() == 1 ? " a bare root" : "");
  put_columns(out, best(distribution(*leaf), most));
}

// ---- --word

void show_entry(TextOutput& out, const char* word, const entry_t& entry) {
  const entrydata_t& data = *entry.data;
  const bool is_ordinal = &entry == &Fullform_Lexicon[Ordinal_Entry];
  const bool is_cardinal = &entry == &Fullform_Lexicon[Cardinal_Entry];
  out.print("%s: %s, %d in the corpus\n", escaped(word).c_str(),
            is_ordinal    ? "ordinal number"
            : is_cardinal ? "cardinal number"
                          : "entry",
            data.freq);
  for (int i = 0; i < data.n; ++i)
    out.print("    %-10s %8.6f  %s\n", escaped(Tag[data.tag[i]]).c_str(), data.prob[i],
              escaped(Lemma[data.lemma[i]]).c_str());
}

void show_word(TextOutput& out, const char* word, size_t most) {
  if (const entry_t* entry = fullform_lookup(word)) return show_entry(out, word, *entry);
  out.print("%s: no entry\n", escaped(word).c_str());
  if (is_upper(word)) {
    const std::string lower = all_to_lower(word);
    if (const entry_t* entry = find_entry(lower.c_str())) {
      out.put("  in small letters, ");
      show_entry(out, lower.c_str(), *entry);
    }
  }
  for (const affix_tree_view_t& tree : affix_trees()) show_affix_walk(out, tree, word, most);
  out.put("  open classes:\n");
  put_columns(out, best(distribution(*Open_Class_Node), most));
  Guesser guesser;
  distribution_t guess;
  for (const double prob : guesser.guess(word, nullptr))
    guess.push_back({static_cast<int>(guess.size()), prob});
  out.put("  the tagger's guess:\n");
  put_columns(out, best(std::move(guess), most));
}

// ---- decision tree

bool is_leaf(const context_node_t& node) { return node.no == 0; }

// How far back a position lies: 1 is the tag just before.
int distance(int position) { return Context_Tree.context_size - position; }

std::string test_text(const context_node_t& node) {
  return joined({"tag -", std::to_string(distance(node.context_pos)), " is ", escaped(Tag[node.tag])});
}

// The shares are set off by `gap`.
std::string leaf_text(const context_leaf_t& leaf, size_t most, const char* gap = " ") {
  std::string text = std::to_string(leaf.freq) + ":";
  for (const auto& [tag, prob] : best(distribution(leaf), most)) {
    char share[32];
    std::snprintf(share, sizeof share, " %.3f", prob);
    text += joined({gap, escaped(Tag[tag]), share});
  }
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
void walk_tree(int32_t depth, Action action) {
  std::vector<visit_t> waiting = {{0, -1, 0, 0}};
  while (!waiting.empty()) {
    const visit_t visit = waiting.back();
    waiting.pop_back();
    action(visit);
    const context_node_t& node = Context_Tree.nodes[visit.node];
    if (is_leaf(node) || visit.depth == depth) continue;
    waiting.push_back({node.no, visit.node, visit.depth + 1, visit.yeses});
    waiting.push_back({visit.node + 1, visit.node, visit.depth + 1, visit.yeses + 1});
  }
}

// `put_leaf` writes what a leaf says, up to its line end.
template <class PutLeaf>
void put_tree(TextOutput& out, int32_t depth, PutLeaf put_leaf) {
  walk_tree(depth, [&](const visit_t& visit) {
    const context_node_t& node = Context_Tree.nodes[visit.node];
    const bool is_no = visit.parent >= 0 && visit.node != visit.parent + 1;
    const bool shows_test = !is_leaf(node) && visit.depth != depth;
    out.put(std::string(2 * static_cast<size_t>(visit.yeses), ' '));
    if (is_no) out.put(shows_test ? "else " : "else: ");
    if (shows_test)
      out.put(joined({"if ", test_text(node)}));
    else if (is_leaf(node))
      put_leaf(Context_Tree.leaves[node.tag]);
    else
      out.put("...");
    out.put('\n');
  });
}

std::string dot_quoted(std::string_view text) {
  std::string result(1, '"');
  for (const char c : text) {
    if (c == '"' || c == '\\') result += '\\';
    result += c;
  }
  result += '"';
  return result;
}

void put_dot(TextOutput& out, int32_t depth, size_t most) {
  out.put(
      "digraph context_tree {\n  node [shape=box, fontname=\"sans-serif\"];\n  edge "
      "[fontname=\"sans-serif\"];\n");
  walk_tree(depth, [&](const visit_t& visit) {
    const context_node_t& node = Context_Tree.nodes[visit.node];
    std::string label = "...", shape = "plaintext";
    if (is_leaf(node)) {
      const context_leaf_t& leaf = Context_Tree.leaves[node.tag];
      label = leaf_text(leaf, most, "\n");
    } else if (visit.depth != depth) {
      label = test_text(node).append("?");
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

std::vector<int32_t> parse_context(const char* text) {
  std::string copy(text);
  char* cursor = copy.data();
  std::vector<int32_t> tags;
  for (const char* name = next_string(&cursor); *name != '\0'; name = next_string(&cursor)) {
    const int tag = find_tag(name);
    if (tag < 0) misuse("no such tag in the file: %s", name);
    tags.push_back(tag);
  }
  const size_t size = static_cast<size_t>(Context_Tree.context_size);
  if (tags.size() < size)
    misuse("the tree looks at %zu preceding tags, --context gives %zu", size, tags.size());
  tags.erase(tags.begin(), tags.end() - static_cast<std::ptrdiff_t>(size));
  return tags;
}

void show_context(TextOutput& out, const char* text, size_t most) {
  const std::vector<int32_t> tags = parse_context(text);
  const context_node_t* node = Context_Tree.nodes.data();
  int64_t noes = 0;  // in a row
  const auto put_noes = [&] {
    if (noes > 0) out.print("  no to %lld tests\n", static_cast<long long>(noes));
    noes = 0;
  };
  while (!is_leaf(*node)) {
    if (tags[node->context_pos] == node->tag) {
      put_noes();
      out.print("  yes, %s\n", test_text(*node).c_str());
      ++node;
    } else {
      ++noes;
      node = &Context_Tree.nodes[node->no];
    }
  }
  put_noes();
  const context_leaf_t& leaf = Context_Tree.leaves[node->tag];
  out.print("  a leaf that %u places of the corpus reached\n", leaf.freq);
  put_columns(out, best(distribution(leaf), most));
}

// ---- summary

int64_t string_bytes(const char* text) { return static_cast<int64_t>(std::strlen(text)) + 1; }

int64_t lexicon_bytes() {
  int64_t bytes = 20 + 8 * int64_t{Number_of_Tags};
  for (const char* name : Tag) bytes += string_bytes(name);
  for (const char* lemma : Lemma) bytes += string_bytes(lemma);
  for (int i = First_Entry; i < Fullform_Lexicon_Size; ++i)
    bytes += string_bytes(Fullform_Lexicon[i].word) + 8 + 12 * int64_t{Fullform_Lexicon[i].data->n};
  return bytes;
}

int64_t affix_bytes() {
  int64_t bytes = 12 + 8 * int64_t{Open_Class_Node->number};
  for (const affix_tree_view_t& tree : affix_trees()) {
    bytes += 2 + 12 * static_cast<int64_t>(tree.size);
    for (size_t i = 0; i < tree.size; ++i)
      if (tree.nodes[i].leaf) bytes += 8 * int64_t{tree.nodes[i].number};
  }
  return bytes;
}

int64_t context_bytes() {
  int64_t bytes = 4 + 12 * static_cast<int64_t>(Context_Tree.nodes.size());
  for (const context_leaf_t& leaf : Context_Tree.leaves) bytes += 12 * int64_t{leaf.n};
  return bytes;
}

void put_lexicon_summary(TextOutput& out) {
  int64_t readings = 0;
  int seen = 0;
  for (int i = 0; i < Fullform_Lexicon_Size; ++i) {
    readings += Fullform_Lexicon[i].data->n;
    seen += Fullform_Lexicon[i].data->freq > 0;
  }
  out.print("tags           %d, sentence tag %s\n", Number_of_Tags, escaped(Tag[Sent_Tag]).c_str());
  out.print("lemmas         %d\n", Number_of_Lemmas);
  out.print("entries        %d with %lld tags, %d seen in the corpus\n", Fullform_Lexicon_Size,
            static_cast<long long>(readings), seen);
}

void put_tree_summaries(TextOutput& out) {
  for (const affix_tree_view_t& tree : affix_trees()) {
    const auto leaves =
        std::count_if(tree.nodes, tree.nodes + tree.size, [](const ANODE& node) { return node.leaf; });
    out.print("%s tree    %zu nodes, %td of them leaves, depth %d\n", tree.name, tree.size, leaves,
              affix_depth(tree, parents(tree)));
  }
  out.print("open classes   %d tags\n", Open_Class_Node->number);
  int32_t deepest = 0;
  walk_tree(-1, [&](const visit_t& visit) { deepest = std::max(deepest, visit.depth); });
  out.print("decision tree  %zu nodes, %zu of them leaves, depth %d, over %d preceding tags\n",
            Context_Tree.nodes.size(), Context_Tree.leaves.size(), deepest, Context_Tree.context_size);
}

void show_summary(TextOutput& out) {
  constexpr int64_t Header = 8;
  const int64_t lexicon = lexicon_bytes(), affixes = affix_bytes(), context = context_bytes();
  out.print("word forms     %s\n", UTF8_Processing ? "UTF-8" : "single bytes");
  put_lexicon_summary(out);
  put_tree_summaries(out);
  out.print("bytes          %lld: header %lld, lexicon %lld, affixes %lld, decision tree %lld\n",
            static_cast<long long>(Header + lexicon + affixes + context), static_cast<long long>(Header),
            static_cast<long long>(lexicon), static_cast<long long>(affixes),
            static_cast<long long>(context));
}

// ---- --all

// Affixes in byte order, because their order in the file changes with every frequency.
void put_affix_tree(TextOutput& out, const affix_tree_view_t& tree) {
  const std::vector<int> parent = parents(tree);
  std::vector<std::pair<std::string, const ANODE*>> leaves;
  for (size_t i = 0; i < tree.size; ++i)
    if (tree.nodes[i].leaf)
      leaves.emplace_back(affix_text(tree, parent, static_cast<int>(i)), &tree.nodes[i]);
  std::stable_sort(leaves.begin(), leaves.end(),
                   [](const auto& a, const auto& b) { return a.first < b.first; });
  for (const auto& [text, leaf] : leaves) {
    out.print("%s\t%s", tree.name, text.c_str());
    for (int i = 0; i < leaf->number; ++i)
      out.put(joined({"\t", escaped(Tag[leaf->tagprob[i].tag]), " ", exact(leaf->tagprob[i].prob)}));
    out.put('\n');
  }
}

void put_lexicon(TextOutput& out) {
  out.print("sentence tag\t%s\n", escaped(Tag[Sent_Tag]).c_str());
  for (int tag = 0; tag < Number_of_Tags; ++tag)
    out.print("tag\t%s\t%s\n", escaped(Tag[tag]).c_str(), exact(A_Priori_Tag_Prob_Fac[tag]).c_str());
  for (const char* lemma : Lemma) out.print("lemma\t%s\n", escaped(lemma).c_str());
  for (int i = First_Entry; i < Fullform_Lexicon_Size; ++i) {
    const entrydata_t& data = *Fullform_Lexicon[i].data;
    if (i == Cardinal_Entry)
      out.put("cardinal numbers");
    else if (i == Ordinal_Entry)
      out.put("ordinal numbers");
    else
      out.put(joined({"entry\t", escaped(Fullform_Lexicon[i].word)}));
    out.print("\t%d", data.freq);
    for (int k = 0; k < data.n; ++k)
      out.put(joined(
          {"\t", escaped(Tag[data.tag[k]]), " ", exact(data.prob[k]), " ", escaped(Lemma[data.lemma[k]])}));
    out.put('\n');
  }
}

void show_all(TextOutput& out) {
  out.print("utf8\t%d\n", UTF8_Processing);
  put_lexicon(out);
  for (const affix_tree_view_t& tree : affix_trees()) put_affix_tree(out, tree);
  for (const auto& [tag, prob] : distribution(*Open_Class_Node))
    out.print("open class\t%s\t%s\n", escaped(Tag[tag]).c_str(), exact(static_cast<float>(prob)).c_str());
  out.print("preceding tags\t%d\n", Context_Tree.context_size);
  put_tree(out, -1, [&](const context_leaf_t& leaf) {
    out.print("%u", leaf.freq);
    for (int i = 0; i < leaf.n; ++i)
      out.put(joined({"\t", escaped(Tag[leaf.tag[i]]), " ", exact(leaf.prob[i])}));
  });
}

int show_command(int argc, char** argv) {
  const CommandLine line(argc, argv, Options, 1, 1);
  const bool any =
      line.has("word") || line.has("context") || line.has("tree") || line.has("dot") || line.has("all");
  constexpr int64_t Most = 1000000000;
  const size_t most = static_cast<size_t>(line.integer("best", 10, 0, Most));
  const size_t most_in_tree = line.has("best") ? most : 3;
  const int32_t depth = static_cast<int32_t>(line.integer("depth", -1, 0, Most));
  const char* const name = line.operands()[0];
  read_parameter_file(path_of(name));

  TextOutput out("-");
  if (!any) show_summary(out);
  for (const char* word : line.values("word")) show_word(out, word, most);
  for (const char* context : line.values("context")) show_context(out, context, most);
  if (line.has("tree"))
    put_tree(out, depth, [&](const context_leaf_t& leaf) { out.put(leaf_text(leaf, most_in_tree)); });
  if (line.has("dot")) put_dot(out, depth, most_in_tree);
  if (line.has("all")) show_all(out);
  out.close();
  return 0;
}

}  // namespace

const command_t Show_Command = {"show", "what is in a parameter file", Help, show_command};

}  // namespace orvelle
