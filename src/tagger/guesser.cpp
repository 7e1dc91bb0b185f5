// SPDX-License-Identifier: MIT
#include "tagger/guesser.h"

#include <orvelle/word_forms.h>

#include <algorithm>
#include <cmath>
#include <string>
#include <utility>

#include "support/strings.h"

namespace orvelle {

namespace {

// The figures below were chosen on held-out parts of the training texts of two languages; see
// docs/tagging.md.
constexpr double Shape_Weight = 5.0;       // how many words the step before counts for: kind and shape
constexpr double Affix_Weight = 2.0;       // the same: each further byte
constexpr int64_t Tokens_for_Rare = 5000;  // of the corpus, for each occurrence of a rare word
constexpr int Most_Rare_Frequency = 30;    // however large the corpus
constexpr double Least_Count = 1e-9;
constexpr double Negligible_Weight = 1e-4;
constexpr double Any_Tag_Share = 0.01;  // of all tags alike, beside the open-class distribution
constexpr size_t Long_Row = 8;          // words from which on a row's sum is kept
constexpr int Shape_Bits = 8;
constexpr int Kind_Bits = 6;
constexpr int Key_Bits = 64;
constexpr char Boundary = 1;  // stands for what is beyond the word

// The leaves of the affix trees, where the lexicon has no rare words.
constexpr double Suffix_Share = 1.0;
constexpr double Prefix_Share = 0.3;
constexpr double Open_Class_Share = 0.01;

enum kind_t { Small, Capitalised, All_Capitals, Digits_And_Letters, Digits, Signs };

bool is_capital(char c) { return c >= 'A' && c <= 'Z'; }
bool is_small(char c) { return c >= 'a' && c <= 'z'; }
bool is_ascii(char c) { return (c & 0x80) == 0; }
bool is_letter(char c) { return is_capital(c) || is_small(c) || !is_ascii(c); }

kind_t kind_of(std::string_view word, bool starts_with_capital) {
  const bool letters = std::any_of(word.begin(), word.end(), is_letter);
  if (std::any_of(word.begin(), word.end(), is_digit)) return letters ? Digits_And_Letters : Digits;
  if (!letters) return Signs;
  if (!starts_with_capital) return Small;
  return word.size() > 1 && std::none_of(word.begin(), word.end(), is_small) ? All_Capitals : Capitalised;
}

struct word_keys_t {
  uint64_t ending;
  uint64_t beginning;
};

// The shape's byte on top and up to seven bytes below it, `byte_at(i)` the i-th of them.
template <class ByteAt>
uint64_t make_key(uint64_t shape, size_t length, ByteAt byte_at) {
  uint64_t key = shape;
  for (size_t i = 0; i < 7; ++i) {
    const char byte = i < length ? byte_at(i) : i == length ? Boundary : '\0';
    key = key << 8 | static_cast<unsigned char>(byte);
  }
  return key;
}

word_keys_t keys_of(const char* word, bool utf8, const Warn& warn) {
  std::string_view text = word;
  const bool ascii = std::all_of(text.begin(), text.end(), is_ascii);
  const bool starts_with_capital = ascii ? !text.empty() && is_capital(text[0]) : is_upper(word, utf8, warn);
  const kind_t kind = kind_of(text, starts_with_capital);
  const bool hyphen = text.size() > 1 && text.find('-', 1) != std::string_view::npos;
  const bool period = kind != Digits && kind != Signs && text.find_first_of(".@/") != std::string_view::npos;
  const uint64_t shape = static_cast<uint64_t>(kind) << 2 | hyphen << 1 | period;
  std::string lower;
  if (!ascii) text = lower = all_to_lower(word, utf8, warn);
  const auto small = [](char c) { return is_capital(c) ? static_cast<char>(c + ('a' - 'A')) : c; };
  const size_t n = text.size();
  return {make_key(shape, n, [&](size_t i) { return small(text[n - 1 - i]); }),
          make_key(shape, n, [&](size_t i) { return small(text[i]); })};
}

uint64_t first_bits(uint64_t key, int bits) { return key & ~uint64_t{0} << (Key_Bits - bits); }

// In a small corpus words of closed classes are seldom too, so what counts as rare grows with the corpus.
int rare_frequency(const Lexicon& lexicon) {
  int64_t tokens = 0;
  for (int i = 0; i < lexicon.Fullform_Lexicon_Size; ++i) tokens += lexicon.Fullform_Lexicon[i].data->freq;
  return static_cast<int>(std::clamp<int64_t>(tokens / Tokens_for_Rare, 1, Most_Rare_Frequency));
}

double weight_before(int bits) { return bits <= Shape_Bits ? Shape_Weight : Affix_Weight; }

}  // namespace

RareWords::RareWords(const Tables& tables, const Warn& warn)
    : rare_frequency_(rare_frequency(tables.fullex.lexicon)) {
  const Lexicon& lexicon = tables.fullex.lexicon;
  for (int i = 0; i < lexicon.Fullform_Lexicon_Size; ++i) {
    const entry_t& entry = lexicon.Fullform_Lexicon[i];
    const entrydata_t& data = *entry.data;
    if (!is_rare(data)) continue;
    const word_keys_t keys = keys_of(entry.word, tables.UTF8_Processing, warn);
    const auto first = static_cast<int32_t>(pairs.size());
    for (int k = 0; k < data.n; ++k) pairs.push_back({data.tag[k], data.prob[k]});
    endings.push_back({keys.ending, first, data.n});
    beginnings.push_back({keys.beginning, first, data.n});
  }
  for (std::vector<word_t>* words : {&endings, &beginnings})
    std::sort(words->begin(), words->end(), [](const word_t& a, const word_t& b) {
      return a.key != b.key ? a.key < b.key : a.first_pair < b.first_pair;
    });
}

Guesser::Guesser(const Tables& tables, std::shared_ptr<const RareWords> rare_words, Warn warn)
    : tables_(tables),
      rare_words_(std::move(rare_words)),
      warn_(std::move(warn)),
      endings_{rare_words_->endings, {}},
      beginnings_{rare_words_->beginnings, {}},
      result_(tables.fullex.A_Priori_Tag_Prob_Fac.size()),
      by_beginning_(result_.size()) {}

const Guesser::row_t& Guesser::summed_row(Table& table, const step_t& step, uint64_t key) {
  // The low bits of the shortened key are free for its length: at least 8 of them are zero, but for whole
  // keys.
  const uint64_t row_key = first_bits(key, step.bits) ^ static_cast<uint64_t>(step.bits);
  if (const auto place = table.rows.find(row_key); place != table.rows.end()) return place->second;
  row_t row;
  std::vector<double> sums(result_.size(), 0.0);
  for (const RareWords::word_t* word = step.begin; word != step.end; ++word) {
    for (int k = 0; k < word->number_of_pairs; ++k)
      sums[rare_words_->pairs[word->first_pair + k].tag] +=
          rare_words_->pairs[word->first_pair + k].probability;
  }
  for (size_t tag = 0; tag < sums.size(); ++tag)
    if (sums[tag] > 0.0) row.push_back({static_cast<int32_t>(tag), static_cast<float>(sums[tag])});
  return table.rows.emplace(row_key, std::move(row)).first->second;
}

void Guesser::add_row(Table& table, const step_t& step, uint64_t key, double weight,
                      std::vector<double>& sum) {
  const size_t words = step.end - step.begin;
  if (words >= Long_Row && step.bits < Key_Bits) {
    for (const RareWords::pair_t& pair : summed_row(table, step, key))
      sum[pair.tag] += weight * pair.probability;
    return;
  }
  for (const RareWords::word_t* word = step.begin; word != step.end; ++word) {
    const RareWords::pair_t* const pairs = &rare_words_->pairs[word->first_pair];
    for (int k = 0; k < word->number_of_pairs; ++k) sum[pairs[k].tag] += weight * pairs[k].probability;
  }
}

// The distribution of a shape, all rare words of it in account; the steps before the first byte.
const std::vector<double>& Guesser::shape_distribution(uint64_t key) {
  const uint64_t shape = key >> (Key_Bits - Shape_Bits);
  if (const auto place = shapes_.find(shape); place != shapes_.end()) return place->second;
  std::vector<double> sum(result_.size(), Any_Tag_Share / static_cast<double>(result_.size()));
  const ANODE& open_classes = tables_.affixes.Open_Class_Node();
  for (int i = 0; i < open_classes.number; ++i) {
    const tagprob_t& pair = open_classes.tagprob[i];
    sum[pair.tag] += (1.0 - Any_Tag_Share) * std::max(pair.prob, 0.0f);
  }
  for (const int bits : {0, Kind_Bits, Shape_Bits}) {
    const auto before = [&](const RareWords::word_t& word, uint64_t k) { return word.key < k; };
    const uint64_t low = bits == 0 ? 0 : first_bits(key, bits);
    const uint64_t high = bits == 0 ? ~uint64_t{0} : low | ~uint64_t{0} >> bits;
    const auto& words = endings_.words;
    const auto begin = std::lower_bound(words.begin(), words.end(), low, before);
    const auto end = bits == 0 ? words.end() : std::lower_bound(begin, words.end(), high, before);
    if (begin == end) continue;
    const double count = static_cast<double>(end - begin);
    const double weight = weight_before(bits);
    for (double& p : sum) p *= weight / (count + weight);
    const step_t step{&*begin, &*begin + (end - begin), Key_Bits, count};
    add_row(endings_, step, key, 1.0 / (count + weight), sum);
  }
  return shapes_.emplace(shape, std::move(sum)).first->second;
}

// Follows a key's bytes from the distribution of its shape on. The steps are found from the shortest to the
// longest row and added the other way round, each with the weight that the longer ones leave it.
void Guesser::descend(Table& table, uint64_t key, const entrydata_t* entry, std::vector<double>& result) {
  const double own = entry != nullptr && rare_words_->is_rare(*entry) ? 1.0 : 0.0;
  const RareWords::word_t* begin = table.words.data();
  const RareWords::word_t* end = begin + table.words.size();
  steps_.clear();
  for (int bits = Shape_Bits + 8; bits <= Key_Bits; bits += 8) {
    const uint64_t low = first_bits(key, bits);
    const uint64_t high = low | (bits < Key_Bits ? ~uint64_t{0} >> bits : 0);
    begin =
        std::lower_bound(begin, end, low, [](const RareWords::word_t& w, uint64_t k) { return w.key < k; });
    end =
        std::upper_bound(begin, end, high, [](uint64_t k, const RareWords::word_t& w) { return k < w.key; });
    const double count = static_cast<double>(end - begin) - own;
    if (count < Least_Count) break;
    steps_.push_back({begin, end, bits, count});
    if ((key >> (Key_Bits - bits) & 0xFF) == Boundary) break;
  }
  std::fill(result.begin(), result.end(), 0.0);
  double left = 1.0;
  for (size_t i = steps_.size(); i-- > 0;) {
    const step_t& step = steps_[i];
    const double weight = left / (step.count + Affix_Weight);
    if (weight * step.count > Negligible_Weight) {
      add_row(table, step, key, weight, result);
      if (own > 0.0)
        for (int k = 0; k < entry->n; ++k) result[entry->tag[k]] -= weight * entry->prob[k];
    }
    left = weight * Affix_Weight;
  }
  const std::vector<double>& shape = shape_distribution(key);
  for (size_t tag = 0; tag < result_.size(); ++tag)
    result[tag] = std::max(result[tag], 0.0) + left * shape[tag];
}

// The share of the beginning is its fourth root against that of the ending: its quotient over what the shape
// alone gives counts only where it is clear.
const std::vector<double>& Guesser::guess(const char* word, const entrydata_t* entry) {
  if (endings_.words.empty()) {
    guess_from_trees(word);
    return result_;
  }
  const word_keys_t keys = keys_of(word, tables_.UTF8_Processing, warn_);
  descend(endings_, keys.ending, entry, result_);
  descend(beginnings_, keys.beginning, entry, by_beginning_);
  const std::vector<double>& shape = shape_distribution(keys.ending);
  double sum = 0.0;
  for (size_t tag = 0; tag < result_.size(); ++tag) {
    if (result_[tag] > Negligible_Weight) {
      const double quotient = (by_beginning_[tag] + Least_Count) / (shape[tag] + Least_Count);
      result_[tag] *= std::sqrt(std::sqrt(quotient));
    }
    sum += result_[tag];
  }
  for (double& p : result_) p /= sum;
  return result_;
}

// Without a rare word, as after training on a corpus without the lexicon's words, the affix trees have to do.
void Guesser::guess_from_trees(const char* word) {
  std::fill(result_.begin(), result_.end(), 0.0);
  const auto add = [this](const ANODE* leaf, double share) {
    if (leaf == nullptr) return;
    for (int i = 0; i < leaf->number; ++i) result_[leaf->tagprob[i].tag] += share * leaf->tagprob[i].prob;
  };
  add(tables_.affixes.suffix_leaf(word), Suffix_Share);
  add(tables_.affixes.prefix_leaf(word), Prefix_Share);
  add(&tables_.affixes.Open_Class_Node(), Open_Class_Share);
}

}  // namespace orvelle
