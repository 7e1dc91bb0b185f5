// SPDX-License-Identifier: MIT
// The decoder against the sum over all paths, on small random trees and candidates.
#include "tagger/decoder.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <climits>
#include <functional>
#include <map>
#include <random>
#include <set>
#include <vector>

namespace orvelle {
namespace {

constexpr int Tags = 5;
const std::vector<double> Factors = {3.0, 8.0, 5.0, 20.0, 4.0};

class RandomModel {
 public:
  RandomModel(unsigned seed, int context_size, bool sparse, int tags = Tags, int depth = 5)
      : builder_(context_size), random_(seed), sparse_(sparse), tags_(tags) {
    grow(std::vector<bool>(context_size, false), depth);
    tree = builder_.take();
  }

  std::vector<std::vector<candidate_t>> words(size_t count) {
    std::vector<std::vector<candidate_t>> result(count);
    for (auto& candidates : result) {
      for (int tag = 0; tag < tags_; ++tag)
        if (below(2) == 0) candidates.push_back({tag, -1, 0.05 + below(1000) / 500.0});
      if (candidates.empty()) candidates.push_back({below(tags_), -1, 1.0});
    }
    return result;
  }

  int below(int n) { return static_cast<int>(random_() % static_cast<unsigned>(n)); }

  context_tree_t tree;

 private:
  void grow(const std::vector<bool>& fixed, int depth) {
    const int position = below(static_cast<int>(fixed.size()));
    if (depth == 0 || fixed[position]) return add_leaf();
    builder_.inner_node(position, below(tags_));
    std::vector<bool> below_yes = fixed;
    below_yes[position] = true;
    grow(below_yes, depth - 1);
    grow(fixed, depth - 1);
  }

  // A sparse leaf leaves some tags out; some probabilities are beyond the floor and the ceiling.
  void add_leaf() {
    std::vector<int> listed;
    for (int tag = 0; tag < tags_; ++tag)
      if (!sparse_ || below(3) > 0) listed.push_back(tag);
    const ContextTreeBuilder::entries_t entries =
        builder_.leaf(static_cast<int32_t>(listed.size()), static_cast<uint32_t>(below(12)));
    const double odd[] = {0.0, -1.0, 1e-12, 7.0};
    for (size_t i = 0; i < listed.size(); ++i)
      entries.put(static_cast<int>(i), listed[i], below(30) ? (1 + below(100)) / 250.0 : odd[below(4)]);
  }

  ContextTreeBuilder builder_;
  std::mt19937 random_;
  bool sparse_;
  int tags_;
};

// From the definition: a leaf that lists every tag as it stands, another with one n-gram of the tags' shares; then the
// floor, a millionth of the share, and the ceiling.
double slow_probability(const context_leaf_t& leaf, int32_t tag) {
  const double share = 1.0 / Factors[tag];
  double p = 0.0;
  for (int i = 0; i < leaf.n; ++i)
    if (leaf.tag[i] == tag) p = leaf.prob[i];
  if (leaf.n < Tags) p = (leaf.freq * p + share) / (leaf.freq + 1.0);
  return std::clamp(p, 1e-6 * share, 1.0);
}

struct decoder_case_t {
  const char* name;
  int context_size;
  bool sparse;
  size_t beam;
};

// The paths through the words, straight from the definition: all of them, or those of which the beam keeps every history.
class AllPaths : public testing::TestWithParam<decoder_case_t> {
 protected:
  using history_t = std::vector<int32_t>;

  void set_up(unsigned seed, RandomModel& random, int order) {
    candidates_ = random.words(1 + seed % 7);
    words.assign(candidates_.begin(), candidates_.end());
    start.clear();
    for (int i = 0; i < GetParam().context_size; ++i) start.push_back(random.below(Tags));
    order_ = order;
    tree_ = &random.tree;
    if (order > Decoder::Max_Exact_Order) find_kept();
  }

