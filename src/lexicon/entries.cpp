#include "lexicon/entries.h"

#include <array>
#include <string_view>
#include <utility>

#include "support/string_index.h"
#include "wordclass/wordclass.h"

namespace orvelle {

entry_t* Fullform_Lexicon = nullptr;
int Fullform_Lexicon_Size = 0;

namespace {

lexicon_storage_t Storage;  // what Fullform_Lexicon points into
StringIndex Word_Index;     // from a word form to its index in Fullform_Lexicon

const char* word_at(int index) { return Fullform_Lexicon[index].word; }

bool is_digit(char c) { return c >= '0' && c <= '9'; }

}  // namespace

void define_lexicon(lexicon_storage_t storage) {
  Storage = std::move(storage);
  Fullform_Lexicon = Storage.slots.data() - First_Entry;
  Fullform_Lexicon_Size = static_cast<int>(Storage.slots.size()) + First_Entry;
  Word_Index.clear();
  Word_Index.reserve(Fullform_Lexicon_Size);
  for (int i = 0; i < Fullform_Lexicon_Size; ++i) {
    const uint32_t hash = hash_bytes(word_at(i));
    // Only a damaged parameter file has a word form twice; millions of one word form would make one chain.
    if (Word_Index.find(word_at(i), hash, word_at) < 0) Word_Index.insert(hash, i);
  }
}

entry_t* find_entry(const char* word) {
  const int index = Word_Index.find(word, word_at);
  return index >= 0 ? &Fullform_Lexicon[index] : nullptr;
}

entry_t* fullform_lookup(const char* word) {
  if (entry_t* entry = find_entry(word)) return entry;
  if (WA != nullptr) {
    entry_t* slot = &Wordclass_Lexicon[WA->wordclass(word, 0)];
    return slot->data != nullptr ? slot : nullptr;
  }
  if (Fullform_Lexicon == nullptr) return nullptr;
  if (ord(word)) return &Fullform_Lexicon[Ordinal_Entry];
  if (card(word)) return &Fullform_Lexicon[Cardinal_Entry];
  return nullptr;
}

void find_entries(std::span<const std::string_view> words, entry_t** entries) {
  std::array<uint32_t, Max_Words_At_Once> hashes;
  for (size_t i = 0; i < words.size(); ++i) Word_Index.prefetch(hashes[i] = hash_bytes(words[i]));
  for (size_t i = 0; i < words.size(); ++i) {
    const int likely = Word_Index.candidate(hashes[i]);
    entries[i] = likely >= 0 ? &Fullform_Lexicon[likely] : nullptr;
    __builtin_prefetch(entries[i]);
  }
  for (size_t i = 0; i < words.size(); ++i) {
    if (entries[i] == nullptr) continue;
    __builtin_prefetch(entries[i]->word);
    __builtin_prefetch(entries[i]->data);
  }
  for (size_t i = 0; i < words.size(); ++i) {
    const int index = Word_Index.find(words[i], hashes[i], word_at);
    entries[i] = index >= 0 ? &Fullform_Lexicon[index] : nullptr;
    if (index < 0) continue;
    __builtin_prefetch(entries[i]->data->tag);
    __builtin_prefetch(entries[i]->data->count);
  }
}

int ord(const char* s) {
  if (!is_digit(*s)) return 0;
  while (is_digit(*s) || *s == ' ' || *s == ',') ++s;
  return s[0] == '.' && s[1] == '\0';
}

int card(const char* s) {
  constexpr std::string_view Separators = " %'+,-./:";
  bool digit_seen = false;
  for (; *s != '\0'; ++s) {
    if (is_digit(*s))
      digit_seen = true;
    else if (Separators.find(*s) == std::string_view::npos)
      return 0;
  }
  return digit_seen;
}

}  // namespace orvelle
