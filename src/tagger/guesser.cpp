// SPDX-License-Identifier: MIT
#include "tagger/guesser.h"

#include <orvelle/word_forms.h>

#include <algorithm>
#include <array>
#include <cmath>
#include <functional>
#include <numeric>
#include <string>
#include <utility>

#include "support/counting_sort.h"
#include "support/counts.h"
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
constexpr double Notable_Share = 1e-5;  // what a tag must have of the shape's distribution to be looked at
constexpr double Any_Tag_Share = 0.01;  // of all tags alike, beside the open-class distribution
constexpr int Shape_Bits = RareWords::Shape_Bits;
constexpr int Kind_Bits = 6;
constexpr int Key_Bits = 64;
constexpr size_t Row_Lengths =
    (Key_Bits - Shape_Bits) / 8;  // bytes that the keys of a row have in common, behind the shape
constexpr char Boundary = 1;      // stands for what is beyond the word

// The leaves of the affix trees, where the lexicon has no rare words.
constexpr double Suffix_Share = 1.0;
constexpr double Prefix_Share = 0.3;
constexpr double Open_Class_Share = 0.01;

enum kind_t { Small, Capitalised, All_Capitals, Digits_And_Letters, Digits, Signs };

// What a byte can be, as bits.
enum byte_kind_t : uint8_t { Capital = 1, Small_Letter = 2, Beyond_Ascii = 4, Digit = 8, Period = 16 };

constexpr auto Byte_Kinds = [] {
  std::array<uint8_t, 256> kinds{};
  for (unsigned c = 'A'; c <= 'Z'; ++c) kinds[c] = Capital;
  for (unsigned c = 'a'; c <= 'z'; ++c) kinds[c] = Small_Letter;
  for (unsigned c = '0'; c <= '9'; ++c) kinds[c] = Digit;
  for (unsigned c = 0x80; c < kinds.size(); ++c) kinds[c] = Beyond_Ascii;
  for (const unsigned char c : {'.', '@', '/'}) kinds[c] = Period;
  return kinds;
}();

uint8_t byte_kind(char c) { return Byte_Kinds[static_cast<unsigned char>(c)]; }

// `found`: what its bytes are.
kind_t kind_of(std::string_view word, unsigned found, bool starts_with_capital) {
  const bool letters = (found & (Capital | Small_Letter | Beyond_Ascii)) != 0;
  if ((found & Digit) != 0) return letters ? Digits_And_Letters : Digits;
  if (!letters) return Signs;
  if (!starts_with_capital) return Small;
  return word.size() > 1 && (found & Small_Letter) == 0 ? All_Capitals : Capitalised;
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
  unsigned found = 0;
  for (const char c : text) found |= byte_kind(c);
  const bool ascii = (found & Beyond_Ascii) == 0;
  const bool starts_with_capital =
      ascii ? !text.empty() && byte_kind(text[0]) == Capital : is_upper(word, utf8, warn);
  const kind_t kind = kind_of(text, found, starts_with_capital);
  const bool hyphen = text.size() > 1 && text.find('-', 1) != std::string_view::npos;
  const bool period = kind != Digits && kind != Signs && (found & Period) != 0;
  const uint64_t shape = static_cast<uint64_t>(kind) << 2 | hyphen << 1 | period;
  std::string lower;
  if (!ascii) text = lower = all_to_lower(word, utf8, warn);
  const size_t n = text.size();
  return {make_key(shape, n, [&](size_t i) { return ascii_lower(text[n - 1 - i]); }),
          make_key(shape, n, [&](size_t i) { return ascii_lower(text[i]); })};
}

uint64_t first_bits(uint64_t key, int bits) { return key & ~uint64_t{0} << (Key_Bits - bits); }

// In a small corpus words of closed classes are seldom too, so what counts as rare grows with the corpus.
int rare_frequency(const Lexicon& lexicon) {
  int64_t tokens = 0;
  for (int i = 0; i < lexicon.Fullform_Lexicon_Size; ++i) tokens += lexicon.Fullform_Lexicon[i].data->freq;
  return static_cast<int>(std::clamp<int64_t>(tokens / Tokens_for_Rare, 1, Most_Rare_Frequency));
}

// A few bits at a time from the last on, so that a large lexicon is sorted as fast as it is read. Words of one key stay in
// order.
std::vector<RareWords::word_t> sorted_by_key(std::vector<RareWords::word_t> words) {
  constexpr int Digit_Bits = 11;
  constexpr size_t Digits = size_t{1} << Digit_Bits;
  for (int bits = 0; bits < Key_Bits; bits += Digit_Bits)
    counting_sort(words, Digits,
                  [bits](const RareWords::word_t& word) { return word.key >> bits & (Digits - 1); });
  return words;
}

