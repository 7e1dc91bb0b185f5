// SPDX-License-Identifier: MIT
#include "lexicon/lexicon.h"

#include <orvelle/word_forms.h>

#include <algorithm>
#include <array>
#include <utility>

namespace orvelle {

Lexicon::Lexicon(lexicon_parts_t parts) : parts_(std::move(parts)) {
  slots_.reserve(parts_.words.size());
  for (size_t i = 0; i < parts_.words.size(); ++i) slots_.push_back({parts_.words[i], &parts_.records[i]});
  parts_.words = {};
  Fullform_Lexicon = slots_.data() - First_Entry;
  Fullform_Lexicon_Size = static_cast<int>(slots_.size()) + First_Entry;
  index_.reserve(static_cast<size_t>(Fullform_Lexicon_Size));
  const auto word_at = [this](int index) { return Fullform_Lexicon[index].word; };
  for (int i = 0; i < Fullform_Lexicon_Size; ++i) {
    const uint32_t hash = hash_bytes(word_at(i));
    // Only a damaged parameter file has a word form twice; millions of one word form would make one chain.
    if (index_.find(word_at(i), hash, word_at) < 0) index_.insert(word_at(i), hash, i);
  }
}

const entry_t* Lexicon::find_entry(std::string_view word) const {
  const int index = index_.find(word, [this](int i) { return Fullform_Lexicon[i].word; });
  return index >= 0 ? &Fullform_Lexicon[index] : nullptr;
}

const entry_t* Lexicon::number_entry(std::string_view word) const {
  if (Fullform_Lexicon == nullptr) return nullptr;
  if (ord(word)) return &Fullform_Lexicon[Ordinal_Entry];
  return card(word) ? &Fullform_Lexicon[Cardinal_Entry] : nullptr;
}

const entry_t* Lexicon::fullform_lookup(std::string_view word) const {
  const entry_t* entry = find_entry(word);
  return entry != nullptr ? entry : number_entry(word);
}

void Lexicon::find_entries(std::span<const std::string_view> words, const entry_t** entries) const {
  if (Fullform_Lexicon == nullptr) return void(std::fill_n(entries, words.size(), nullptr));
  std::array<uint32_t, Max_Words_At_Once> hashes;
  for (size_t i = 0; i < words.size(); ++i) index_.prefetch(hashes[i] = hash_bytes(words[i]));
  for (size_t i = 0; i < words.size(); ++i) {
    const int likely = index_.candidate(hashes[i]);
    entries[i] = likely >= 0 ? &Fullform_Lexicon[likely] : nullptr;
    __builtin_prefetch(entries[i]);
  }
  for (size_t i = 0; i < words.size(); ++i) {
    if (entries[i] == nullptr) continue;
    __builtin_prefetch(entries[i]->word);
    __builtin_prefetch(entries[i]->data);
  }
  const auto word_at = [this](int index) { return Fullform_Lexicon[index].word; };
  for (size_t i = 0; i < words.size(); ++i) {
    const int index = index_.find(words[i], hashes[i], word_at);
    entries[i] = index >= 0 ? &Fullform_Lexicon[index] : nullptr;
    if (index >= 0) __builtin_prefetch(entries[i]->data->tag);
  }
}

}  // namespace orvelle
