// SPDX-License-Identifier: MIT
// A tree is grown depth first, and a node's subtree is pruned as soon as it is complete, so that only what survives is
// ever in memory. A node owns a range of the word list; its children's ranges come from a stable partition by the next
// byte, so that every sum adds in lexicon order and tags and children come in the order of their first word form.
// Cost: six visits of each word form and its tags.
#include "training/build_tree.h"

#include <algorithm>
#include <cstring>
#include <numeric>
#include <span>
#include <utility>

#include "affix/affix_lexicons.h"
#include "support/binary_log.h"

namespace orvelle {

namespace {

// Sums per tag, in the order in which the tags first came.
class TagSums {
 public:
  explicit TagSums(int number_of_tags) : place_(static_cast<size_t>(number_of_tags), -1) {}

  void add(int tag, double freq) {
    if (place_[tag] < 0) {
      place_[tag] = static_cast<int>(cells_.size());
      cells_.push_back({tag, 0.0});
    }
    cells_[place_[tag]].freq += freq;
  }

  // Hands the cells out and starts again with none.
  std::vector<tagfreq_t> take() {
    for (const tagfreq_t& cell : cells_) place_[cell.tag] = -1;
    std::vector<tagfreq_t> result(cells_.begin(), cells_.end());
    cells_.clear();
    return result;
  }

 private:
  std::vector<int> place_;  // indexed by tag: its place in cells_, or -1
  std::vector<tagfreq_t> cells_;
};

double sum_of(const std::vector<tagfreq_t>& tags) {
  double sum = 0.0;
  for (const tagfreq_t& cell : tags) sum += cell.freq;
  return sum;
}

double entropy(const std::vector<tagfreq_t>& tags, double total) {
  const double reciprocal = 1.0 / total;
  double result = 0.0;
  for (const tagfreq_t& cell : tags) {
    const double p = cell.freq * reciprocal;
    if (p > 0.0) result += -p * ld(p);
  }
  return result;
}

void calc_info(node_1& node) {
  node.freq = sum_of(node.tags);
  node.info = static_cast<float>(entropy(node.tags, node.freq));
}

// What a leaf tells beyond its parent.
double leaf_gain(const node_1& leaf, const node_1& parent) {
  if (leaf.freq == 0.0) return 0.0;
  return ld(leaf.freq) * (parent.info - leaf.info);
}

class AffixTreeGrower {
 public:
  AffixTreeGrower(const affix_words_t& words, const std::vector<uint64_t>& affixes, int number_of_tags,
                  double cut_off_gain)
      : words_(words),
        affixes_(affixes),
        Cut_Off_Gain_(cut_off_gain),
        order_(affixes.size()),
        scratch_(affixes.size()),
        sums_(number_of_tags) {
    std::iota(order_.begin(), order_.end(), 0u);
  }

  std::unique_ptr<node_1> grow() {
    auto root = std::make_unique<node_1>();
    root->symbol = Root_Symbol;
    root_ = root.get();
    grow_node(*root, order_, 0);
    return root;
  }

 private:
  struct group_t {
    uint8_t byte;
    uint32_t size;  // words
  };

  void grow_node(node_1& node, std::span<uint32_t> words, int depth) {
    for (const uint32_t word : words)
      for (uint32_t i = words_.first_pair[word]; i < words_.first_pair[word + 1]; ++i)
        sums_.add(words_.pairs[i].tag, words_.pairs[i].freq);
    node.tags = sums_.take();
    calc_info(node);
    if (depth == Max_Affix_Length || stays_leaf(words)) return;
    uint32_t start = 0;
    for (const group_t& group : partition(words, depth)) {
      auto child = std::make_unique<node_1>();
      child->symbol = static_cast<int16_t>(group.byte < 128 ? group.byte : group.byte - 256);
      grow_node(*child, words.subspan(start, group.size), depth + 1);
      node.children.push_back(std::move(child));
      start += group.size;
    }
    prune_children(node);
  }

  // The nodes below a single word form all have its tags and a gain of 0, so that any positive threshold prunes them
  // again. Most nodes are such: with them the trees took twice the time.
  bool stays_leaf(std::span<uint32_t> words) const { return words.size() == 1 && Cut_Off_Gain_ > 0.0; }

  // Brings words with the same byte at `depth` together, keeping their order; groups in order of their first word.
  std::vector<group_t> partition(std::span<uint32_t> words, int depth) {
    const auto byte_of = [&](uint32_t word) { return static_cast<uint8_t>(affixes_[word] >> (8 * depth)); };
    std::vector<group_t> groups;
    uint32_t* size = size_of_byte_;
    for (const uint32_t word : words)
      if (size[byte_of(word)]++ == 0) groups.push_back({byte_of(word), 0});
    uint32_t start = 0;
    for (group_t& group : groups) {
      group.size = size[group.byte];
      size[group.byte] = start;
      start += group.size;
    }
    if (groups.size() > 1) {
      for (const uint32_t word : words) scratch_[size[byte_of(word)]++] = word;
      std::copy_n(scratch_.begin(), words.size(), words.begin());
    }
    for (const group_t& group : groups) size[group.byte] = 0;
    return groups;
  }