  void for_each_path(const std::function<void(const std::vector<int>&, double)>& action) {
    std::vector<int> path;
    const std::function<void(history_t, double)> extend = [&](history_t tags, double p) {
      if (!path.empty() && order_ > Decoder::Max_Exact_Order &&
          !kept_[path.size() - 1].contains(history_t(tags.end() - order_, tags.end())))
        return;
      if (path.size() == words.size()) return action(path, p);
      for (size_t c = 0; c < words[path.size()].size(); ++c) {
        history_t longer = tags;
        const double step = extended(longer, words[path.size()][c]);
        path.push_back(static_cast<int>(c));
        extend(longer, p * step);
        path.pop_back();
      }
    };
    extend(start, 1.0);
  }

  std::vector<candidates_t> words;
  history_t start;

 private:
  // Adds the candidate's tag; returns its probability there times its score.
  double extended(history_t& tags, const candidate_t& candidate) const {
    const context_leaf_t& leaf = context_leaf(*tree_, &tags[tags.size() - tree_->Context_Size]);
    tags.push_back(candidate.tag);
    return slow_probability(leaf, candidate.tag) * candidate.score;
  }

  // The histories that the beam keeps: those whose best path is among the best, word by word.
  void find_kept() {
    kept_.clear();
    std::map<history_t, std::pair<double, history_t>> states{{{}, {1.0, start}}};
    for (const candidates_t word : words) {
      std::map<history_t, std::pair<double, history_t>> next;
      for (const auto& [history, state] : states)
        for (const candidate_t& candidate : word) {
          history_t tags = state.second;
          const double p = state.first * extended(tags, candidate);
          auto& best = next[history_t(tags.end() - order_, tags.end())];
          if (p > best.first) best = {p, tags};
        }
      std::vector<double> values;
      for (const auto& [history, state] : next) values.push_back(state.first);
      std::sort(values.rbegin(), values.rend());
      const double least = values[std::min(values.size(), GetParam().beam) - 1];
      std::erase_if(next, [least](const auto& state) { return state.second.first < least; });
      states = std::move(next);
      kept_.emplace_back();
      for (const auto& [history, state] : states) kept_.back().insert(history);
    }
  }

