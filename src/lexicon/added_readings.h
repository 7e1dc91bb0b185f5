// SPDX-License-Identifier: MIT
// Readings that a model was given after its training: which tags and lemmas a word form may have, without how often.
#pragma once

#include <cstdint>
#include <functional>
#include <span>
#include <string>
#include <string_view>
#include <unordered_map>
#include <vector>

namespace orvelle {

class AddedReadings {
 public:
  struct reading_t {
    int32_t tag;
    int32_t lemma;  // number
  };

  // A tag that the word form has already keeps its lemma. `lemma`: a number of the model's, or one that add_lemma gave.
  void add(std::string_view word, reading_t reading) {
    std::vector<reading_t>& readings = readings_.try_emplace(std::string(word)).first->second;
    for (const reading_t& known : readings)
      if (known.tag == reading.tag) return;
    readings.push_back(reading);
  }

  // The number of a lemma that the model does not have; the first is 0.
  int32_t add_lemma(std::string_view text) {
    const auto [place, is_new] =
        lemma_numbers_.try_emplace(std::string(text), static_cast<int32_t>(lemmas_.size()));
    if (is_new) lemmas_.push_back(&place->first);
    return place->second;
  }

  std::span<const reading_t> find(std::string_view word) const {
    if (readings_.empty()) return {};
    const auto place = readings_.find(word);
    return place != readings_.end() ? std::span<const reading_t>(place->second)
                                    : std::span<const reading_t>();
  }

  const char* lemma(int32_t number) const { return lemmas_[static_cast<size_t>(number)]->c_str(); }

 private:
  struct hash_t {
    using is_transparent = void;
    size_t operator()(std::string_view text) const { return std::hash<std::string_view>{}(text); }
  };

  std::unordered_map<std::string, std::vector<reading_t>, hash_t, std::equal_to<>> readings_;
  std::unordered_map<std::string, int32_t, hash_t, std::equal_to<>> lemma_numbers_;
  std::vector<const std::string*> lemmas_;  // the keys of lemma_numbers_, which stay where they are
};

}  // namespace orvelle
