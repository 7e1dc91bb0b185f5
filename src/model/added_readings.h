// SPDX-License-Identifier: MIT
// Readings beside those that the training counted: which tags and lemmas a word form may have, without how often. A model
// file has them as the section "added", a line for each word form, in byte order:
//
//   gnu TAB 17 gnu TAB 18 gnus                  tags by their numbers, each with a lemma behind a blank
#pragma once

#include <cstdint>
#include <span>
#include <string>
#include <string_view>
#include <vector>

#include "support/string_table.h"

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

  // A tag that the word form has already keeps its lemma. Both strings end at a NUL.
  void add(std::string_view word, int32_t tag, std::string_view lemma);

  bool empty() const { return readings_.empty(); }
  // Requires: the word form has no NUL. Valid until: the next change.
  std::span<const reading_t> find(std::string_view word) const;
  const char* lemma(int32_t number) const { return lemmas_.text(number); }

 private:
  StringTable words_, lemmas_;
  std::vector<std::vector<reading_t>> readings_;  // by number of the word form
};

}  // namespace orvelle
