// SPDX-License-Identifier: MIT
// A small parameter file whose values a test can change before its bytes, or a model of it, are made.
#pragma once

#include <orvelle/model.h>

#include <span>
#include <string>
#include <utility>
#include <vector>

#include "test_support.h"

namespace orvelle {

struct sample_entry_t {
  std::string word;
  int32_t freq;
  std::vector<int32_t> tags;
  std::vector<float> probs;
  std::vector<int32_t> lemmas;
};

// An entry whose lemmas are all number 0.
inline sample_entry_t sample_entry(std::string word, const std::vector<std::pair<int, float>>& readings,
                                   int32_t freq = 0) {
  sample_entry_t entry{std::move(word), freq, {}, {}, std::vector<int32_t>(readings.size())};
  for (const auto& [tag, prob] : readings) entry.tags.push_back(tag), entry.probs.push_back(prob);
  return entry;
}

struct sample_tree_t {
  std::vector<ANODE> nodes;
  std::vector<tagprob_t> pairs;
};

inline Model model_of(std::string_view content) {
  return read_parameter_file(std::as_bytes(std::span(content)));
}

struct sample_file_t {
  int32_t mark = 32, utf8 = 0, sent_tag = 2, first_entry = -2;
  std::vector<std::string> tags = {"DT", "NN", "SENT"};
  std::vector<std::string> lemmas = {".", "@card@", "@ord@", "dog", "the"};
  std::vector<sample_entry_t> entries = {{"", 3, {0, 1, 2}, {.5F, .25F, .25F}, {1, 1, 1}},
                                         {"", 0, {1}, {1.F}, {2}},
                                         {".", 1, {2}, {1.F}, {0}},
                                         {"dog", 1, {0, 1}, {.25F, .75F}, {3, 3}},
                                         {"the", 1, {}, {}, {}}};
  std::vector<double> factors = {2.0, 4.0, 8.0};
  // w leads to \xE9, which is a leaf; all else to the default child.
  sample_tree_t prefix = {{{0, 257, 2, 1}, {0, 'w', 1, 3}, {1, 256, 1, 0}, {1, -23, 2, 0}},
                          {{1, 1.F}, {1, .75F}, {0, .25F}}};
  sample_tree_t suffix = {{{1, 257, 0, 0}}, {}};
  sample_tree_t open_class = {{{1, 257, 1, 0}}, {{1, 1.F}}};
  int32_t context_size = 2;
  // NN before: (SENT before that: leaf, else leaf), else leaf.
  std::string nodes = raw(0, 1, 1) + raw(0, 0, 2) + raw(1, 1, 7u, 0, 1.0) + raw(1, 0, 8u) +
                      raw(1, 3, 9u, 0, .25, 1, .25, 2, .5);

  // Puts these words, in byte order, in the place of those that the file had.
  void set_words(std::vector<sample_entry_t> words) {
    entries.resize(2);
    for (sample_entry_t& word : words) entries.push_back(std::move(word));
  }

  std::string bytes() const {
    return raw(mark, utf8, sent_tag) + strings(tags) + strings(lemmas) + lexicon() + tree(prefix, true) +
           tree(suffix, true) + tree(open_class, false) + raw(context_size) + nodes;
  }

  Model model() const { return model_of(bytes()); }

 private:
  template <class Values>
  static std::string sequence(const Values& values) {
    std::string text;
    for (const auto& value : values) text += raw(value);
    return text;
  }
  static std::string strings(const std::vector<std::string>& table) {
    std::string text = raw(static_cast<int32_t>(table.size()));
    for (const std::string& s : table) text += s + '\0';
    return text;
  }
  std::string lexicon() const {
    std::string text = raw(static_cast<int32_t>(entries.size()) - 2, first_entry);
    for (const sample_entry_t& e : entries)
      text += e.word + '\0' + raw(static_cast<int32_t>(e.tags.size()), e.freq) + sequence(e.tags) +
              sequence(e.probs) + sequence(e.lemmas);
    return text + sequence(factors);
  }
  static std::string tree(const sample_tree_t& tree, bool counted) {
    std::string text = counted ? raw(static_cast<uint16_t>(tree.nodes.size())) : "";
    for (const ANODE& n : tree.nodes) text += raw(n.leaf, n.symbol, n.number, n.first_child, int32_t{0});
    for (const tagprob_t& p : tree.pairs) text += raw(p.tag, int16_t{0}, p.prob);
    return text;
  }
};

}  // namespace orvelle