  std::vector<std::vector<candidate_t>> candidates_;
  std::vector<std::set<history_t>> kept_;
  const context_tree_t* tree_ = nullptr;
  int order_ = 0;
};

TEST_P(AllPaths, BestPathAndPosteriors) {
  const decoder_case_t& c = GetParam();
  for (unsigned seed = 1; seed <= 30; ++seed) {
    SCOPED_TRACE(seed);
    RandomModel random(seed, c.context_size, c.sparse);
    ContextModel model(random.tree, Factors);
    set_up(seed, random, model.order());
    double best = 0.0, sum = 0.0;
    std::map<std::vector<int>, double> probability;
    std::vector<std::vector<double>> expected;
    for (const candidates_t word : words) expected.emplace_back(word.size(), 0.0);
    for_each_path([&](const std::vector<int>& path, double p) {
      best = std::max(best, p);
      sum += p;
      probability[path] = p;
      for (size_t i = 0; i < path.size(); ++i) expected[i][path[i]] += p;
    });

    Decoder decoder(model, c.beam);
    const preceding_t preceding{std::span(start).subspan(1), start[0]};
    std::vector<int> chosen;
    decoder.best_path(words, preceding, chosen);
    EXPECT_NEAR(probability[chosen] / best, 1.0, 1e-12);
    std::vector<int> again;
    Decoder(model, c.beam).best_path(words, preceding, again);
    EXPECT_EQ(again, chosen);

    std::vector<double> posteriors;
    decoder.posteriors(words, preceding, posteriors);
    size_t k = 0;
    for (const std::vector<double>& word : expected)
      for (const double p : word) EXPECT_NEAR(posteriors.at(k++), p / sum, 1e-12);
    EXPECT_EQ(k, posteriors.size());
  }
}

INSTANTIATE_TEST_SUITE_P(Decoder, AllPaths,
                         testing::Values(decoder_case_t{"Bigrams", 1, false, 1},
                                         decoder_case_t{"Trigrams", 2, false, 1},
                                         decoder_case_t{"SparseTrigrams", 2, true, 1},
                                         decoder_case_t{"WideBeam", 4, false, 1000},
                                         decoder_case_t{"SparseWideBeam", 3, true, 1000},
                                         decoder_case_t{"NarrowBeam", 4, true, 3}),
                         [](const auto& test) { return std::string(test.param.name); });

// More contexts than the memo has room for: one that takes a slot over must not get the leaf of the other.
TEST(ContextModel, RemembersTheLeafOfEachContext) {
  constexpr int Many_Tags = 60;
  RandomModel random(3, 4, true, Many_Tags, 9);
  ContextModel model(random.tree, std::vector<double>(Many_Tags, 5.0));
  ASSERT_EQ(model.order(), 4);
  ContextTreeBuilder near(4);
  near.inner_node(2, 1), near.leaf(0, 1), near.inner_node(3, 1), near.leaf(0, 2), near.leaf(0, 3);
  const context_tree_t tree = near.take();
  ContextModel of_two(tree, std::vector<double>(Many_Tags, 5.0));
  EXPECT_EQ(of_two.order(), 2);
  EXPECT_EQ(of_two.leaf(std::vector<int32_t>{1, 1}.data()).freq, 1u);
  EXPECT_EQ(of_two.leaf(std::vector<int32_t>{0, 1}.data()).freq, 2u);
  for (int i = 0; i < 200000; ++i) {
    const int32_t tags[] = {random.below(4), random.below(Many_Tags), random.below(Many_Tags),
                            random.below(5)};
    ASSERT_EQ(&model.leaf(tags), &context_leaf(random.tree, tags)) << i;
  }
}

// What a file says of the number of preceding tags costs nothing, only what its tests ask for; a test that looks back behind
// the beginning sees what stands there.
TEST(Decoder, LooksBackAsFarAsATreeAsks) {
  const auto make_tree = [](int context_size, bool has_far_test) {
    ContextTreeBuilder builder(context_size);
    if (has_far_test) builder.inner_node(0, 2);
    for (const int distance : {9, 4, 1}) builder.inner_node(context_size - distance, 1);
    for (int leaf = 0; leaf < (has_far_test ? 5 : 4); ++leaf) {
      const ContextTreeBuilder::entries_t entries = builder.leaf(3, 10);
      for (int tag = 0; tag < 3; ++tag) entries.put(tag, tag, (1 + (leaf * 5 + tag * 3) % 7) / 14.0);
    }
    return builder.take();
  };
  const context_tree_t far = make_tree(INT_MAX, true), near = make_tree(9, false);
  ContextModel far_model(far, {3.0, 3.0, 3.0}), near_model(near, {3.0, 3.0, 3.0});
  EXPECT_EQ(far_model.order(), INT_MAX);
  RandomModel random(5, 2, false, 3);
  const auto candidates = random.words(9);
  const std::vector<candidates_t> words(candidates.begin(), candidates.end());
  const std::vector<int32_t> known = {1, 0, 1};
  std::vector<int> chosen, expected_chosen;
  std::vector<double> posteriors, expected;
  Decoder(far_model, 32).best_path(words, {known, 2}, chosen);
  Decoder(near_model, 32).best_path(words, {known, 2}, expected_chosen);
  Decoder(far_model, 32).posteriors(words, {known, 2}, posteriors);
  Decoder(near_model, 32).posteriors(words, {known, 2}, expected);
  EXPECT_EQ(chosen, expected_chosen);
  EXPECT_EQ(posteriors, expected);
}

// A text so long that its probability is far below what a double holds.
TEST(Decoder, LongTextDoesNotUnderflow) {
  RandomModel random(7, 2, true);
  ContextModel model(random.tree, Factors);
  auto candidates = random.words(5000);
  for (auto& word : candidates)
    for (candidate_t& candidate : word) candidate.score *= 1e-9;
  const std::vector<candidates_t> words(candidates.begin(), candidates.end());
  const std::vector<int32_t> start(2, 0);
  std::vector<int> chosen;
  Decoder decoder(model, 1);
  const preceding_t preceding{start, 0};
  decoder.best_path(words, preceding, chosen);
  std::vector<double> posteriors;
  decoder.posteriors(words, preceding, posteriors);
  size_t k = 0;
  for (const candidates_t word : words) {
    double sum = 0.0;
    for (size_t c = 0; c < word.size(); ++c) sum += posteriors[k++];
    ASSERT_NEAR(sum, 1.0, 1e-9);
  }
}

}  // namespace
}  // namespace orvelle
