#include "affix/affix_nodes.h"
#include "affix/affix_section.h"
#include "support/binary_output.h"

namespace orvelle {

namespace {

constexpr int32_t Unused = 0;

void write_node(const ANODE& node, BinaryOutput& out) {
  out.value(node.leaf);
  out.value(node.symbol);
  out.value(node.number);
  out.value(node.first_child);
  out.value(Unused);
}

void write_pairs(const ANODE& leaf, BinaryOutput& out) {
  for (int i = 0; i < leaf.number; ++i) {
    out.value(leaf.tagprob[i].tag);
    out.value(static_cast<int16_t>(Unused));
    out.value(leaf.tagprob[i].prob);
  }
}

void write_nodes(const ANODE* nodes, int count, BinaryOutput& out) {
  for (int i = 0; i < count; ++i) write_node(nodes[i], out);
}

void write_affix_tree(const ANODE* nodes, uint16_t count, BinaryOutput& out) {
  out.value(count);
  write_nodes(nodes, count, out);
  for (int i = 0; i < count; ++i)
    if (nodes[i].leaf) write_pairs(nodes[i], out);
}

}  // namespace

void write_anodes(const ANODE* nodes, int count, FILE* file) {
  BinaryOutput out(file);
  write_nodes(nodes, count, out);
  out.flush();
}

void write_affixlex(FILE* file) {
  BinaryOutput out(file);
  write_affix_tree(Prefix_Lexicon, Number_of_Prefnodes, out);
  write_affix_tree(Suffix_Lexicon, Number_of_Suffnodes, out);
  write_node(*Open_Class_Node, out);
  write_pairs(*Open_Class_Node, out);
  out.flush();
}

}  // namespace orvelle
