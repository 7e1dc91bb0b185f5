// SPDX-License-Identifier: MIT
#include "tagger/word_view.h"

#include <orvelle/word_forms.h>

#include <algorithm>
#include <bit>
#include <string>

#include "support/strings.h"

namespace orvelle {

namespace {

constexpr int Rare_Frequency = 10;  // a word form seen less often shows more of its beginning and ending

// What kinds of characters there are, and where capitals are.
uint32_t shape_of(std::string_view form, bool starts_with_capital) {
  const auto any = [form](auto is) { return std::any_of(form.begin(), form.end(), is); };
  const bool is_long = form.size() > 1;
  return 1u | static_cast<uint32_t>(starts_with_capital) << 1 |
         static_cast<uint32_t>(is_long && std::any_of(form.begin() + 1, form.end(), is_ascii_capital)) << 2 |
         static_cast<uint32_t>(any(is_ascii_small)) << 3 | static_cast<uint32_t>(any(is_digit)) << 4 |
         static_cast<uint32_t>(form.find('-') != form.npos) << 5 |
         static_cast<uint32_t>(form.find_first_of(".@/:") != form.npos) << 6 |
         static_cast<uint32_t>(!std::ranges::all_of(form, is_ascii)) << 7;
}

}  // namespace

word_view_t view_of(const Tables& tables, std::string_view form, const entry_t* entry) {
  word_view_t view;
  const bool utf8 = tables.UTF8_Processing;
  const std::string word(form);
  const bool ascii = std::ranges::all_of(word, is_ascii);
  std::string lower = word;
  if (ascii)
    std::ranges::transform(word, lower.begin(), ascii_lower);
  else
    lower = all_to_lower(word.c_str(), utf8, {});
  view.form = view_hash(form);
  view.lower = view_hash(lower);
  const std::string_view small = lower;
  for (size_t n = 1; n <= std::min(view.Longest_Suffix, small.size()); ++n)
    view.suffixes[n - 1] = view_hash(small.substr(small.size() - n));
  for (size_t n = 1; n <= std::min(view.Longest_Prefix, small.size()); ++n)
    view.prefixes[n - 1] = view_hash(small.substr(0, n));
  const bool capital =
      ascii ? !word.empty() && is_ascii_capital(word[0]) : is_upper(word.c_str(), utf8, {}) != 0;
  view.shape = shape_of(form, capital);
  const int frequency = entry != nullptr ? std::max(entry->data->freq, 0) : 0;
  view.is_rare = frequency < Rare_Frequency;
  if (entry != nullptr || !tables.extras.added.find(form).empty())
    view.experience = 1 + static_cast<uint32_t>(std::bit_width(static_cast<uint32_t>(frequency)));
  return view;
}

}  // namespace orvelle
