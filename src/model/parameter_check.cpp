// SPDX-License-Identifier: MIT
#include "model/parameter_check.h"

#include <algorithm>
#include <bitset>
#include <cstring>
#include <span>
#include <unordered_set>
#include <vector>

#include "support/binary_input.h"
#include "support/strings.h"

namespace orvelle {

namespace {

void require(bool sound, const char* what) {
  if (!sound) bad_parameter_file(what);
}

bool is_tag(int tag, int number_of_tags) { return tag >= 0 && tag < number_of_tags; }

bool is_ascending(std::span<const char* const> strings) {
  for (size_t i = 1; i < strings.size(); ++i)
    if (str_cmp(strings[i - 1], strings[i]) >= 0) return false;
  return true;
}

// Distinct tags of the tagset, in ascending order.
bool are_tags(std::span<const int32_t> tags, int number_of_tags) {
  int32_t previous = -1;
  for (const int32_t tag : tags) {
    if (tag <= previous) return false;
    previous = tag;
  }
  return previous < number_of_tags;
}

bool have_none_of(std::span<const char* const> strings, const char* bytes) {
  return std::ranges::none_of(
      strings, [bytes](const char* s) { return *s == '\0' || s[std::strcspn(s, bytes)] != '\0'; });
}

void check_record(const entrydata_t& record, int number_of_tags, int number_of_lemmas) {
  require(are_tags({record.tag, static_cast<size_t>(record.n)}, number_of_tags), "tags of an entry");
  require(record.freq >= 0, "frequency of an entry");
  for (int i = 0; i < record.n; ++i)
    require(record.lemma[i] >= 0 && record.lemma[i] < number_of_lemmas, "lemma number of an entry");
}

// ---- affix trees

// One message for each tree and fault.
struct faults_t {
  const char *nodes, *root, *children, *symbols, *tags;
};

void check_leaf(const ANODE& node, int number_of_tags, const char* fault) {
  for (int i = 0; i < node.number; ++i) require(is_tag(node.tagprob[i].tag, number_of_tags), fault);
}

bool have_distinct_symbols(std::span<const ANODE> siblings) {
  constexpr int Lowest = -128;
  std::bitset<Default_Symbol - Lowest + 1> seen;
  for (const ANODE& node : siblings) {
    const bool is_byte = node.symbol >= Lowest && node.symbol < Lowest + 256;
    if (!is_byte && node.symbol != Default_Symbol) return false;
    if (seen[node.symbol - Lowest]) return false;
    seen.set(node.symbol - Lowest);
  }
  return true;
}

// Every child has a higher index than its parent and is claimed once, so the nodes are one tree without
// circles.
void check_affix_tree(std::span<const ANODE> nodes, int number_of_tags, const faults_t& faults) {
  require(!nodes.empty(), faults.nodes);
  require(nodes[0].symbol == Root_Symbol, faults.root);
  std::vector<bool> has_parent(nodes.size(), false);
  for (size_t i = 0; i < nodes.size(); ++i) {
    const ANODE& node = nodes[i];
    require(node.leaf == 0 || node.leaf == 1, faults.nodes);
    require(i == 0 || has_parent[i], faults.children);  // its parent came before it
    if (node.leaf) {
      check_leaf(node, number_of_tags, faults.tags);
      continue;
    }
    require(node.number > 0 && node.first_child > i, faults.children);
    require(size_t{node.first_child} + node.number <= nodes.size(), faults.children);
    require(have_distinct_symbols(nodes.subspan(node.first_child, node.number)), faults.symbols);
    for (int child = node.first_child; child < node.first_child + node.number; ++child) {
      require(!has_parent[child], faults.children);
      has_parent[child] = true;
    }
  }
}

// ---- decision tree

// The positions that may not be asked for at a node, because it lies below the yes branch of a test on them.
// The nodes are visited in pre-order: a yes branch that starts at index i ends before the no child.
class UsedPositions {
 public:
  void enter_node(int32_t index) {
    while (!branches_.empty() && branches_.back().end == index) {
      used_.erase(branches_.back().position);
      branches_.pop_back();
    }
  }

