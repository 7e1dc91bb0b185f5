// Growing and writing of the tree. Both go along chains: a node that a yes answer leads to (or the root), its no
// child, the no child of that one, and so on. No children share their chain's prior; only a yes answer brings a new
// one, so that there are never more distributions at hand than there are positions to answer yes to.
#include "context/tree_func.h"

#include <algorithm>
#include <cstring>
#include <deque>
#include <numeric>
#include <utility>

#include "context/leave_one_out.h"
#include "context/ngram_table.h"
#include "context/split_search.h"
#include "driver/settings.h"
#include "lexicon/tagset.h"
#include "support/binary_output.h"

namespace orvelle {

namespace {

std::deque<node_t> Nodes;       // the tree; a deque, since nodes point at each other
std::vector<double> Root_Prob;  // distribution of the root, indexed by tag

node_t* new_node() {
  if (!Quiet) std::fprintf(stderr, "\r%zu", Nodes.size());
  return &Nodes.emplace_back();
}

// A chain that waits to be grown.
struct chain_t {
  node_t* node;
  chain_start_t start;
  int lowest;  // the farthest position that may be tested
};

// The root's prior is uniform, and its entropy is that of its own smoothed probabilities, no occurrence left out.
chain_start_t make_root(const NGramTable& ngrams) {
  chain_start_t root;
  std::vector<uint32_t> count(Number_of_Tags, 0);
  for (size_t i = 0; i < ngrams.size(); ++i) count[ngrams.tags(i)[ngrams.length() - 1]] += ngrams.count(i);
  for (int k = 0; k < Number_of_Tags; ++k) {
    if (count[k] == 0) continue;
    root.counts.push_back({k, count[k]});
    root.freq += count[k];
  }
  const double w = Smoothing_Weight * static_cast<double>(root.counts.size());
  Root_Prob.resize(Number_of_Tags);
  for (int k = 0; k < Number_of_Tags; ++k) Root_Prob[k] = (w / Number_of_Tags + count[k]) / (w + root.freq);
  for (const tag_count_t& k : root.counts) {
    root.q.push_back(Root_Prob[k.tag]);
    root.entropy -= ld(Root_Prob[k.tag]) * k.count / root.freq;
  }
  root.ngrams.resize(ngrams.size());
  std::iota(root.ngrams.begin(), root.ngrams.end(), 0u);
  root.positions = {Context_Size - 1};
  return root;
}

// Grows one chain. Its yes children start chains of their own, which wait in `waiting`: the order of growth does not
// show in the tree, and a stack of the program's would be as deep as the context is long.
void make_subtree(SplitSearch& search, chain_t chain, std::vector<chain_t>& waiting) {
  node_t* node = chain.node;
  std::vector<int> positions = std::move(chain.start.positions);
  int lowest = chain.lowest;
  node->freq = chain.start.freq;
  node->counts = chain.start.counts;
  chain.start.positions = positions;
  search.start_chain(std::move(chain.start));
  for (split_t split; search.find_split(split);) {
    node->context_pos = split.position;
    node->tag = split.tag;
    chain_t yes{new_node(), search.split_off_yes(split), lowest};
    if (split.position == lowest && lowest > 0) {
      positions.push_back(--lowest);
      search.open_position(lowest);
      yes.lowest = lowest;
    }
    for (const int position : positions)
      if (position != split.position) yes.start.positions.push_back(position);
    node->yes = yes.node;
    node = node->no = new_node();
    node->freq = search.freq();
    waiting.push_back(std::move(yes));
  }
  if (node != chain.node) node->counts = search.counts();
}

// Writes the tree section; counts nodes and depth on the way.
class TreeWriter {
 public:
  explicit TreeWriter(FILE* file) : out_(file) {}

  void write_tree(const node_t& root) {
    out_.value(Context_Size);
    write_subtree(root, Root_Prob, 1);
    out_.flush();
    if (Quiet) return;
    std::fprintf(stderr, "\nNumber of nodes: %ld\n", nodes_);
    std::fprintf(stderr, "Max. path length: %d\n", max_depth_);
  }

 private:
  // Writes the chain that starts at `node`; `prob` is the distribution of its start and the prior of all its no
  // children.
  void write_subtree(const node_t& start, const std::vector<double>& prob, int depth) {
    const node_t* node = &start;
    for (; node->yes != nullptr; node = node->no, ++depth) {
      ++nodes_;
      out_.value(int32_t{0});
      out_.value(node->context_pos);
      out_.value(node->tag);
      write_subtree(*node->yes, distribution(*node->yes, prob), depth + 1);
    }
    write_leaf(*node, node == &start ? prob : distribution(*node, prob), depth);
  }

  std::vector<double> distribution(const node_t& node, const std::vector<double>& prior) {
    const Interpolation interpolate(node.freq,
                                    prior_weight(static_cast<int>(node.counts.size()), Smoothing_Weight));
    std::vector<double> prob(prior.size());
    for (size_t k = 0; k < prob.size(); ++k) prob[k] = interpolate(prior[k], 0);
    for (const tag_count_t& k : node.counts) prob[k.tag] = interpolate(prior[k.tag], k.count);
    return prob;
  }

  void write_leaf(const node_t& node, const std::vector<double>& prob, int depth) {
    ++nodes_;
    if (depth > max_depth_) max_depth_ = depth;
    int64_t entries = 0;  // as wide as a double, so that the compiler counts several at a time
    for (const double p : prob) entries += p > 0.0;
    out_.value(int32_t{1});
    out_.value(static_cast<int32_t>(entries));
    out_.value(node.freq);
    const int tags = static_cast<int>(prob.size());
    if (entries == tags) {
      for (int k = 0; k < tags; k += Entries_At_Once)
        write_entries(prob, k, std::min(tags, k + Entries_At_Once));
      return;
    }
    for (int k = 0; k < tags; ++k)
      if (prob[k] > 0.0) write_entries(prob, k, k + 1);
  }

  // Tags `first` to `last` - 1 with their probabilities.
  void write_entries(const std::vector<double>& prob, int first, int last) {
    char* entry = out_.place(static_cast<size_t>(last - first) * Entry_Size);
    for (int32_t k = first; k < last; ++k, entry += Entry_Size) {
      std::memcpy(entry, &k, sizeof k);
      std::memcpy(entry + sizeof k, &prob[k], sizeof prob[k]);
    }
  }

  static constexpr size_t Entry_Size = sizeof(int32_t) + sizeof(double);
  static constexpr int Entries_At_Once = 1024;

  BinaryOutput out_;
  long nodes_ = 0;
  int max_depth_ = 0;
};

}  // namespace

const node_t* make_tree(const char* corpus) {
  const NGramTable ngrams = take_ngrams(corpus);
  if (!Quiet) std::fputs("\tmaking decision tree ...\n", stderr);
  Nodes.clear();
  node_t* root = new_node();
  SplitSearch search(ngrams);
  std::vector<chain_t> waiting;
  waiting.push_back({root, make_root(ngrams), Context_Size - 1});
  while (!waiting.empty()) {
    chain_t chain = std::move(waiting.back());
    waiting.pop_back();
    make_subtree(search, std::move(chain), waiting);
  }
  return root;
}

void write_tree(const node_t* root, FILE* file) { TreeWriter(file).write_tree(*root); }

}  // namespace orvelle
