// SPDX-License-Identifier: MIT
// The affix trees against slow ones that are built as lists, word by word and tag by tag, and pruned
// afterwards. Both come as the bytes of the affix section.
#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <limits>
#include <list>
#include <map>
#include <random>
#include <set>
#include <string>
#include <vector>

#include "affix/affix_section.h"
#include "model/tables.h"
#include "sample_file.h"
#include "support/binary_output.h"
#include "training/affix_trees.h"

namespace orvelle {
namespace {

constexpr double Infinity = std::numeric_limits<double>::infinity();

double binary_log(double x) { return std::log(x) / 0.6931471805599453; }

struct cell_t {
  int tag;
  double freq;
};
using cells_t = std::list<cell_t>;

struct slow_node_t {
  int symbol = 257;
  double freq = 0.0;
  float info = 0.0f;
  cells_t cells;
  std::list<slow_node_t> children;
};

double entropy(const cells_t& cells, double total) {
  double sum = 0.0;
  for (const cell_t& cell : cells) {
    const double p = cell.freq * (1.0 / total);
    if (p > 0.0) sum += -p * binary_log(p);
  }
  return sum;
}

class SlowTree {
 public:
  SlowTree(const Lexicon& lexicon, const std::vector<char>& open_class, double cut_off_gain, bool is_prefix)
      : open_class_(open_class), cut_off_gain_(cut_off_gain) {
    for (int i = 0; i < lexicon.Fullform_Lexicon_Size; ++i)
      for (int k = 0; k < lexicon.Fullform_Lexicon[i].data->n; ++k)
        insert(lexicon.Fullform_Lexicon[i], k, is_prefix);
    calc_info(root_);
    prune(root_);
    sort(root_);
    add_group({&root_});
  }

  std::vector<double> gains;  // that decided over a leaf or a default child

  int size() const { return nodes_; }

  std::string section() const {
    std::string bytes;
    put(bytes, static_cast<uint16_t>(nodes_));
    return bytes + records_ + pairs_;
  }

  std::string open_class_node() {
    thin_and_order(root_.cells);
    std::string bytes = record(1, 257, root_.cells.size(), 0);
    append_pairs(bytes, root_.cells);
    return bytes;
  }

 private:
  template <class T>
  static void put(std::string& bytes, T x) {
    bytes.append(reinterpret_cast<const char*>(&x), sizeof x);
  }

  void insert(const entry_t& entry, int k, bool is_prefix) {
    const std::string word = entry.word;
    const int tag = entry.data->tag[k];
    if (!(entry.data->prob[k] > 0) || !open_class_[tag] || word.size() < 6) return;
    slow_node_t* node = &root_;
    for (size_t depth = 0;; ++depth) {
      auto cell =
          std::find_if(node->cells.begin(), node->cells.end(), [&](const cell_t& c) { return c.tag == tag; });
      if (cell == node->cells.end()) cell = node->cells.insert(cell, {tag, 0.0});
      cell->freq += entry.data->prob[k];
      if (depth == 5) return;
      const int symbol = static_cast<signed char>(is_prefix ? word[depth] : word[word.size() - 1 - depth]);
      auto child = node->children.begin();
      while (child != node->children.end() && child->symbol != symbol) ++child;
      if (child == node->children.end())
        child = node->children.insert(child, slow_node_t{.symbol = symbol, .cells = {}, .children = {}});
      node = &*child;
    }
  }

  void calc_info(slow_node_t& node) {
    for (const cell_t& cell : node.cells) node.freq += cell.freq;
    node.info = static_cast<float>(entropy(node.cells, node.freq));
    for (slow_node_t& child : node.children) calc_info(child);
  }

