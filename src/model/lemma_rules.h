// SPDX-License-Identifier: MIT
// The lemmas of word forms that the lexicon does not list: for a tag and the longest ending that a rule knows, how the
// word form changes, and whether its capital letters stay.
//
//   tag  ending  cut  suffix        walking/VBG -> walk, making/VBG -> make
//   VBG  "ing"    3   ""            the ending is that of the word form in small letters
//   VBG  "king"   3   "e"
//
// A section of a model file is the text that `text` gives: a line for each rule with its fields between TABs, sorted by
// tag number and ending, then a line of tag number, shape and case for each choice that is not the usual one.
#pragma once

#include <array>
#include <cstdint>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

namespace orvelle {

enum class lemma_case_t : uint8_t { Small, Capitalised, As_It_Stands };

// Where the capital letters of a word form stand: nowhere; at the beginning alone; everywhere, in more than one letter;
// elsewhere.
enum class form_shape_t : uint8_t { Small, Capitalised, Capitals, Mixed };
inline constexpr int Number_of_Shapes = 4;

form_shape_t shape_of(const char* form, bool utf8);

class LemmaRules {
 public:
  static constexpr size_t Longest_Ending = 8;  // characters

  struct rule_t {
    int32_t tag;
    std::string ending;
    int32_t cut;  // characters of the word form that go
    std::string suffix;
  };

  LemmaRules() = default;
  // Rules by ascending tag and ending; the cases by tag and shape.
  LemmaRules(std::vector<rule_t> rules, std::vector<std::array<lemma_case_t, Number_of_Shapes>> cases)
      : rules_(std::move(rules)), cases_(std::move(cases)) {}

  // Reads the section; what is no such text is a bad_model_file.
  LemmaRules(std::string_view text, int number_of_tags);

  std::string text() const;
  bool empty() const { return rules_.empty(); }

  // The lemma of a word form; the form itself if no rule is for it.
  std::string lemma(const char* form, int tag, bool utf8) const;

 private:
  const rule_t* find_rule(std::string_view ending, int tag) const;

  std::vector<rule_t> rules_;
  std::vector<std::array<lemma_case_t, Number_of_Shapes>> cases_;  // by tag
};

// The start of the last `count` characters; npos if there are fewer.
inline size_t last_characters(std::string_view text, size_t count, bool utf8) {
  size_t start = text.size();
  for (; count > 0; --count) {
    if (start == 0) return text.npos;
    do --start;
    while (utf8 && start > 0 && (text[start] & 0xC0) == 0x80);
  }
  return start;
}

// Calls `action(ending)` for the endings of a word form, the longest first, the empty one last; it returns whether to go
// on.
template <class Action>
void for_each_ending(std::string_view small, bool utf8, Action action) {
  for (size_t length = LemmaRules::Longest_Ending + 1; length-- > 0;) {
    const size_t start = last_characters(small, length, utf8);
    if (start != small.npos && !action(small.substr(start))) return;
  }
}

}  // namespace orvelle
