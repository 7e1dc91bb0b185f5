// SPDX-License-Identifier: MIT
#include "model/lemma_rules.h"

#include <orvelle/word_forms.h>

#include <algorithm>
#include <charconv>
#include <tuple>
#include <utility>

#include "model/model_file.h"
#include "support/strings.h"

namespace orvelle {

namespace {

bool is_before(const LemmaRules::rule_t& rule, std::pair<int, std::string_view> key) {
  return std::pair<int, std::string_view>(rule.tag, rule.ending) < key;
}

// The next field of a line, up to a TAB or the line's end.
std::string_view take_field(std::string_view& line) {
  const size_t end = std::min(line.find('\t'), line.size());
  const std::string_view field = line.substr(0, end);
  line.remove_prefix(std::min(end + 1, line.size()));
  return field;
}

int take_number(std::string_view& line, int end) {
  const std::string_view field = take_field(line);
  int number = -1;
  const auto [last, fault] = std::from_chars(field.data(), field.data() + field.size(), number);
  if (fault != std::errc() || last != field.data() + field.size() || number < 0 || number >= end)
    bad_model_file("number in the lemma rules");
  return number;
}

// The end of the character that begins at `start`.
size_t character_end(std::string_view text, size_t start, bool utf8) {
  size_t end = start + 1;
  while (utf8 && end < text.size() && (text[end] & 0xC0) == 0x80) ++end;
  return end;
}

enum letter_case_t { Capital, Small, No_Case };

letter_case_t case_of(std::string_view character, bool utf8) {
  if (is_ascii(character[0])) {
    if (is_ascii_capital(character[0])) return Capital;
    return is_ascii_small(character[0]) ? Small : No_Case;
  }
  const std::string letter(character);
  if (is_upper(letter.c_str(), utf8, {}) != 0) return Capital;
  return cap_word(letter.c_str(), utf8, {}) != letter ? Small : No_Case;
}

}  // namespace

form_shape_t shape_of(const char* form, bool utf8) {
  const std::string_view text = form;
  bool first_is_capital = false;
  size_t capitals = 0, small = 0;
  for (size_t i = 0, end; i < text.size(); i = end) {
    end = character_end(text, i, utf8);
    const letter_case_t letter = case_of(text.substr(i, end - i), utf8);
    capitals += letter == Capital;
    small += letter == Small;
    if (i == 0) first_is_capital = letter == Capital;
  }
  if (capitals == 0) return form_shape_t::Small;
  if (capitals == 1 && first_is_capital) return form_shape_t::Capitalised;
  return small == 0 ? form_shape_t::Capitals : form_shape_t::Mixed;
}

LemmaRules::LemmaRules(std::string_view text, int number_of_tags)
    : cases_(static_cast<size_t>(number_of_tags)) {
  bool are_cases = false;
  while (!text.empty()) {
    std::string_view line = text.substr(0, text.find('\n'));
    text.remove_prefix(std::min(line.size() + 1, text.size()));
    if (line.empty() && !std::exchange(are_cases, true)) continue;
    const int tag = take_number(line, number_of_tags);
    if (are_cases) {
      const int shape = take_number(line, Number_of_Shapes);
      cases_[static_cast<size_t>(tag)][static_cast<size_t>(shape)] =
          static_cast<lemma_case_t>(take_number(line, 3));
      continue;
    }
    const std::string_view ending = take_field(line);
    if (!rules_.empty() && !is_before(rules_.back(), {tag, ending}))
      bad_model_file("order of the lemma rules");
    const int cut = take_number(line, Max_Word_Form_Length);
    rules_.push_back({tag, std::string(ending), cut, std::string(take_field(line))});
  }
}

std::string LemmaRules::text() const {
  std::string text;
  for (const rule_t& rule : rules_)
    text += std::to_string(rule.tag) + '\t' + rule.ending + '\t' + std::to_string(rule.cut) + '\t' +
            rule.suffix + '\n';
  text += '\n';
  for (size_t tag = 0; tag < cases_.size(); ++tag)
    for (size_t shape = 0; shape < Number_of_Shapes; ++shape)
      if (cases_[tag][shape] != lemma_case_t::Small)
        text += std::to_string(tag) + '\t' + std::to_string(shape) + '\t' +
                std::to_string(static_cast<int>(cases_[tag][shape])) + '\n';
  return text;
}

const LemmaRules::rule_t* LemmaRules::find_rule(std::string_view ending, int tag) const {
  const std::pair<int, std::string_view> key(tag, ending);
  const auto place = std::lower_bound(rules_.begin(), rules_.end(), key, is_before);
  return place != rules_.end() && place->tag == tag && place->ending == ending ? &*place : nullptr;
}

std::string LemmaRules::lemma(const char* form, int tag, bool utf8) const {
  std::string whole = form;
  const std::string small = all_to_lower(form, utf8, {});
  std::string lemma = small;
  bool is_known = false;
  for_each_ending(small, utf8, [&](std::string_view ending) {
    const rule_t* const rule = find_rule(ending, tag);
    const size_t kept =
        rule != nullptr ? last_characters(small, static_cast<size_t>(rule->cut), utf8) : small.npos;
    if (kept == small.npos) return true;
    lemma = small.substr(0, kept) + rule->suffix;
    is_known = true;
    return false;
  });
  if (!is_known || lemma.empty()) return whole;
  switch (cases_[static_cast<size_t>(tag)][static_cast<size_t>(shape_of(form, utf8))]) {
    case lemma_case_t::Small:
      return lemma;
    case lemma_case_t::Capitalised:
      return cap_word(lemma.c_str(), utf8, {});
    case lemma_case_t::As_It_Stands:
      break;
  }
  if (whole.size() != small.size()) return whole;
  // The letters that both have in common stand as they are in the form.
  size_t common = 0;
  for (size_t end; common < small.size(); common = end) {
    end = character_end(small, common, utf8);
    if (lemma.compare(common, end - common, small, common, end - common) != 0) break;
  }
  return whole.substr(0, common) + lemma.substr(common);
}

}  // namespace orvelle