  // Removes the leaves that tell too little beyond their parent and gathers them into a default child where that pays.
  void prune_children(node_1& parent) {
    double pruned_mass = 0.0;
    const auto gather = [&](const std::unique_ptr<node_1>& child) {
      if (!child->children.empty() || !(Cut_Off_Gain_ > leaf_gain(*child, parent))) return false;
      for (const tagfreq_t& cell : child->tags) sums_.add(cell.tag, cell.freq);
      pruned_mass += child->freq;
      return true;
    };
    // Not erase_if: the leaves must be gathered exactly once each and in order.
    auto kept = parent.children.begin();
    for (auto& child : parent.children)
      if (!gather(child)) *kept++ = std::move(child);
    parent.children.erase(kept, parent.children.end());
    add_default_child(parent, sums_.take(), pruned_mass);
  }

  void add_default_child(node_1& parent, std::vector<tagfreq_t> pruned, double mass) {
    if (!(mass > 0.0) || parent.children.empty()) return;
    std::sort(pruned.begin(), pruned.end(),
              [](const tagfreq_t& a, const tagfreq_t& b) { return a.tag < b.tag; });
    std::erase_if(pruned, [](const tagfreq_t& cell) { return cell.freq == 0.0; });
    const double info = entropy(pruned, mass);
    if (!(ld(mass) * (static_cast<double>(root_->info) - info) > Cut_Off_Gain_)) return;
    auto child = std::make_unique<node_1>();
    child->symbol = Default_Symbol;
    child->freq = mass;
    child->info = static_cast<float>(info);
    child->tags = std::move(pruned);
    parent.children.insert(parent.children.begin(), std::move(child));
  }

  const affix_words_t& words_;
  const std::vector<uint64_t>& affixes_;
  const double Cut_Off_Gain_;
  std::vector<uint32_t> order_;  // the words, partitioned further at each depth
  std::vector<uint32_t> scratch_;
  uint32_t size_of_byte_[256] = {};
  TagSums sums_;
  const node_1* root_ = nullptr;
};

// Five bytes as one number, the byte at `first` lowest; `step` is 1 forwards, -1 backwards.
uint64_t pack_affix(const char* first, std::ptrdiff_t step) {
  uint64_t packed = 0;
  for (int i = 0; i < Max_Affix_Length; ++i)
    packed |= uint64_t{static_cast<uint8_t>(first[i * step])} << (8 * i);
  return packed;
}

}  // namespace

affix_words_t collect_affix_words(const Lexicon& lexicon, const std::vector<char>& Open_Class) {
  affix_words_t words;
  for (int i = 0; i < lexicon.Fullform_Lexicon_Size; ++i) {
    const entry_t& entry = lexicon.Fullform_Lexicon[i];
    const size_t length = std::strlen(entry.word);
    if (length <= Max_Affix_Length) continue;
    const size_t first_pair = words.pairs.size();
    for (int k = 0; k < entry.data->n; ++k)
      if (entry.data->prob[k] > 0.0f && Open_Class[entry.data->tag[k]])
        words.pairs.push_back({entry.data->tag[k], entry.data->prob[k]});
    if (words.pairs.size() == first_pair) continue;
    words.prefix.push_back(pack_affix(entry.word, 1));
    words.suffix.push_back(pack_affix(entry.word + length - 1, -1));
    words.first_pair.push_back(static_cast<uint32_t>(first_pair));
  }
  words.first_pair.push_back(static_cast<uint32_t>(words.pairs.size()));
  return words;
}

std::unique_ptr<node_1> grow_pruned_tree(const affix_words_t& words, const std::vector<uint64_t>& affixes,
                                         int number_of_tags, double Cut_Off_Gain) {
  return AffixTreeGrower(words, affixes, number_of_tags, Cut_Off_Gain).grow();
}

void thin_and_order(std::vector<tagfreq_t>& tags) {
  double largest = 0.0;
  for (const tagfreq_t& cell : tags) largest = std::max(largest, cell.freq);
  const double threshold = 0.01 * largest;
  std::erase_if(tags, [threshold](const tagfreq_t& cell) { return !(cell.freq > threshold); });
  if (tags.size() < 2) return;
  // Among equal frequencies the later cell comes first.
  std::reverse(tags.begin(), tags.end());
  std::stable_sort(tags.begin(), tags.end(),
                   [](const tagfreq_t& a, const tagfreq_t& b) { return a.freq > b.freq; });
}

void sort_tree(node_1& node) {
  const auto falling = [](const std::unique_ptr<node_1>& a, const std::unique_ptr<node_1>& b) {
    return a->freq > b->freq;
  };
  auto& children = node.children;
  const bool has_default = !children.empty() && children.front()->symbol == Default_Symbol;
  // Among equal frequencies the later child comes first; the reversal also brings the default child to the end.
  std::reverse(children.begin(), children.end());
  std::stable_sort(children.begin(), children.end() - (has_default ? 1 : 0), falling);
  for (auto& child : children) {
    thin_and_order(child->tags);
    sort_tree(*child);
  }
}

size_t tree_size(const node_1& node) {
  size_t size = 1;
  for (const auto& child : node.children) size += tree_size(*child);
  return size;
}

}  // namespace orvelle
