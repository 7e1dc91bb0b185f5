// SPDX-License-Identifier: MIT
// The context tree against a slow one that evaluates every tag at every position at every node, on the plain
// list of n-grams. Both write their tree; the bytes must be the same.
#include <gtest/gtest.h>

#include <cmath>
#include <functional>
#include <limits>
#include <map>
#include <random>
#include <string>
#include <vector>

#include "context/context_section.h"
#include "test_support.h"
#include "training/chain_search.h"
#include "training/settings.h"
#include "training/tree_growth.h"

namespace orvelle {
namespace {

constexpr double Infinity = std::numeric_limits<double>::infinity();
constexpr double NaN = std::numeric_limits<double>::quiet_NaN();

double binary_log(double x) { return std::log(x) / 0.6931471805599453; }

// ---- The referee

using ngrams_t = std::vector<std::pair<std::vector<int>, unsigned>>;

// One side of a test.
struct side_t {
  ngrams_t ngrams;
  std::vector<unsigned> count;  // indexed by predicted tag, as is prob
  std::vector<double> prob;
  unsigned freq = 0;
  double entropy = 0.0;

  void add(const ngrams_t::value_type& ngram) {
    ngrams.push_back(ngram);
    count[ngram.first.back()] += ngram.second;
    freq += ngram.second;
  }

  void estimate(const std::vector<double>& prior, double smoothing_weight) {
    int tags = 0;
    for (const unsigned f : count) tags += f > 0;
    const double w = tags * smoothing_weight, n = freq;
    const double share = 1.0 / (w + n), share_left_out = 1.0 / ((n - 1) + w);
    for (size_t k = 0; k < prior.size(); ++k) {
      const double f = count[k];
      prob.push_back((prior[k] * w + f) * share);
      if (f > 0) entropy -= binary_log((prior[k] * w + (f - 1)) * share_left_out) * f / n;
    }
  }
};

class Referee {
 public:
  Referee(const Settings& settings, int tags)
      : Context_Size(settings.Context_Size),
        Smoothing_Weight(settings.Smoothing_Weight),
        Min_Info_Gain(settings.Min_Info_Gain),
        Number_of_Tags(tags) {}

  std::vector<double> gains;  // of all tests that were the best of their node

  // The tree section.
  std::string tree(const std::vector<int>& corpus) {
    std::map<std::vector<int>, unsigned> counts;
    const size_t length = static_cast<size_t>(Context_Size) + 1;
    for (size_t i = 0; i + length <= corpus.size(); ++i)
      ++counts[{corpus.begin() + static_cast<long>(i), corpus.begin() + static_cast<long>(i + length)}];
    side_t root{.ngrams = {}, .count = std::vector<unsigned>(Number_of_Tags), .prob = {}};
    for (const auto& ngram : counts) root.add(ngram);
    int tags = 0;
    for (const unsigned f : root.count) tags += f > 0;
    for (const unsigned f : root.count)
      root.prob.push_back(((Smoothing_Weight * tags) / Number_of_Tags + f) /
                          (Smoothing_Weight * tags + root.freq));
    for (size_t k = 0; k < root.prob.size(); ++k)
      if (root.count[k] > 0) root.entropy -= binary_log(root.prob[k]) * root.count[k] / root.freq;
    put(int32_t{Context_Size});
    grow(root, root.prob, Context_Size - 1, std::vector<bool>(Context_Size));
    return bytes_;
  }

 private:
  template <class T>
  void put(T x) {
    bytes_.append(reinterpret_cast<const char*>(&x), sizeof x);
  }

