// SPDX-License-Identifier: MIT
// The first pass over a text: the candidates of its words, and what the tag contexts say of them.
#pragma once

#include <algorithm>
#include <cstdint>
#include <memory>
#include <span>
#include <string_view>
#include <utility>
#include <vector>

#include "tagger/candidates.h"
#include "tagger/context_model.h"
#include "tagger/decoder.h"

namespace orvelle {

class FirstPass {
 public:
  // The tables must outlive the object. `beam`: as in tagger_options_t; `shared`: as in Candidates.
  FirstPass(const Tables& tables, const Candidates::options_t& options, size_t beam)
      : FirstPass(tables, options, beam, std::make_shared<SharedWords>(tables, options.warn)) {}
  FirstPass(const Tables& tables, const Candidates::options_t& options, size_t beam,
            std::shared_ptr<SharedWords> shared)
      : sentence_tag_(tables.fullex.tagset.Sent_Tag),
        candidates_(tables, std::move(shared), options),
        context_(tables.Context_Tree, tables.fullex.A_Priori_Tag_Prob_Fac),
        decoder_(context_, beam) {}

  FirstPass(const FirstPass&) = delete;  // the decoder looks at the context
  FirstPass& operator=(const FirstPass&) = delete;

  // Finds the candidates of the words that follow what was settled.
  void find(std::span<const std::string_view> forms) {
    candidates_.trim();
    candidates_.find(forms, words_);
    of_words_.clear();
    for (const Candidates::word_t& word : words_) of_words_.push_back(word.candidates);
  }

  std::span<const Candidates::word_t> words() const { return words_; }

  // As in Decoder, of the words that were found.
  void best_path(std::vector<int>& chosen) {
    decoder_.best_path(of_words_, {preceding_, sentence_tag_}, chosen);
  }
  void posteriors(std::vector<double>& result) {
    decoder_.posteriors(of_words_, {preceding_, sentence_tag_}, result);
  }

  // The next word has these tags, chosen among the candidates, before it.
  void settle(std::span<const int> chosen) {
    const auto order = static_cast<size_t>(context_.order());
    for (size_t i = chosen.size() - std::min(chosen.size(), order); i < chosen.size(); ++i)
      preceding_.push_back(of_words_[i][static_cast<size_t>(chosen[i])].tag);
    const size_t old = preceding_.size() - std::min(preceding_.size(), order);
    preceding_.erase(preceding_.begin(), preceding_.begin() + static_cast<std::ptrdiff_t>(old));
  }
  void end_sentence() { preceding_.clear(); }

 private:
  int32_t sentence_tag_;
  Candidates candidates_;
  ContextModel context_;
  Decoder decoder_;
  std::vector<int32_t>
      preceding_;  // tags of the sentence that were settled, the nearest last, at most as many as count
  std::vector<Candidates::word_t> words_;
  std::vector<candidates_t> of_words_;
};

}  // namespace orvelle
