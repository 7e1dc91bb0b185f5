// SPDX-License-Identifier: MIT
#include "training/learn_lemmas.h"

#include <orvelle/word_forms.h>

#include <algorithm>
#include <array>
#include <tuple>
#include <utility>
#include <vector>

#include "support/counting_sort.h"
#include "support/string_sort.h"
#include "support/string_table.h"

namespace orvelle {

namespace {

using case_counts_t = std::array<std::array<int, 3>, Number_of_Shapes>;  // by shape and case

lemma_case_t case_of(const std::string& lemma, const std::string& small, bool utf8) {
  if (lemma == small) return lemma_case_t::Small;
  return lemma == cap_word(small.c_str(), utf8, {}) ? lemma_case_t::Capitalised : lemma_case_t::As_It_Stands;
}

template <class Counts>
size_t place_of_largest(const Counts& counts) {
  return static_cast<size_t>(std::max_element(counts.begin(), counts.end()) - counts.begin());
}

class LemmaLearner {
 public:
  explicit LemmaLearner(const Model& model) : model_(model), utf8_(model.UTF8_Processing()) {}

  LemmaRules learn() {
    std::vector<case_counts_t> case_counts(static_cast<size_t>(model_.Number_of_Tags()));
    for (int i = 0; i < model_.Fullform_Lexicon_Size(); ++i) {
      const entry_t& entry = model_.Fullform_Lexicon(i);
      const std::string small = all_to_lower(entry.word, utf8_, {});
      const auto shape = static_cast<size_t>(shape_of(entry.word, utf8_));
      for (int k = 0; k < entry.data->n; ++k) {
        const std::string lemma = model_.lemma(entry, k);
        const std::string small_lemma = all_to_lower(lemma.c_str(), utf8_, {});
        const int32_t tag = entry.data->tag[k];
        ++case_counts[static_cast<size_t>(tag)][shape]
                     [static_cast<size_t>(case_of(lemma, small_lemma, utf8_))];
        take(small, small_lemma, tag);
      }
    }
    std::vector<std::array<lemma_case_t, Number_of_Shapes>> cases(case_counts.size());
    for (size_t tag = 0; tag < cases.size(); ++tag)
      for (size_t shape = 0; shape < Number_of_Shapes; ++shape)
        cases[tag][shape] = static_cast<lemma_case_t>(place_of_largest(case_counts[tag][shape]));
    return {rules(), std::move(cases)};
  }

 private:
  // A way in which a form becomes its lemma, seen at an ending.
  struct sight_t {
    int32_t tag;
    int ending, edit;  // strings by number
    auto parts() const { return std::tie(tag, ending, edit); }
  };

  // The edit as "cut TAB suffix", by its number.
  int edit_of(const std::string& small, const std::string& lemma) {
    size_t common = static_cast<size_t>(
        std::mismatch(small.begin(), small.end(), lemma.begin(), lemma.end()).first - small.begin());
    // Not between the bytes of one character.
    const auto goes_on = [&](const std::string& text) {
      return utf8_ && common < text.size() && (text[common] & 0xC0) == 0x80;
    };
    while (common > 0 && (goes_on(small) || goes_on(lemma))) --common;
    size_t cut = 0;
    while (last_characters(small, cut, utf8_) > common) ++cut;
    return edits_.number(std::to_string(cut) + '\t' + lemma.substr(common));
  }

  void take(const std::string& small, const std::string& lemma, int32_t tag) {
    const int edit = edit_of(small, lemma);
    for_each_ending(small, utf8_, [&](std::string_view ending) {
      sights_.push_back({tag, endings_.number(ending), edit});
      return true;
    });
  }

  LemmaRules::rule_t rule_of(int32_t tag, int ending, int edit) const {
    const std::string_view text = edits_.text(edit);
    const size_t tab = text.find('\t');
    return {tag, endings_.text(ending), std::stoi(std::string(text.substr(0, tab))),
            std::string(text.substr(tab + 1))};
  }

  // By tag, ending in byte order, and edit.
  void sort_sights() {
    const std::vector<uint32_t> ranks = ranks_of(endings_.texts());
    const auto tags = static_cast<size_t>(model_.Number_of_Tags());
    counting_sort(sights_, edits_.texts().size(), [](const sight_t& sight) { return sight.edit; });
    counting_sort(sights_, ranks.size(),
                  [&](const sight_t& sight) { return ranks[static_cast<size_t>(sight.ending)]; });
    counting_sort(sights_, tags, [](const sight_t& sight) { return sight.tag; });
  }

  // The most frequent edit of each tag and ending; of several the first that was met.
  std::vector<LemmaRules::rule_t> all_rules() {
    sort_sights();
    std::vector<LemmaRules::rule_t> rules;
    for (size_t i = 0; i < sights_.size();) {
      const sight_t first = sights_[i];
      int best = first.edit;
      size_t most = 0;
      while (i < sights_.size() &&
             std::tie(sights_[i].tag, sights_[i].ending) == std::tie(first.tag, first.ending)) {
        const size_t start = i;
        while (i < sights_.size() && sights_[i].parts() == sights_[start].parts()) ++i;
        if (i - start > most) most = i - start, best = sights_[start].edit;
      }
      rules.push_back(rule_of(first.tag, first.ending, best));
    }
    return rules;
  }

  // Those that say something else than the rule for the next shorter ending.
  std::vector<LemmaRules::rule_t> rules() {
    const std::vector<LemmaRules::rule_t> all = all_rules();
    const auto find = [&](int32_t tag, std::string_view ending) {
      return std::lower_bound(all.begin(), all.end(), std::pair(tag, ending),
                              [](const auto& rule, const auto& key) {
                                return std::pair<int32_t, std::string_view>(rule.tag, rule.ending) < key;
                              });
    };
    std::vector<LemmaRules::rule_t> kept;
    for (const LemmaRules::rule_t& rule : all) {
      if (!rule.ending.empty()) {
        size_t next = 1;
        while (utf8_ && next < rule.ending.size() && (rule.ending[next] & 0xC0) == 0x80) ++next;
        const auto shorter = find(rule.tag, std::string_view(rule.ending).substr(next));
        if (shorter->cut == rule.cut && shorter->suffix == rule.suffix) continue;
      }
      kept.push_back(rule);
    }
    return kept;
  }

  const Model& model_;
  bool utf8_;
  StringTable endings_, edits_;
  std::vector<sight_t> sights_;
};

}  // namespace

LemmaRules learn_lemmas(const Model& model) { return LemmaLearner(model).learn(); }

}  // namespace orvelle