  void prune(slow_node_t& parent) {
    std::map<int, double> gathered;
    double mass = 0.0;
    for (auto child = parent.children.begin(); child != parent.children.end();) {
      prune(*child);
      const double gain = child->freq == 0 ? 0.0 : binary_log(child->freq) * (parent.info - child->info);
      if (child->children.empty()) gains.push_back(gain);
      if (!child->children.empty() || !(cut_off_gain_ > gain)) {
        ++child;
        continue;
      }
      for (const cell_t& cell : child->cells) gathered[cell.tag] += cell.freq;
      mass += child->freq;
      child = parent.children.erase(child);
    }
    if (!(mass > 0.0) || parent.children.empty()) return;
    slow_node_t rest{.symbol = 256, .freq = mass, .cells = {}, .children = {}};
    for (const auto& [tag, freq] : gathered)
      if (freq != 0.0) rest.cells.push_back({tag, freq});
    const double info = entropy(rest.cells, mass);
    rest.info = static_cast<float>(info);
    gains.push_back(binary_log(mass) * (root_.info - info));
    if (gains.back() > cut_off_gain_) parent.children.push_front(rest);
  }

  static void thin_and_order(cells_t& cells) {
    double largest = 0.0;
    for (const cell_t& cell : cells) largest = std::max(largest, cell.freq);
    cells_t result;
    for (const cell_t& cell : cells) {
      if (cell.freq <= 0.01 * largest) continue;
      result.insert(
          std::find_if(result.begin(), result.end(), [&](const cell_t& c) { return c.freq <= cell.freq; }),
          cell);
    }
    cells = result;
  }

  void sort(slow_node_t& node) {
    std::list<slow_node_t> result;
    auto& children = node.children;
    if (!children.empty() && children.front().symbol == 256)
      result.splice(result.begin(), children, children.begin());
    while (!children.empty())
      result.splice(result.begin(), children,
                    std::min_element(children.begin(), children.end(),
                                     [](const auto& a, const auto& b) { return a.freq < b.freq; }));
    children = std::move(result);
    for (slow_node_t& child : children) {
      thin_and_order(child.cells);
      sort(child);
    }
  }

  static std::string record(int leaf, int symbol, size_t number, int first_child) {
    std::string bytes;
    for (const int x : {leaf, symbol, static_cast<int>(number), first_child, 0, 0})
      put(bytes, static_cast<int16_t>(x));
    return bytes;
  }

  static void append_pairs(std::string& bytes, const cells_t& cells) {
    double sum = 0.0;
    for (const cell_t& cell : cells) sum += cell.freq;
    for (const cell_t& cell : cells) {
      put(bytes, int32_t{cell.tag});
      put(bytes, static_cast<float>(cell.freq * (1.0 / sum)));
    }
  }

  void add_group(const std::vector<slow_node_t*>& group) {
    const size_t base = records_.size();
    for (slow_node_t* node : group) {
      ++nodes_;
      const bool leaf = node->children.empty();
      records_ += record(leaf, node->symbol, leaf ? node->cells.size() : node->children.size(), 0);
      if (!leaf) continue;
      append_pairs(pairs_, node->cells);
      for (const cell_t& cell : node->cells)
        for (cell_t& at_root : root_.cells)
          if (node != &root_ && at_root.tag == cell.tag) at_root.freq -= cell.freq;
    }
    for (size_t i = 0; i < group.size(); ++i) {
      if (group[i]->children.empty()) continue;
      const auto first_child = static_cast<uint16_t>(nodes_);
      records_.replace(base + 12 * i + 6, 2, reinterpret_cast<const char*>(&first_child), 2);
      std::vector<slow_node_t*> below;
      for (slow_node_t& child : group[i]->children) below.push_back(&child);
      add_group(below);
    }
  }

  const std::vector<char>& open_class_;
  double cut_off_gain_;
  slow_node_t root_;
  int nodes_ = 0;
  std::string records_, pairs_;
};

class AffixTrees : public testing::Test {
 protected:
  using readings_t = std::vector<std::pair<int, float>>;

  void set_lexicon(const std::set<std::string>& words, const std::vector<readings_t>& readings) {
    std::vector<sample_entry_t> entries;
    for (const std::string& word : words)
      entries.push_back(sample_entry(word, readings[entries.size() % readings.size()]));
    sample_file_t file;
    file.tags = {"A", "B", "C", "D", "E", "F"};
    file.factors.assign(6, 1.0);
    file.set_words(entries);
    model_ = file.model();
  }

  const fullex_t& fullex() const { return ModelAccess::tables(model_).fullex; }

