// SPDX-License-Identifier: MIT
#include "training/tree_func.h"

#include <algorithm>
#include <numeric>
#include <utility>

#include "context/context_section.h"
#include "support/errors.h"
#include "training/leave_one_out.h"
#include "training/tree_growth.h"

namespace orvelle {

// ---- Growing

node_t* new_node(GrownTree& tree, const Progress& progress) {
  if (progress) progress(formatted("\r%zu", tree.nodes.size()));
  return &tree.nodes.emplace_back();
}

chain_start_t make_root(const NGramTable& ngrams, int number_of_tags, GrownTree& tree) {
  chain_start_t root;
  const auto tags = static_cast<size_t>(number_of_tags);
  std::vector<uint32_t> count(tags, 0);
  for (size_t i = 0; i < ngrams.size(); ++i) count[ngrams.tags(i)[ngrams.length() - 1]] += ngrams.count(i);
  for (size_t k = 0; k < tags; ++k) {
    if (count[k] == 0) continue;
    root.counts.push_back({static_cast<int>(k), count[k]});
    root.freq += count[k];
  }
  const double w = tree.Smoothing_Weight * static_cast<double>(root.counts.size());
  tree.root_prob.resize(tags);
  for (size_t k = 0; k < tags; ++k) tree.root_prob[k] = (w / number_of_tags + count[k]) / (w + root.freq);
  for (const tag_count_t& k : root.counts) {
    const double p = tree.root_prob[static_cast<size_t>(k.tag)];
    root.q.push_back(p);
    root.entropy -= ld(p) * k.count / root.freq;
  }
  root.ngrams.resize(ngrams.size());
  std::iota(root.ngrams.begin(), root.ngrams.end(), 0u);
  return root;
}

GrownTree make_tree(const NGramTable& ngrams, const Settings& settings, int number_of_tags,
                    const Progress& progress) {
  say(progress, "\tmaking decision tree ...\n");
  GrownTree tree;
  tree.Context_Size = settings.Context_Size;
  tree.Smoothing_Weight = settings.Smoothing_Weight;
  SplitSearch search(ngrams, {settings.Smoothing_Weight, settings.Min_Info_Gain, number_of_tags});
  chain_start_t root = make_root(ngrams, number_of_tags, tree);
  ContextTreeGrower(search, tree, progress).grow(std::move(root));
  return tree;
}

// ---- Writing

namespace {

// What a chain's nodes are interpolated with.
struct prior_t {
  std::vector<double> prob;  // indexed by tag
  double least;              // of them, if all are above 0; else 0
};

prior_t make_prior(std::vector<double> prob) {
  double least = prob[0];
  bool all = true;
  for (const double p : prob) {
    all &= p > 0.0;
    least = std::min(least, p);
  }
  return {std::move(prob), all ? least : 0.0};
}

// Shows a tree to a sink, node by node in pre-order: sink.inner_node(position, tag), and for a leaf sink.leaf(entries,
// frequency) and then all its entries by sink.entries(count), at most Entries_At_Once at a time. Counts nodes and depth.
template <class Sink>
class TreeWalk {
 public:
  TreeWalk(const GrownTree& tree, Sink& sink) : tree_(tree), sink_(sink) {}

  // One chain after the other; those that wait for their yes subtrees are no more than there are positions.
  void write_subtree() {
    const node_t& root = tree_.nodes.front();
    if (root.yes == nullptr) return put_listed(root, tree_.root_prob, 1);
    chains_.push_back({&root, make_prior(tree_.root_prob), 1});
    while (!chains_.empty()) {
      chain_t& chain = chains_.back();
      const node_t& node = *chain.node;
      if (node.yes == nullptr) {
        put_leaf(node, chain.prior, chain.depth);
        chains_.pop_back();
        continue;
      }
      ++nodes;
      sink_.inner_node(node.context_pos, node.tag);
      chain.node = node.no;
      ++chain.depth;
      if (node.yes->yes == nullptr)
        put_leaf(*node.yes, chain.prior, chain.depth);
      else
        chains_.push_back({node.yes, make_prior(distribution(*node.yes, chain.prior)), chain.depth});
    }
  }

