// The decoder against the sum over all paths, on small random trees and candidates.
#include "tagger/decoder.h"

#include <gtest/gtest.h>

#include <cmath>
#include <functional>
#include <random>
#include <vector>

namespace orvelle {
namespace {

constexpr int Tags = 5;
const std::vector<double> Factors = {3.0, 8.0, 5.0, 20.0, 4.0};

class RandomModel {
 public:
  RandomModel(unsigned seed, int context_size, bool sparse) : random_(seed), sparse_(sparse) {
    tree.context_size = context_size;
    grow(std::vector<bool>(context_size, false), 5);
  }

  std::vector<std::vector<candidate_t>> words(size_t count) {
    std::vector<std::vector<candidate_t>> result(count);
    for (auto& candidates : result) {
      for (int tag = 0; tag < Tags; ++tag)
        if (below(2) == 0) candidates.push_back({tag, -1, 0.05 + below(1000) / 500.0});
      if (candidates.empty()) candidates.push_back({below(Tags), -1, 1.0});
    }
    return result;
  }

  int below(int n) { return static_cast<int>(random_() % static_cast<unsigned>(n)); }

  context_tree_t tree;

 private:
  void grow(std::vector<bool> fixed, int depth) {
    const int position = below(tree.context_size);
    if (depth == 0 || fixed[position]) {
      add_leaf();
      return;
    }
    const size_t node = tree.nodes.size();
    tree.nodes.push_back({position, below(Tags), 0});
    std::vector<bool> below_yes = fixed;
    below_yes[position] = true;
    grow(below_yes, depth - 1);
    tree.nodes[node].no = static_cast<int32_t>(tree.nodes.size());
    grow(fixed, depth - 1);
  }

  // A sparse leaf leaves some tags out.
  void add_leaf() {
    tree.nodes.push_back({0, static_cast<int32_t>(tree.leaves.size()), 0});
    auto block = std::make_unique<double[]>(2 * Tags);
    auto* const tags = reinterpret_cast<int32_t*>(block.get() + Tags);
    int32_t n = 0;
    for (int tag = 0; tag < Tags; ++tag) {
      if (sparse_ && below(3) == 0) continue;
      block[n] = (1 + below(100)) / 250.0;
      tags[n++] = tag;
    }
    tree.leaves.push_back({tags, block.get(), n, 10});
    tree.blocks.push_back(std::move(block));
  }

