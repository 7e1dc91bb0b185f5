// SPDX-License-Identifier: MIT
#include "model/added_readings.h"

#include <algorithm>
#include <charconv>

#include "model/model_file.h"

namespace orvelle {

AddedReadings::AddedReadings(std::string_view section, int number_of_tags) {
  const auto bad = [] { bad_model_file("added readings"); };
  if (!section.empty() && section.back() != '\n') bad();
  while (!section.empty()) {
    std::string_view line = section.substr(0, section.find('\n'));
    section.remove_prefix(line.size() + 1);
    const std::string_view word = line.substr(0, line.find('\t'));
    line.remove_prefix(word.size());
    if (word.empty() || line.empty()) bad();
    while (!line.empty()) {
      const std::string_view field = line.substr(1, line.find('\t', 1) - 1);
      line.remove_prefix(1 + field.size());
      int32_t tag = -1;
      const char* const end = field.data() + field.size();
      const auto [rest, error] = std::from_chars(field.data(), end, tag);
      if (error != std::errc() || tag < 0 || tag >= number_of_tags || rest == end || *rest != ' ') bad();
      add(word, tag, {rest + 1, end});
    }
  }
}

std::string AddedReadings::section() const {
  std::vector<const std::string*> words;
  for (const auto& [word, readings] : readings_) words.push_back(&word);
  std::ranges::sort(words, {}, [](const std::string* word) -> const std::string& { return *word; });
  std::string text;
  for (const std::string* const word : words) {
    text += *word;
    for (const auto& [tag, number] : readings_.find(*word)->second)
      text += '\t' + std::to_string(tag) + ' ' + lemma(number);
    text += '\n';
  }
  return text;
}

void AddedReadings::add(std::string_view word, int32_t tag, std::string_view lemma) {
  std::vector<reading_t>& readings = readings_.try_emplace(std::string(word)).first->second;
  if (std::ranges::find(readings, tag, &reading_t::tag) != readings.end()) return;
  const auto [place, is_new] =
      lemma_numbers_.try_emplace(std::string(lemma), static_cast<int32_t>(lemmas_.size()));
  if (is_new) lemmas_.push_back(&place->first);
  readings.push_back({tag, place->second});
}

std::span<const AddedReadings::reading_t> AddedReadings::find(std::string_view word) const {
  const auto place = readings_.find(word);
  return place != readings_.end() ? std::span<const reading_t>(place->second) : std::span<const reading_t>();
}

}  // namespace orvelle
