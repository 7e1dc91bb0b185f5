// SPDX-License-Identifier: MIT
// Cost of a node: rows times tags that occur in it, summed over the open positions, with a logarithm each.
#include "plain_tree.h"

#include <algorithm>
#include <numeric>

#include "support/binary_log.h"

namespace orvelle::plain {

namespace {

// One side of a test, or a whole node: occurrences a tag, for the tags that may occur.
struct side_t {
  std::vector<uint32_t> count;  // parallel to the tags of the node
  uint32_t freq = 0;
  double entropy = 0.0;
};

struct best_t {
  bool any = false;
  int position = 0, tag = 0;
  double score = 0.0;
  side_t yes, no;
};

class Grower {
 public:
  Grower(const NGramTable& ngrams, const Settings& settings, int number_of_tags)
      : ngrams_(ngrams),
        settings_(settings),
        tagset_size_(number_of_tags),
        used_(static_cast<size_t>(settings.Context_Size), 0) {}

  std::unique_ptr<node_t> grow() {
    std::vector<uint32_t> all(ngrams_.size());
    std::iota(all.begin(), all.end(), 0u);
    auto root = std::make_unique<node_t>();
    std::vector<uint32_t> f(tagset_size_, 0);
    for (const uint32_t i : all) f[predicted(i)] += ngrams_.count(i);
    for (const uint32_t count : f) root->freq += count;
    const auto tags =
        static_cast<double>(std::count_if(f.begin(), f.end(), [](uint32_t n) { return n > 0; }));
    const double w = settings_.Smoothing_Weight * tags, n = root->freq;
    root->prob.resize(f.size());
    for (size_t k = 0; k < f.size(); ++k) root->prob[k] = (w / tagset_size_ + f[k]) / (w + n);
    for (size_t k = 0; k < f.size(); ++k)
      if (f[k] > 0) root->entropy -= ld(root->prob[k]) * f[k] / n;
    grow_subtree(*root, *root, std::move(all), settings_.Context_Size - 1);
    return root;
  }

 private:
  int predicted(uint32_t ngram) const { return ngrams_.tags(ngram)[settings_.Context_Size]; }

  void grow_subtree(node_t& node, const node_t& prior, std::vector<uint32_t> list, int lowest) {
    const best_t best = find_best(prior, list, lowest);
    if (!best.any || best.yes.freq == 0 || best.no.freq == 0) return;
    const double n = node.freq;
    const double gain =
        ld(n) * ((node.entropy - best.yes.freq * best.yes.entropy / n) - best.no.freq * best.no.entropy / n);
    if (settings_.Min_Info_Gain > gain) return;
    // A stable partition: the predicted tags stay in ascending order.
    const auto is_yes = [&](uint32_t i) { return ngrams_.tags(i)[best.position] == best.tag; };
    const auto middle = std::stable_partition(list.begin(), list.end(), is_yes);
    std::vector<uint32_t> no_list(middle, list.end());
    list.erase(middle, list.end());
    node.context_pos = best.position;
    node.tag = best.tag;
    node.yes = make_child(best.yes, prior, list);
    node.no = make_child(best.no, prior, no_list);
    const int next = lowest > 0 && best.position == lowest ? lowest - 1 : lowest;
    grow_subtree(*node.no, prior, std::move(no_list), next);
    used_[best.position] = 1;
    grow_subtree(*node.yes, *node.yes, std::move(list), next);
    used_[best.position] = 0;
  }

  std::unique_ptr<node_t> make_child(const side_t& side, const node_t& prior,
                                     const std::vector<uint32_t>& list) const {
    auto child = std::make_unique<node_t>();
    child->freq = side.freq;
    child->entropy = side.entropy;
    std::vector<uint32_t> f(tagset_size_, 0);
    for (const uint32_t i : list) f[predicted(i)] += ngrams_.count(i);
    const auto tags = static_cast<int>(std::count_if(f.begin(), f.end(), [](uint32_t n) { return n > 0; }));
    const double w = tags * settings_.Smoothing_Weight, reciprocal = 1.0 / (w + side.freq);
    child->prob.resize(f.size());
    for (size_t k = 0; k < f.size(); ++k) child->prob[k] = (prior.prob[k] * w + f[k]) * reciprocal;
    return child;
  }

  // The tags that occur, ascending.
  std::vector<int> tags_of(const std::vector<uint32_t>& list) const {
    std::vector<int> tags;
    for (const uint32_t i : list) tags.push_back(predicted(i));
    std::sort(tags.begin(), tags.end());
    tags.erase(std::unique(tags.begin(), tags.end()), tags.end());
    return tags;
  }