  std::mt19937 random_;
  bool sparse_;
};

// Every path with its probability, straight from the definition.
void for_each_path(const context_tree_t& tree, const ContextModel& model, std::span<const candidates_t> words,
                   const std::vector<int32_t>& start,
                   const std::function<void(const std::vector<int>&, double)>& action) {
  std::vector<int> path;
  const std::function<void(std::vector<int32_t>, double)> extend = [&](std::vector<int32_t> tags, double p) {
    if (path.size() == words.size()) {
      action(path, p);
      return;
    }
    const context_leaf_t& leaf = context_leaf(tree, &tags[tags.size() - tree.context_size]);
    const candidates_t candidates = words[path.size()];
    for (size_t c = 0; c < candidates.size(); ++c) {
      std::vector<int32_t> longer = tags;
      longer.push_back(candidates[c].tag);
      path.push_back(static_cast<int>(c));
      extend(longer, p * model.probability(leaf, candidates[c].tag) * candidates[c].score);
      path.pop_back();
    }
  };
  extend(start, 1.0);
}

struct decoder_case_t {
  const char* name;
  int context_size;
  bool sparse;
  size_t beam;
};

class AllPaths : public testing::TestWithParam<decoder_case_t> {};

TEST_P(AllPaths, BestPathAndPosteriors) {
  const decoder_case_t& c = GetParam();
  for (unsigned seed = 1; seed <= 60; ++seed) {
    SCOPED_TRACE(seed);
    RandomModel random(seed, c.context_size, c.sparse);
    ContextModel model(random.tree, Factors);
    const auto candidates = random.words(1 + seed % 7);
    const std::vector<candidates_t> words(candidates.begin(), candidates.end());
    std::vector<int32_t> start;
    for (int i = 0; i < c.context_size; ++i) start.push_back(random.below(Tags));

    double best = 0.0, sum = 0.0;
    std::vector<int> best_path;
    std::vector<std::vector<double>> expected;
    for (const candidates_t word : words) expected.emplace_back(word.size(), 0.0);
    for_each_path(random.tree, model, words, start, [&](const std::vector<int>& path, double p) {
      if (p > best) best = p, best_path = path;
      sum += p;
      for (size_t i = 0; i < path.size(); ++i) expected[i][path[i]] += p;
    });

    Decoder decoder(model, c.beam);
    const int32_t* const preceding = start.data() + (c.context_size - model.order());
    std::vector<int> chosen;
    decoder.best_path(words, preceding, chosen);
    double probability = 0.0;
    for_each_path(random.tree, model, words, start, [&](const std::vector<int>& path, double p) {
      if (path == chosen) probability = p;
    });
    EXPECT_NEAR(probability / best, 1.0, 1e-12);
    std::vector<int> again;
    Decoder(model, c.beam).best_path(words, preceding, again);
    EXPECT_EQ(again, chosen);

    std::vector<double> posteriors;
    decoder.posteriors(words, preceding, posteriors);
    size_t k = 0;
    for (const std::vector<double>& word : expected) {
      double total = 0.0;
      for (const double p : word) {
        EXPECT_NEAR(posteriors.at(k), p / sum, 1e-12);
        total += posteriors[k++];
      }
      EXPECT_NEAR(total, 1.0, 1e-12);
    }
    EXPECT_EQ(k, posteriors.size());
  }
}

INSTANTIATE_TEST_SUITE_P(Decoder, AllPaths,
                         testing::Values(decoder_case_t{"Bigrams", 1, false, 1},
                                         decoder_case_t{"Trigrams", 2, false, 1},
                                         decoder_case_t{"SparseTrigrams", 2, true, 1},
                                         decoder_case_t{"WideBeam", 4, false, 1000},
                                         decoder_case_t{"SparseWideBeam", 3, true, 1000}),
                         [](const auto& test) { return std::string(test.param.name); });

// What the beam loses it must lose to better histories: the path found is one of the paths, and wider is not worse.
TEST(Decoder, BeamGetsBetterWithItsWidth) {
  double narrow_sum = 0.0, wide_sum = 0.0;
  for (unsigned seed = 1; seed <= 40; ++seed) {
    RandomModel random(seed, 4, false);
    ContextModel model(random.tree, Factors);
    const auto candidates = random.words(7);
    const std::vector<candidates_t> words(candidates.begin(), candidates.end());
    const std::vector<int32_t> start(4, 0);
    const auto log_probability = [&](size_t beam) {
      std::vector<int> chosen;
      Decoder(model, beam).best_path(words, start.data() + (4 - model.order()), chosen);
      double found = 0.0;
      for_each_path(random.tree, model, words, start, [&](const std::vector<int>& path, double p) {
        if (path == chosen) found = p;
      });
      EXPECT_GT(found, 0.0);
      return std::log(found);
    };
    narrow_sum += log_probability(2);
    wide_sum += log_probability(50);
  }
  EXPECT_LT(narrow_sum, wide_sum);
}

// A text so long that its probability is far below what a double holds.
TEST(Decoder, LongTextDoesNotUnderflow) {
  RandomModel random(7, 2, true);
  ContextModel model(random.tree, Factors);
  auto candidates = random.words(20000);
  for (auto& word : candidates)
    for (candidate_t& candidate : word) candidate.score *= 1e-9;
  const std::vector<candidates_t> words(candidates.begin(), candidates.end());
  const std::vector<int32_t> start(2, 0);
  std::vector<int> chosen;
  Decoder decoder(model);
  decoder.best_path(words, start.data() + (2 - model.order()), chosen);
  std::vector<double> posteriors;
  decoder.posteriors(words, start.data() + (2 - model.order()), posteriors);
  size_t k = 0;
  for (const candidates_t word : words) {
    double sum = 0.0;
    for (size_t c = 0; c < word.size(); ++c) sum += posteriors[k++];
    ASSERT_NEAR(sum, 1.0, 1e-9);
  }
  // The end of the text is what it is for the last words alone: the way there does not matter any more.
  std::vector<int> tail;
  const std::vector<int32_t> before = {words[19899][chosen[19899]].tag, words[19900][chosen[19900]].tag};
  decoder.best_path(std::span(words).subspan(19901), before.data() + (2 - model.order()), tail);
  EXPECT_TRUE(std::equal(tail.begin(), tail.end(), chosen.begin() + 19901));
}

}  // namespace
}  // namespace orvelle