  void grow(const side_t& node, const std::vector<double>& prior, int lowest, std::vector<bool> used) {
    bool any = false;
    side_t yes, no;
    int position = -1, tag = -1;
    double best = 0.0;
    for (int p = Context_Size - 1; p >= lowest; --p) {
      for (int t = 0; t < Number_of_Tags && !used[p]; ++t) {
        side_t y{.ngrams = {}, .count = std::vector<unsigned>(Number_of_Tags), .prob = {}}, n = y;
        for (const auto& ngram : node.ngrams) (ngram.first[p] == t ? y : n).add(ngram);
        y.estimate(prior, Smoothing_Weight);
        n.estimate(prior, Smoothing_Weight);
        const double score = y.freq * y.entropy + n.freq * n.entropy;
        if (any && !(best > score)) continue;
        any = true;
        yes = y, no = n, position = p, tag = t, best = score;
      }
    }
    if (!any || yes.freq == 0 || no.freq == 0) return put_leaf(node);
    const double n = node.freq;
    const double gain =
        binary_log(n) * (node.entropy - yes.freq * yes.entropy / n - no.freq * no.entropy / n);
    gains.push_back(gain);
    if (Min_Info_Gain > gain) return put_leaf(node);
    put(int32_t{0});
    put(int32_t{position});
    put(int32_t{tag});
    if (lowest > 0 && position == lowest) --lowest;
    std::vector<bool> used_below_yes = used;
    used_below_yes[position] = true;
    grow(yes, yes.prob, lowest, used_below_yes);
    grow(no, prior, lowest, used);
  }

  void put_leaf(const side_t& node) {
    int32_t positive = 0;
    for (const double p : node.prob) positive += p > 0.0;
    put(int32_t{1});
    put(positive);
    put(uint32_t{node.freq});
    for (int32_t k = 0; k < Number_of_Tags; ++k) {
      if (!(node.prob[k] > 0.0)) continue;
      put(k);
      put(node.prob[k]);
    }
  }

  const int Context_Size;
  const double Smoothing_Weight, Min_Info_Gain;
  const int Number_of_Tags;
  std::string bytes_;
};

// ---- The check on corpora too large for the referee: every choice against the exact evaluation of every candidate

class CheckedSearch : public ChainSearch {
 public:
  using ChainSearch::ChainSearch;

  bool find_split(split_t& split) {
    const bool found = ChainSearch::find_split(split);
    if (exact_only_ || freq_ < 2) return found;
    ++nodes;
    near_ties += candidates_.size() > 1;
    most_evaluated = std::max(most_evaluated, candidates_.size());
    const double bound = error_bound();
    const split_t best = best_by_evaluation();
    for (size_t t = 0; t < open_tables_; ++t)
      for (row_t& row : tables_[t].rows) {
        if (row.n == 0 || row.n == freq_) continue;
        const double score = evaluate(tables_[t], row).score;
        worst_error = std::max(worst_error, std::fabs(score_row(tables_[t], row) - score) / bound);
        if (row.n > freq_ / 2) continue;
        largest_gain = std::max(largest_gain, (undivided_score() - bound - score) / (row.n * most_gain()));
      }
    const bool best_found = best.position >= 0 && exact_gain_suffices(best);
    wrong_choices +=
        best_found != found || (found && (best.position != split.position || best.tag != split.tag));
    return found;
  }

  size_t nodes = 0, wrong_choices = 0, near_ties = 0;
  size_t most_evaluated = 0;  // candidates of a node
  double worst_error = 0.0;   // largest error of an approximate score, as a share of the bound allowed for
  double largest_gain = 0.0;  // of a test, as a share of the most that is taken for possible

 private:
  // Position -1 if no test that divides the node is better than one that does not.
  split_t best_by_evaluation() const {
    size_t undivided_table = 0;
    int undivided_tag = 0;
    bool competes = open_tables_ > 0 && first_undivided(undivided_table, undivided_tag);
    split_t best{-1, -1, 0, 0};
    double least = Infinity;
    const auto compare = [&](double score, const split_t& split) {
      if (score < least) least = score, best = split;
    };
    for (size_t t = 0; t < open_tables_; ++t) {
      for (size_t r = 0; r < tables_[t].rows.size(); ++r) {
        const row_t& row = tables_[t].rows[r];
        if (competes && t == undivided_table && row.tag >= undivided_tag)
          competes = (compare(freq_ * exact_entropy(), {-1, -1, 0, 0}), false);
        if (row.n != 0 && row.n != freq_)
          compare(evaluate(tables_[t], row).score, {tables_[t].position, row.tag, t, r});
      }
      if (competes && t == undivided_table)
        competes = (compare(freq_ * exact_entropy(), {-1, -1, 0, 0}), false);
    }
    return best;
  }
};

// ---- Corpora

class Corpora : public testing::Test {
 protected:
  int below(int n) { return std::uniform_int_distribution<int>(0, n - 1)(random_); }