std::vector<double> open_class_distribution(const Tables& tables) {
  const size_t tags = tables.fullex.A_Priori_Tag_Prob_Fac.size();
  std::vector<double> result(tags, Any_Tag_Share / static_cast<double>(tags));
  const ANODE& open_classes = tables.affixes.Open_Class_Node();
  for (int i = 0; i < open_classes.number; ++i) {
    const tagprob_t& pair = open_classes.tagprob[i];
    result[static_cast<size_t>(pair.tag)] += (1.0 - Any_Tag_Share) * std::max(pair.prob, 0.0f);
  }
  return result;
}

double weight_before(int bits) { return bits <= Shape_Bits ? Shape_Weight : Affix_Weight; }

}  // namespace

RareWords::table_t::table_t(std::vector<word_t> its_words)
    : words(sorted_by_key(std::move(its_words))), sums((words.size() / Long_Row + 1) * Row_Lengths) {}

size_t RareWords::table_t::slot(const row_t& row) const {
  const auto place = static_cast<size_t>(row.begin - words.data()) / Long_Row;
  return place * Row_Lengths + static_cast<size_t>((row.bits - Shape_Bits) / 8 - 1);
}

RareWords::RareWords(lists_t lists)
    : pairs(std::move(lists.pairs)),
      endings(std::move(lists.endings)),
      beginnings(std::move(lists.beginnings)),
      rare_frequency_(lists.rare_frequency) {}

RareWords::lists_t RareWords::collect(const Tables& tables, const Warn& warn) {
  const Lexicon& lexicon = tables.fullex.lexicon;
  lists_t lists{rare_frequency(lexicon), {}, {}, {}};
  for (int i = 0; i < lexicon.Fullform_Lexicon_Size; ++i) {
    const entry_t& entry = lexicon.Fullform_Lexicon[i];
    const entrydata_t& data = *entry.data;
    if (!is_rare(data, lists.rare_frequency)) continue;
    const word_keys_t keys = keys_of(entry.word, tables.UTF8_Processing, warn);
    const auto first = int32_t{int_count(lists.pairs.size(), "tags of rare words")};
    for (int k = 0; k < data.n; ++k) lists.pairs.push_back({data.tag[k], data.prob[k]});
    lists.endings.push_back({keys.ending, first, data.n});
    lists.beginnings.push_back({keys.beginning, first, data.n});
  }
  return lists;
}

Guesser::Guesser(const Tables& tables, std::shared_ptr<RareWords> rare_words, Warn warn)
    : tables_(tables),
      rare_words_(std::move(rare_words)),
      warn_(std::move(warn)),
      result_(tables.fullex.A_Priori_Tag_Prob_Fac.size()),
      by_beginning_(tables.fullex.A_Priori_Tag_Prob_Fac.size()),
      sums_(tables.fullex.A_Priori_Tag_Prob_Fac.size()) {}

const std::vector<RareWords::pair_t>& Guesser::summed(RareWords::table_t& table,
                                                      const RareWords::row_t& row) {
  const size_t slot = table.slot(row);
  if (const auto* const known = table.sums.get(slot)) return *known;
  sums_.clear();
  add_words(row, 1.0, sums_);
  auto sum = std::make_unique<std::vector<RareWords::pair_t>>();
  for (const int32_t tag : sums_.tags())
    if (sums_[tag] > 0.0) sum->push_back({tag, static_cast<float>(sums_[tag])});
  return table.sums.put(slot, std::move(sum));
}

void Guesser::add_row(RareWords::table_t& table, const RareWords::row_t& row, double weight,
                      TagWeights& sum) {
  if (row.size() < RareWords::Long_Row) return add_words(row, weight, sum);
  for (const RareWords::pair_t& pair : summed(table, row)) sum.add(pair.tag, weight * pair.probability);
}

void Guesser::add_words(const RareWords::row_t& row, double weight, TagWeights& sum) const {
  for (const RareWords::word_t* word = row.begin; word != row.end; ++word) {
    const RareWords::pair_t* const pairs = rare_words_->pairs.data() + word->first_pair;
    for (int k = 0; k < word->number_of_pairs; ++k) sum.add(pairs[k].tag, weight * pairs[k].probability);
  }
}

const RareWords::shape_t& Guesser::shape_of(uint64_t key, int bits) {
  const uint64_t slot = uint64_t{1} << bits | (bits > 0 ? key >> (Key_Bits - bits) : 0);
  if (const auto* const known = rare_words_->shapes.get(slot)) return *known;
  return rare_words_->shapes.put(slot, std::make_unique<RareWords::shape_t>(make_shape(key, bits)));
}

