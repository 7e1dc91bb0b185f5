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
    if (root.yes == nullptr)
      write_listed(root, Root_Prob, 1);
    else
      write_chain(root, make_prior(Root_Prob), 1);
    out_.flush();
    if (Quiet) return;
    std::fprintf(stderr, "\nNumber of nodes: %ld\n", nodes_);
    std::fprintf(stderr, "Max. path length: %d\n", max_depth_);
  }

 private:
  // What a chain's nodes are interpolated with.
  struct prior_t {
    std::vector<double> prob;  // indexed by tag
    double least;              // of them, if all are above 0; else 0
  };

  static prior_t make_prior(std::vector<double> prob) {
    double least = prob[0];
    bool all = true;
    for (const double p : prob) {
      all &= p > 0.0;
      least = std::min(least, p);
    }
    return {std::move(prob), all ? least : 0.0};
  }

  static Interpolation interpolation(const node_t& node) {
    return {node.freq, prior_weight(static_cast<int>(node.counts.size()), Smoothing_Weight)};
  }

  static std::vector<double> distribution(const node_t& node, const prior_t& prior) {
    const Interpolation interpolate = interpolation(node);
    std::vector<double> prob(prior.prob.size());
    for (size_t k = 0; k < prob.size(); ++k) prob[k] = interpolate(prior.prob[k], 0);
    for (const tag_count_t& k : node.counts) prob[k.tag] = interpolate(prior.prob[k.tag], k.count);
    return prob;
  }

  // Writes the chain that starts at `start`, an inner node; `prior` is the start's own distribution.
  void write_chain(const node_t& start, const prior_t& prior, int depth) {
    const node_t* node = &start;
    for (; node->yes != nullptr; node = node->no, ++depth) {
      ++nodes_;
      out_.value(int32_t{0});
      out_.value(node->context_pos);
      out_.value(node->tag);
      write_subtree(*node->yes, prior, depth + 1);
    }
    write_leaf(*node, prior, depth);
  }

  // Writes the subtree of a node reached by a yes answer from a chain with that prior.
  void write_subtree(const node_t& node, const prior_t& prior, int depth) {
    if (node.yes == nullptr)
      write_leaf(node, prior, depth);
    else
      write_chain(node, make_prior(distribution(node, prior)), depth);
  }

  // Forms the probabilities where they are written if it is clear that all tags are listed: a file with thousands of
  // tags and leaves consists of little else.
  void write_leaf(const node_t& node, const prior_t& prior, int depth) {
    const Interpolation interpolate = interpolation(node);
    if (!(interpolate(prior.least, 0) > 0.0)) return write_listed(node, distribution(node, prior), depth);
    const int tags = static_cast<int>(prior.prob.size());
    write_leaf_head(node, tags, depth);
    auto counted = node.counts.begin();
    for (int first = 0; first < tags; first += Entries_At_Once) {
      const int last = std::min(tags, first + Entries_At_Once);
      char* entries = out_.place(static_cast<size_t>(last - first) * Entry_Size);
      for (int k = first; k < last; ++k)
        put_entry(entries + (k - first) * Entry_Size, k, interpolate(prior.prob[k], 0));
      for (; counted != node.counts.end() && counted->tag < last; ++counted)
        put_entry(entries + (counted->tag - first) * Entry_Size, counted->tag,
                  interpolate(prior.prob[counted->tag], counted->count));
    }
  }

  // Writes a leaf with the tags of `prob` that have a positive probability.
  void write_listed(const node_t& node, const std::vector<double>& prob, int depth) {
    const auto entries = std::count_if(prob.begin(), prob.end(), [](double p) { return p > 0.0; });
    write_leaf_head(node, static_cast<int32_t>(entries), depth);
    for (int k = 0; k < static_cast<int>(prob.size()); ++k)
      if (prob[k] > 0.0) put_entry(out_.place(Entry_Size), k, prob[k]);
  }

  void write_leaf_head(const node_t& node, int32_t entries, int depth) {
    ++nodes_;
    if (depth > max_depth_) max_depth_ = depth;
    out_.value(int32_t{1});
    out_.value(entries);
    out_.value(node.freq);
  }

  static void put_entry(char* entry, int32_t tag, double prob) {
    std::memcpy(entry, &tag, sizeof tag);
    std::memcpy(entry + sizeof tag, &prob, sizeof prob);
  }

  static constexpr int Entry_Size = sizeof(int32_t) + sizeof(double);
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