  // False if the position is in use already.
  bool enter_yes_branch(int32_t position, int32_t end) {
    branches_.push_back({position, end});
    return used_.insert(position).second;
  }

 private:
  struct branch_t {
    int32_t position;
    int32_t end;  // index of the first node behind the yes branch
  };
  std::vector<branch_t> branches_;    // outermost first
  std::unordered_set<int32_t> used_;  // the positions of `branches_`; not an array, the context may be huge
};

}  // namespace

void check_lexicon(const fullex_t& fullex) {
  const Tagset& tagset = fullex.tagset;
  const Lexicon& lexicon = fullex.lexicon;
  require(tagset.Number_of_Tags <= Max_Number_of_Tags && is_ascending(tagset.Tag), "order of the tags");
  require(have_none_of(tagset.Tag, " \t\r\n"), "name of a tag");
  require(is_tag(tagset.Sent_Tag, tagset.Number_of_Tags), "number of the sentence tag");
  require(is_ascending(fullex.lemmas.Lemma), "order of the lemmas");
  require(have_none_of(fullex.lemmas.Lemma, "\t\n"), "TAB or line end in a lemma");
  for (int i = First_Entry; i < lexicon.Fullform_Lexicon_Size; ++i) {
    const entry_t& entry = lexicon.Fullform_Lexicon[i];
    if (i < 0) require(*entry.word == '\0', "word form of a number entry");
    if (i > 0) require(str_cmp((&entry)[-1].word, entry.word) < 0, "order of the word forms");
    check_record(*entry.data, tagset.Number_of_Tags, fullex.lemmas.Number_of_Lemmas);
  }
}

void check_affix_lexicons(const AffixLexicons& affixes, int number_of_tags) {
  check_affix_tree(affixes.Prefix_Lexicon(), number_of_tags,
                   {"nodes of the prefix tree", "root of the prefix tree", "children in the prefix tree",
                    "symbols in the prefix tree", "tags in the prefix tree"});
  check_affix_tree(affixes.Suffix_Lexicon(), number_of_tags,
                   {"nodes of the suffix tree", "root of the suffix tree", "children in the suffix tree",
                    "symbols in the suffix tree", "tags in the suffix tree"});
  const ANODE& open_class = affixes.Open_Class_Node();
  require(open_class.leaf == 1 && open_class.symbol == Root_Symbol, "open-class node");
  check_leaf(open_class, number_of_tags, "tags of the open-class node");
}

void check_context_tree(const context_tree_t& tree, int number_of_tags) {
  require(tree.Context_Size > 0, "number of preceding tags");
  UsedPositions used;
  for (int32_t i = 0; i < static_cast<int32_t>(tree.nodes.size()); ++i) {
    const context_node_t& node = tree.nodes[i];
    used.enter_node(i);
    if (node.no == 0) {
      const context_leaf_t& leaf = tree.leaves[node.tag];
      require(are_tags({leaf.tag, static_cast<size_t>(leaf.n)}, number_of_tags),
              "tags of a decision tree leaf");
      continue;
    }
    require(node.context_pos >= 0 && node.context_pos < tree.Context_Size, "position in the decision tree");
    require(is_tag(node.tag, number_of_tags), "tag in the decision tree");
    require(used.enter_yes_branch(node.context_pos, node.no), "position in the decision tree");
  }
}

void check_parameters(const Tables& tables) {
  const int number_of_tags = tables.fullex.tagset.Number_of_Tags;
  check_lexicon(tables.fullex);
  check_affix_lexicons(tables.affixes, number_of_tags);
  check_context_tree(tables.Context_Tree, number_of_tags);
}

}  // namespace orvelle