  // Tags in patterns that leave much to find (noisy ones) and that make many tests equally good (the others).
  std::vector<int> make_corpus(int kind, int length) {
    std::vector<int> corpus;
    const int n = Number_of_Tags, step = 1 + below(3);
    std::vector<int> order(n);
    for (int i = 0; i < n; ++i) order[i] = i;
    for (int i = 0; i < length; ++i) {
      const int before = i >= 2 ? corpus[i - 2] : 0, last = i >= 1 ? corpus[i - 1] : 0;
      if (i % n == 0) std::shuffle(order.begin(), order.end(), random_);
      switch (kind) {
        case 0:
          corpus.push_back(below(4) ? (before * step + last) % n : below(n));
          break;
        case 1:
          corpus.push_back(std::min(below(n), below(n)));
          break;
        case 2:
          corpus.push_back(i * step % n);
          break;
        case 3:
          corpus.push_back(order[i % n]);
          break;
        default:
          corpus.push_back(below(20) ? last : below(n));
      }
    }
    return corpus;
  }
  static constexpr int Kinds = 5;

  NGramTable ngrams_of(const std::vector<int>& corpus) const {
    NGramCounter ngrams(settings_.Context_Size, false);
    for (const int tag : corpus) ngrams.add_line({context_tag_t::Token, static_cast<int16_t>(tag)}, "");
    return {std::move(ngrams), Number_of_Tags, {}};
  }

  // The section of a tree, and that of the tree that a reader of it has in memory.
  std::pair<std::string, std::string> sections(const GrownTree& tree) const {
    for (const bool in_memory : {false, true}) {
      BinaryOutput out(dir_.path(in_memory ? "memory" : "file").c_str());
      if (in_memory)
        write_tree(make_context_tree(tree), out);
      else
        write_tree(tree, out, {});
      out.close();
    }
    return {read_file(dir_.path("file")), read_file(dir_.path("memory"))};
  }

  std::vector<double> expect_same_tree(const std::vector<int>& corpus, const std::string& label) {
    Referee referee(settings_, Number_of_Tags);
    const std::string expected = referee.tree(corpus);
    const auto [file, memory] = sections(make_tree(ngrams_of(corpus), settings_, Number_of_Tags, {}));
    EXPECT_TRUE(file == expected) << label << ": " << file.size() << " bytes instead of " << expected.size();
    EXPECT_TRUE(memory == expected) << label;
    return referee.gains;
  }

  CheckedSearch checked(const std::vector<int>& corpus) {
    const NGramTable ngrams = ngrams_of(corpus);
    GrownTree tree;
    tree.Context_Size = settings_.Context_Size;
    tree.Smoothing_Weight = settings_.Smoothing_Weight;
    CheckedSearch search(ngrams, {settings_.Smoothing_Weight, settings_.Min_Info_Gain, Number_of_Tags});
    const Progress silent;
    ContextTreeGrower(search, tree, silent).grow(make_root(ngrams, Number_of_Tags, tree));
    return search;
  }