  long nodes = 0;
  int max_depth = 0;

 private:
  // A chain that is being written.
  struct chain_t {
    const node_t* node;  // the next of it
    prior_t prior;
    int depth;  // of that node
  };

  Interpolation interpolation(const node_t& node) const {
    return {node.freq, prior_weight(static_cast<int>(node.counts.size()), tree_.Smoothing_Weight)};
  }

  std::vector<double> distribution(const node_t& node, const prior_t& prior) const {
    const Interpolation interpolate = interpolation(node);
    std::vector<double> prob(prior.prob.size());
    for (size_t k = 0; k < prob.size(); ++k) prob[k] = interpolate(prior.prob[k], 0);
    for (const tag_count_t& k : node.counts) {
      const auto tag = static_cast<size_t>(k.tag);
      prob[tag] = interpolate(prior.prob[tag], k.count);
    }
    return prob;
  }

  // Forms the probabilities where they are written if it is clear that all tags are listed: a file with thousands of
  // tags and leaves consists of little else.
  void put_leaf(const node_t& node, const prior_t& prior, int depth) {
    const Interpolation interpolate = interpolation(node);
    if (!(interpolate(prior.least, 0) > 0.0)) return put_listed(node, distribution(node, prior), depth);
    const int tags = static_cast<int>(prior.prob.size());
    put_leaf_head(node, tags, depth);
    const double* const q = prior.prob.data();
    auto counted = node.counts.begin();
    for (int first = 0; first < tags; first += Entries_At_Once) {
      const int last = std::min(tags, first + Entries_At_Once);
      const auto entries = sink_.entries(last - first);
      for (int k = first; k < last; ++k) entries.put(k - first, k, interpolate(q[k], 0));
      for (; counted != node.counts.end() && counted->tag < last; ++counted)
        entries.put(counted->tag - first, counted->tag, interpolate(q[counted->tag], counted->count));
    }
  }

  // A leaf with the tags of `prob` that have a positive probability.
  void put_listed(const node_t& node, const std::vector<double>& prob, int depth) {
    const auto listed = std::count_if(prob.begin(), prob.end(), [](double p) { return p > 0.0; });
    put_leaf_head(node, static_cast<int>(listed), depth);
    for (size_t k = 0; k < prob.size(); ++k)
      if (prob[k] > 0.0) sink_.entries(1).put(0, static_cast<int32_t>(k), prob[k]);
  }

  void put_leaf_head(const node_t& node, int32_t entries, int depth) {
    ++nodes;
    max_depth = std::max(max_depth, depth);
    sink_.leaf(entries, node.freq);
  }

  static constexpr int Entries_At_Once = ContextSectionWriter::Entries_At_Once;

  const GrownTree& tree_;
  Sink& sink_;
  std::vector<chain_t> chains_;
};

// Fills a tree in memory.
class BuilderSink {
 public:
  explicit BuilderSink(int context_size) : builder_(context_size) {}

  void inner_node(int32_t context_pos, int32_t tag) { builder_.inner_node(context_pos, tag); }
  void leaf(int32_t entries, uint32_t freq) { next_ = builder_.leaf(entries, freq); }
  ContextTreeBuilder::entries_t entries(int count) {
    const ContextTreeBuilder::entries_t result = next_;
    next_ = {next_.tag + count, next_.prob + count};
    return result;
  }

  context_tree_t take() { return builder_.take(); }

 private:
  ContextTreeBuilder builder_;
  ContextTreeBuilder::entries_t next_{};  // of the leaf, those to come
};

}  // namespace

void write_tree(const GrownTree& tree, BinaryOutput& out, const Progress& progress) {
  ContextSectionWriter section(tree.Context_Size, out);
  TreeWalk walk(tree, section);
  walk.write_subtree();
  out.flush_blocks();
  if (!progress) return;
  progress(formatted("\nNumber of nodes: %ld\n", walk.nodes));
  progress(formatted("Max. path length: %d\n", walk.max_depth));
}

context_tree_t make_context_tree(const GrownTree& tree) {
  BuilderSink sink(tree.Context_Size);
  TreeWalk(tree, sink).write_subtree();
  return sink.take();
}

}  // namespace orvelle
