// SPDX-License-Identifier: MIT
#include "model/added_readings.h"

#include <algorithm>
#include <charconv>
#include <numeric>

#include "model/model_file.h"

namespace orvelle {

AddedReadings::AddedReadings(std::string_view section, int number_of_tags) {
  const auto bad = [] { bad_model_file("added readings"); };
  if ((!section.empty() && section.back() != '\n') || section.find('\0') != section.npos) bad();
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
  std::vector<int> words(static_cast<size_t>(words_.size()));
  std::iota(words.begin(), words.end(), 0);
  std::ranges::sort(words, {}, [this](int word) { return std::string_view(words_.text(word)); });
  std::string text;
  for (const int word : words) {
    text += words_.text(word);
    for (const auto& [tag, number] : readings_[static_cast<size_t>(word)])
      text += '\t' + std::to_string(tag) + ' ' + lemma(number);
    text += '\n';
  }
  return text;
}

void AddedReadings::add(std::string_view word, int32_t tag, std::string_view lemma) {
  const auto number = static_cast<size_t>(words_.number(word.substr(0, word.find('\0'))));
  if (number >= readings_.size()) readings_.resize(number + 1);
  std::vector<reading_t>& readings = readings_[number];
  if (std::ranges::find(readings, tag, &reading_t::tag) == readings.end())
    readings.push_back({tag, lemmas_.number(lemma.substr(0, lemma.find('\0')))});
}

std::span<const AddedReadings::reading_t> AddedReadings::find(std::string_view word) const {
  const auto number = static_cast<size_t>(words_.find(word, hash_bytes(word)));
  return number < readings_.size() ? std::span<const reading_t>(readings_[number])
                                   : std::span<const reading_t>();
}

}  // namespace orvelle