  best_t find_best(const node_t& prior, const std::vector<uint32_t>& list, int lowest) {
    best_t best;
    tags_ = tags_of(list);
    prior_.clear();
    for (const int k : tags_) prior_.push_back(prior.prob[k]);
    total_.assign(tags_.size(), 0);
    for (const uint32_t i : list) total_[place_of(predicted(i))] += ngrams_.count(i);
    for (int position = settings_.Context_Size - 1; position >= lowest; --position)
      if (!used_[position]) try_position(list, position, best);
    return best;
  }

  size_t place_of(int tag) const {
    return static_cast<size_t>(std::lower_bound(tags_.begin(), tags_.end(), tag) - tags_.begin());
  }

  // Every tag of the tagset is a candidate. Those that do not occur at the position all have the same two
  // sides, so that the first of them speaks for all: among equals it would win anyway.
  void try_position(const std::vector<uint32_t>& list, int position, best_t& best) {
    const auto tag_at = [&](uint32_t i) { return ngrams_.tags(i)[position]; };
    std::vector<uint32_t> sorted = list;
    std::sort(sorted.begin(), sorted.end(), [&](uint32_t a, uint32_t b) { return tag_at(a) < tag_at(b); });
    bool absent_tried = false;
    size_t next = 0;
    for (int tag = 0; tag < tagset_size_; ++tag) {
      const size_t first = next;
      while (next < sorted.size() && tag_at(sorted[next]) == tag) ++next;
      if (first == next && absent_tried) continue;
      absent_tried |= first == next;
      row_.assign(tags_.size(), 0);
      for (size_t i = first; i < next; ++i) row_[place_of(predicted(sorted[i]))] += ngrams_.count(sorted[i]);
      evaluate(position, tag, best);
    }
  }

  void evaluate(int position, int tag, best_t& best) {
    yes_.count = row_;
    no_.count.resize(row_.size());
    for (size_t k = 0; k < row_.size(); ++k) no_.count[k] = total_[k] - row_[k];
    finish_side(yes_);
    finish_side(no_);
    const double score = yes_.freq * yes_.entropy + no_.freq * no_.entropy;
    if (best.any && !(best.score > score)) return;
    best = {true, position, tag, score, yes_, no_};
  }

  // Leave-one-out cross-entropy.
  void finish_side(side_t& side) const {
    side.freq = 0;
    int tags = 0;
    for (const uint32_t count : side.count) side.freq += count, tags += count > 0;
    const double w = tags * settings_.Smoothing_Weight, n = side.freq, reciprocal = 1.0 / ((n - 1.0) + w);
    side.entropy = 0.0;
    for (size_t k = 0; k < side.count.size(); ++k) {
      const double f = side.count[k];
      if (f > 0) side.entropy -= ld((prior_[k] * w + (f - 1.0)) * reciprocal) * f / n;
    }
  }

  const NGramTable& ngrams_;
  const Settings& settings_;
  const int tagset_size_;
  std::vector<char> used_;  // positions answered with yes on the way from the root
  // The node that is being tested: its tags, and parallel to them their prior probabilities and occurrences.
  std::vector<int> tags_;
  std::vector<double> prior_;
  std::vector<uint32_t> total_, row_;
  side_t yes_, no_;
};

void write_subtree(const node_t& node, BinaryOutput& out) {
  out.value(int32_t{!node.yes});
  if (node.yes) {
    out.value(node.context_pos);
    out.value(node.tag);
    write_subtree(*node.yes, out);
    return write_subtree(*node.no, out);
  }
  out.value(static_cast<int32_t>(
      std::count_if(node.prob.begin(), node.prob.end(), [](double p) { return p > 0.0; })));
  out.value(node.freq);
  for (size_t k = 0; k < node.prob.size(); ++k) {
    if (!(node.prob[k] > 0.0)) continue;
    out.value(static_cast<int32_t>(k));
    out.value(node.prob[k]);
  }
}

}  // namespace

std::unique_ptr<node_t> grow(const NGramTable& ngrams, const Settings& settings, int number_of_tags) {
  return Grower(ngrams, settings, number_of_tags).grow();
}

long count_nodes(const node_t& root) {
  return root.yes ? 1 + count_nodes(*root.yes) + count_nodes(*root.no) : 1;
}

void write(const node_t& root, int context_size, BinaryOutput& out) {
  out.value(int32_t{context_size});
  write_subtree(root, out);
}

}  // namespace orvelle::plain
