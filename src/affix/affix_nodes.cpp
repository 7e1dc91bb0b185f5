#include "affix/affix_nodes.h"

#include <utility>

namespace orvelle {

ANODE* Prefix_Lexicon = nullptr;
ANODE* Suffix_Lexicon = nullptr;
uint16_t Number_of_Prefnodes = 0;
uint16_t Number_of_Suffnodes = 0;
ANODE* Open_Class_Node = nullptr;

namespace {

affix_tree_t Prefix_Tree, Suffix_Tree, Open_Class_Tree;  // what the globals point into

ANODE* adopt(affix_tree_t& place, affix_tree_t tree) {
  place = std::move(tree);
  const tagprob_t* pairs = place.pairs.data();
  for (ANODE& node : place.nodes) {
    if (!node.leaf) continue;
    node.tagprob = pairs;
    pairs += node.number;
  }
  return place.nodes.data();
}

}  // namespace

void define_affix_lexicons(affix_tree_t prefix, affix_tree_t suffix, affix_tree_t open_class) {
  Prefix_Lexicon = adopt(Prefix_Tree, std::move(prefix));
  Suffix_Lexicon = adopt(Suffix_Tree, std::move(suffix));
  Open_Class_Node = adopt(Open_Class_Tree, std::move(open_class));
  Number_of_Prefnodes = static_cast<uint16_t>(Prefix_Tree.nodes.size());
  Number_of_Suffnodes = static_cast<uint16_t>(Suffix_Tree.nodes.size());
}

}  // namespace orvelle