// The distribution of what these bits tell of a shape, all rare words of it in account: the steps before the first byte.
RareWords::shape_t Guesser::make_shape(uint64_t key, int bits) {
  const size_t tags = tables_.fullex.A_Priori_Tag_Prob_Fac.size();
  RareWords::shape_t shape;
  if (bits == 0)
    shape.probability = open_class_distribution(tables_);
  else
    shape.probability = shape_of(key, bits == Shape_Bits ? Kind_Bits : 0).probability;
  add_shape(key, bits, shape.probability);
  shape.tags.resize(tags);
  std::iota(shape.tags.begin(), shape.tags.end(), 0);
  const auto probability = [&](int32_t tag) { return shape.probability[static_cast<size_t>(tag)]; };
  std::ranges::stable_sort(shape.tags, std::ranges::greater(), probability);
  shape.rest.assign(tags + 1, 0.0);
  for (size_t i = tags; i-- > 0;) shape.rest[i] = shape.rest[i + 1] + probability(shape.tags[i]);
  return shape;
}

void Guesser::add_shape(uint64_t key, int bits, std::vector<double>& probability) const {
  const auto before = [](const RareWords::word_t& word, uint64_t k) { return word.key < k; };
  const uint64_t low = bits == 0 ? 0 : first_bits(key, bits);
  const uint64_t high = bits == 0 ? ~uint64_t{0} : low | ~uint64_t{0} >> bits;
  const auto& words = rare_words_->endings.words;
  const auto begin = std::lower_bound(words.begin(), words.end(), low, before);
  const auto end = bits == 0 ? words.end() : std::lower_bound(begin, words.end(), high, before);
  if (begin == end) return;
  const double count = static_cast<double>(end - begin);
  const double weight = weight_before(bits);
  for (double& p : probability) p *= weight / (count + weight);
  TagWeights sum(probability.size());
  add_words({&*begin, &*begin + (end - begin), bits}, 1.0 / (count + weight), sum);
  for (const int32_t tag : sum.tags()) probability[static_cast<size_t>(tag)] += sum[tag];
}

// Follows a key's bytes. The steps are found from the shortest to the longest row and added the other way round, each with
// the weight that the longer ones leave it. Returns the weight that is left for the distribution of the shape.
double Guesser::descend(RareWords::table_t& table, uint64_t key, const entrydata_t* entry,
                        TagWeights& result) {
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
    steps_.push_back({{begin, end, bits}, count});
    if ((key >> (Key_Bits - bits) & 0xFF) == Boundary) break;
  }
  result.clear();
  double left = 1.0;
  for (size_t i = steps_.size(); i-- > 0;) {
    const step_t& step = steps_[i];
    const double weight = left / (step.count + Affix_Weight);
    if (weight * step.count > Negligible_Weight) {
      add_row(table, step.row, weight, result);
      if (own > 0.0)
        for (int k = 0; k < entry->n; ++k) result.add(entry->tag[k], -weight * entry->prob[k]);
    }
    left = weight * Affix_Weight;
  }
  for (const int32_t tag : result.tags()) result.set(tag, std::max(result[tag], 0.0));
  return left;
}

// The share of the beginning is its fourth root against that of the ending: its quotient over what the shape
// alone gives counts only where it is clear.
const TagWeights& Guesser::guess(const char* word, const entrydata_t* entry) {
  if (rare_words_->endings.words.empty()) {
    guess_from_trees(word);
    return result_;
  }
  const word_keys_t keys = keys_of(word, tables_.UTF8_Processing, warn_);
  const double left_by_ending = descend(rare_words_->endings, keys.ending, entry, result_);
  const double left_by_beginning = descend(rare_words_->beginnings, keys.beginning, entry, by_beginning_);
  const RareWords::shape_t& shape = shape_of(keys.ending, Shape_Bits);
  size_t notable = 0;
  while (notable < shape.tags.size() &&
         left_by_ending * shape.probability[static_cast<size_t>(shape.tags[notable])] > Notable_Share)
    result_.add(shape.tags[notable++], 0.0);
  double sum = left_by_ending * shape.rest[notable];
  for (const int32_t tag : result_.tags()) {
    const double by_shape = shape.probability[static_cast<size_t>(tag)];
    double p = result_[tag] + left_by_ending * by_shape;
    if (p > Negligible_Weight) {
      const double by_beginning = by_beginning_[tag] + left_by_beginning * by_shape;
      p *= std::sqrt(std::sqrt((by_beginning + Least_Count) / (by_shape + Least_Count)));
    }
    result_.set(tag, p);
    sum += p;
  }
  for (const int32_t tag : result_.tags()) result_.set(tag, result_[tag] / sum);
  return result_;
}

// Without a rare word, as after training on a corpus without the lexicon's words, the affix trees have to do.
void Guesser::guess_from_trees(const char* word) {
  result_.clear();
  const auto add = [this](const ANODE* leaf, double share) {
    if (leaf == nullptr) return;
    for (int i = 0; i < leaf->number; ++i) result_.add(leaf->tagprob[i].tag, share * leaf->tagprob[i].prob);
  };
  add(tables_.affixes.suffix_leaf(word), Suffix_Share);
  add(tables_.affixes.prefix_leaf(word), Prefix_Share);
  add(&tables_.affixes.Open_Class_Node(), Open_Class_Share);
}

}  // namespace orvelle