  AffixLexicons make(double cut_off_gain) {
    sizes_.clear();
    return make_affix_trees(fullex().lexicon, fullex().tagset, Open_Class, cut_off_gain, into(sizes_), {});
  }

  // Returns the gains that decided.
  std::vector<double> expect_same_trees(double cut_off_gain) {
    SlowTree prefix(fullex().lexicon, Open_Class, cut_off_gain, true),
        suffix(fullex().lexicon, Open_Class, cut_off_gain, false);
    BinaryOutput out(dir_.path("section").c_str());
    write_affixlex(make(cut_off_gain), out);
    out.close();
    EXPECT_EQ(sizes_, "prefix lexicon: " + std::to_string(prefix.size()) +
                          " nodes\nsuffix lexicon: " + std::to_string(suffix.size()) + " nodes\n");
    EXPECT_TRUE(read_file(dir_.path("section")) ==
                prefix.section() + suffix.section() + prefix.open_class_node())
        << fullex().lexicon.Fullform_Lexicon_Size << " words, threshold " << cut_off_gain;
    std::vector<double> gains = prefix.gains;
    gains.insert(gains.end(), suffix.gains.begin(), suffix.gains.end());
    return gains;
  }

  const std::vector<char> Open_Class = {1, 1, 1, 1, 1, 0};
  TempDir dir_;
  std::string sizes_;
  Model model_ = sample_file_t().model();
};

class AffixReferee : public AffixTrees, public testing::WithParamInterface<double> {};

TEST_P(AffixReferee, BuildsTheSameTrees) {
  std::mt19937 random(5);
  const auto below = [&](int n) { return std::uniform_int_distribution<int>(0, n - 1)(random); };
  size_t decided = 0;
  for (int round = 0; round < 15; ++round) {
    const std::string alphabet = round % 2 ? "ab" : "aeng\xC3\xA9\x80\xFF";
    std::set<std::string> words;
    while (words.size() < std::vector<size_t>{0, 1, 8, 60, 250}[round % 5]) {
      std::string word;
      for (int length = 4 + below(6); length > 0; --length)
        word += alphabet[below(static_cast<int>(alphabet.size()))];
      words.insert(word);
    }
    std::vector<readings_t> readings;
    for (size_t i = 0; i <= words.size(); ++i) {
      readings.emplace_back();
      for (int tag = below(3); tag < 6; tag += 1 + below(round % 3 ? 6 : 3))
        readings.back().emplace_back(
            tag, static_cast<float>(below(5)) / 4 / static_cast<float>(1 + below(2) * below(300)));
    }
    set_lexicon(words, readings);
    const std::vector<double> gains = expect_same_trees(GetParam());
    if (gains.empty()) continue;
    decided += gains.size();
    // A threshold that is exactly the gain of a node, and the least bit above it.
    const double gain = gains[below(static_cast<int>(gains.size()))];
    expect_same_trees(gain);
    expect_same_trees(std::nextafter(gain, Infinity));
  }
  EXPECT_GT(decided, 300u);
}

INSTANTIATE_TEST_SUITE_P(Gains, AffixReferee,
                         testing::Values(0.0, 1.2, -5.0, 4.0, 0.05, -Infinity, Infinity,
                                         std::numeric_limits<double>::quiet_NaN()));

// 254 first bytes, each with some second bytes, each with three more: 1 + 254 + 4 * words nodes.
TEST_F(AffixTrees, HoldAtMost65535Nodes) {
  std::set<std::string> words;
  for (int second = 1; words.size() < 16320; ++second)
    for (int first = 1; first <= 254 && words.size() < 16320; ++first)
      words.insert(std::string{static_cast<char>(first), static_cast<char>(second)} + "abczzzzz");
  set_lexicon(words, {{{0, 1.0f}}});
  EXPECT_EQ(make(-Infinity).Prefix_Lexicon().size(), 65535u);
  words.insert(
      "\x01\xFF"
      "abczzzzz");
  set_lexicon(words, {{{0, 1.0f}}});
  EXPECT_ERROR(make(-Infinity), "Too many nodes in affix tree");
}

}  // namespace
}  // namespace orvelle
