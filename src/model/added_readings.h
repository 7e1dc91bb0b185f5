// SPDX-License-Identifier: MIT
// Readings beside those that the training counted: which tags and lemmas a word form may have, without how often. A model
// file has them as the section "added", a line for each word form, in byte order:
//
//   gnu TAB 17 gnu TAB 18 gnus                  tags by their numbers, each with a lemma behind a blank
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
    int32_t lemma;  // a number of lemma()
  };

  AddedReadings() = default;
  AddedReadings(AddedReadings&&) = default;
  AddedReadings& operator=(AddedReadings&&) = default;
  // A section that is not as it should be is a bad_model_file.
  AddedReadings(std::string_view section, int number_of_tags);
  std::string section() const;

  // A tag that the word form has already keeps its lemma.
  void add(std::string_view word, int32_t tag, std::string_view lemma);

  bool empty() const { return readings_.empty(); }
  // Valid until: the next change.
  std::span<const reading_t> find(std::string_view word) const;
  const char* lemma(int32_t number) const { return lemmas_[static_cast<size_t>(number)]->c_str(); }

 private:
  struct hash_t {
    using is_transparent = void;
    size_t operator()(std::string_view text) const { return std::hash<std::string_view>{}(text); }
  };
  template <class Value>
  using map_t = std::unordered_map<std::string, Value, hash_t, std::equal_to<>>;

  map_t<std::vector<reading_t>> readings_;
  map_t<int32_t> lemma_numbers_;
  std::vector<const std::string*> lemmas_;  // the keys of lemma_numbers_, which stay where they are
};

}  // namespace orvelle