  Settings settings_;
  int Number_of_Tags = 0;
  TempDir dir_;
  std::mt19937 random_{20};
};

class TreeReferee : public Corpora, public testing::WithParamInterface<double> {};

TEST_P(TreeReferee, GrowsTheSameTree) {
  settings_.Smoothing_Weight = GetParam();
  size_t tests = 0;
  for (int round = 0; round < 30; ++round) {
    Number_of_Tags = round % 6 == 5 ? 2 : 2 + below(7);
    settings_.Context_Size = 1 + round % 4;
    settings_.Min_Info_Gain = std::vector<double>{0.5, 0.0, -1.0}[round % 3];
    const auto corpus = make_corpus(round % Kinds, round == 0 ? 1 : 5 + below(120));
    const std::string label = "round " + std::to_string(round);
    const std::vector<double> gains = expect_same_tree(corpus, label);
    tests += gains.size();
    if (gains.empty()) continue;
    // A gain that is exactly the least one splits; the least bit below it does not.
    const double gain = gains[below(static_cast<int>(gains.size()))];
    for (const double least : {gain, std::nextafter(gain, Infinity)}) {
      settings_.Min_Info_Gain = least;
      expect_same_tree(corpus, label + ", least gain that of a test");
    }
  }
  EXPECT_GT(tests, std::isfinite(GetParam()) ? 40u : 10u);
}

INSTANTIATE_TEST_SUITE_P(Weights, TreeReferee,
                         testing::Values(1.0, 0.3, 7.0, 1e-5, 0.0, -0.0, 1e-320, 1e7, Infinity, NaN));

// Leaves of more tags than are written at once.
TEST_F(Corpora, ManyTags) {
  Number_of_Tags = 1100;
  settings_.Context_Size = 1;
  settings_.Min_Info_Gain = 0.0;
  std::vector<int> corpus;
  for (int i = 0; i < 8; ++i) corpus.push_back(std::vector<int>{0, 1050, 700, 1099, 1050}[i % 5]);
  EXPECT_GE(expect_same_tree(corpus, "many tags").size(), 2u);
}

TEST_F(Corpora, SearchChoosesAsExactEvaluationDoes) {
  size_t nodes = 0, near_ties = 0;
  for (int kind = 0; kind < Kinds; ++kind)
    for (const double weight : {1.0, 0.01, 30.0, 1e-5}) {
      settings_.Smoothing_Weight = weight;
      settings_.Context_Size = 3;
      settings_.Min_Info_Gain = -1.0;
      Number_of_Tags = kind == 3 ? 9 : 30;
      const CheckedSearch search = checked(make_corpus(kind, 4000));
      EXPECT_EQ(search.wrong_choices, 0u) << kind;
      EXPECT_LT(search.worst_error, 1.0) << kind;
      EXPECT_LT(search.largest_gain, 1.0) << kind;
      nodes += search.nodes;
      near_ties += search.near_ties;
    }
  EXPECT_GT(nodes, 1000u);
  EXPECT_GT(near_ties, 100u);
}

// Where all tests are equally good, a few of them stand for all.
TEST_F(Corpora, EqualCandidatesAreEvaluatedOnce) {
  Number_of_Tags = 100;
  settings_.Context_Size = 2;
  settings_.Min_Info_Gain = -1.0;
  const std::vector<std::pair<const char*, std::function<int(int)>>> corpora = {
      {"a cycle", [](int i) { return i % 100; }},
      {"there and back", [](int i) { return i / 100 % 2 == 0 ? i % 100 : 99 - i % 100; }},
      {"each tag once", [](int i) { return i < 100 ? i : 0; }},
  };
  for (const auto& [name, tag_at] : corpora) {
    std::vector<int> corpus;
    for (int i = 0; i < 2000; ++i) corpus.push_back(tag_at(i));
    const CheckedSearch search = checked(corpus);
    EXPECT_GE(search.nodes, 100u) << name;
    EXPECT_EQ(search.wrong_choices, 0u) << name;
    EXPECT_LT(search.most_evaluated, 10u) << name;
  }
}

// What is rounded in the sums of a node of millions must not outlast the test that takes most of it off.
TEST_F(Corpora, ErrorsOfALargeNodeDoNotReachTheSmallOnesBelow) {
  Number_of_Tags = 60;
  settings_.Context_Size = 1;
  settings_.Min_Info_Gain = 0.0;
  std::vector<int> corpus(2'000'000, 0);
  for (int i = 0; i < 400; ++i)
    corpus.push_back(1 + (below(3) ? corpus.back() * 7 + below(3) : below(59)) % 59);
  const CheckedSearch search = checked(corpus);
  EXPECT_GT(search.nodes, 10u);
  EXPECT_EQ(search.wrong_choices, 0u);
  EXPECT_LT(search.worst_error, 1.0);
  EXPECT_LT(search.largest_gain, 1.0);
}

}  // namespace
}  // namespace orvelle
