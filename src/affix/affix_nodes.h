// The written affix trees: from the first (prefix tree) or last (suffix tree) bytes of a word form to a distribution
// over open-class tags. A tree is one array of nodes; the root is element 0 and the children of a node are
// consecutive elements:
//
//   index   leaf  symbol  number  first_child
//     0      0     257      2         1          root with two children
//     1      1     'a'      3         -          three tag pairs
//     2      1     256      1         -          default child: stands for all other bytes
#pragma once

#include <cstdint>
#include <vector>

namespace orvelle {

inline constexpr int Root_Symbol = 257;
inline constexpr int Default_Symbol = 256;
inline constexpr int Max_Affix_Length = 5;  // bytes; a word form needs one more to be in the trees
inline constexpr int Max_Number_of_Affix_Nodes = 65535;

struct tagprob_t {
  int16_t tag;
  float prob;
};

struct ANODE {
  int16_t leaf = 0;    // 1: carries tag pairs, 0: inner node
  int16_t symbol = 0;  // byte that leads here, as a signed 8-bit value; or Default_Symbol or Root_Symbol
  int16_t number = 0;  // inner node: children; leaf: tag pairs
  uint16_t first_child = 0;            // inner node: index of the first child, in the same array; 0 in a leaf
  const tagprob_t* tagprob = nullptr;  // leaf: `number` pairs, owned by the tree
};

// A written tree and the pairs of its leaves, leaf after leaf in node order.
struct affix_tree_t {
  std::vector<ANODE> nodes;
  std::vector<tagprob_t> pairs;
};

// The affix lexicons in use; written by define_affix_lexicons alone. Node 0 is the root.
extern ANODE* Prefix_Lexicon;
extern ANODE* Suffix_Lexicon;
extern uint16_t Number_of_Prefnodes;
extern uint16_t Number_of_Suffnodes;

// Leaf with the open-class tags of the word forms whose prefix no leaf of the prefix tree accounts for.
extern ANODE* Open_Class_Node;

// Makes these the affix lexicons: the `tagprob` pointers are set here, from the order of the pairs. Requires: each
// tree's pairs are exactly those of its leaves; `open_class` has one node, a leaf.
void define_affix_lexicons(affix_tree_t prefix, affix_tree_t suffix, affix_tree_t open_class);

}  // namespace orvelle
