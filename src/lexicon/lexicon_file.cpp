// What the first pass keeps, for two lines "saw NN saw VVD see" and "dog NN dog":
//
//   File.words   "saw"  "dog"       File.line_end   2  3     (pairs up to the end of the line)
//   File.pairs   (0,2) (1,3) (0,4)  tag and lemma, numbered as they came: NN 0, VVD 1; @card@ 0, @ord@ 1, saw 2 ...
//
// Cost: one hash look-up for each tag and lemma, then three sorts.
#include "lexicon/lexicon_file.h"

#include <algorithm>
#include <cstdint>
#include <string_view>
#include <utility>
#include <vector>

#include "driver/settings.h"
#include "lexicon/entries.h"
#include "lexicon/lemmas.h"
#include "lexicon/tagset.h"
#include "support/errors.h"
#include "support/files.h"
#include "support/line_reader.h"
#include "support/string_index.h"
#include "support/string_sort.h"
#include "support/strings.h"

namespace orvelle {

namespace {

// Distinct strings, numbered in the order in which they come; later renumbered in byte order.
class StringPool {
 public:
  int size() const { return static_cast<int>(strings_.size()); }

  int find(std::string_view text, uint32_t hash) const { return index_.find(text, hash, KeyAt{this}); }

  int add(std::string_view text, uint32_t hash) {
    strings_.push_back(arena().add(text));
    index_.insert(hash, size() - 1);
    return size() - 1;
  }

  int number(std::string_view text) {
    const uint32_t hash = hash_bytes(text);
    const int known = find(text, hash);
    return known >= 0 ? known : add(text, hash);
  }

  // The strings in byte order; `rank` becomes the map from the numbers so far to the places in that order.
  std::vector<const char*> sorted(std::vector<int>& rank) {
    index_.clear();
    std::vector<const char*> result(strings_.size());
    rank.resize(strings_.size());
    int place = 0;
    for (const uint32_t i : sorted_order(strings_)) {
      result[place] = strings_[i];
      rank[i] = place++;
    }
    strings_ = {};
    return result;
  }

  // The tagset, the lemma table and the lexicon refer to these strings until the process ends.
  static StringArena& arena() {
    static StringArena strings;
    return strings;
  }

 private:
  struct KeyAt {
    const StringPool* pool;
    const char* operator()(int i) const { return pool->strings_[i]; }
  };
  std::vector<const char*> strings_;
  StringIndex index_;
};

struct pair_t {
  int tag;
  int lemma;
};

// The lines of the file, from the first pass to the third.
struct lexicon_lines_t {
  StringPool tags;
  StringPool lemmas;
  std::vector<const char*> words;
  std::vector<size_t> line_end;  // parallel to words: index in pairs behind the line's last pair
  std::vector<pair_t> pairs;

  size_t line_start(size_t i) const { return i == 0 ? 0 : line_end[i - 1]; }
};

lexicon_lines_t File;

// A line split into its fields. Valid until: the next line is read.
struct line_record_t {
  const char* word;
  std::vector<std::pair<const char*, const char*>> pairs;  // tag, lemma
};

// The next line, or null at the end of the file.
const line_record_t* next_word_tags_lemmas(LineReader& reader) {
  static line_record_t next;
  if (reader.next().data() == nullptr) return nullptr;
  ++Line;
  char* cursor = reader.terminated();
  next.word = next_string2(&cursor);
  next.pairs.clear();
  for (const char* tag = next_string(&cursor); *tag != '\0'; tag = next_string(&cursor)) {
    const char* lemma = next_string2(&cursor);
    if (*lemma == '\0') fail("\nERROR: Missing lemma in line %ld\n", static_cast<long>(Line));
    next.pairs.emplace_back(tag, lemma);
  }
  return &next;
}

int collect_tag(std::string_view name) {
  const uint32_t hash = hash_bytes(name);
  const int known = File.tags.find(name, hash);
  if (known >= 0) return known;
  if (File.tags.size() == Max_Number_of_Tags) fail("\nERROR: too many tags !\n");
  return File.tags.add(name, hash);
}

void collect_line(const line_record_t& line) {
  if (line.pairs.empty()) fail("Error: no tags in lexicon for word \"%s\"!\n", line.word);
  File.words.push_back(StringPool::arena().add(line.word));
  for (const auto& [tag, lemma] : line.pairs)
    File.pairs.push_back({collect_tag(tag), File.lemmas.number(lemma)});
  File.line_end.push_back(File.pairs.size());
}

int sentence_tag_number(const std::vector<const char*>& names) {
  for (size_t i = 0; i < names.size(); ++i)
    if (str_cmp(names[i], SENT_TAG) == 0) return static_cast<int>(i);
  fail("\nERROR: Sentence punctuation tag \"%s\" is not in lexicon!\n", SENT_TAG);
}

// Brings every line's pairs into ascending order of their tags, in file order so that the first bad line is reported.
void sort_pairs() {
  for (size_t i = 0; i < File.words.size(); ++i) {
    pair_t* first = File.pairs.data() + File.line_start(i);
    pair_t* last = File.pairs.data() + File.line_end[i];
    std::sort(first, last, [](const pair_t& a, const pair_t& b) { return a.tag < b.tag; });
    const auto twice =
        std::adjacent_find(first, last, [](const pair_t& a, const pair_t& b) { return a.tag == b.tag; });
    if (twice != last)
      fail("\nERROR: Tag \"%s\" replicated in lexicon entry for \"%s\" at line %zu\n", Tag[twice->tag],
           File.words[i], i + 1);
  }
}

// Fills the slots one after the other; the arrays of all entries lie in two blocks, in the order of the slots.
class LexiconWriter {
 public:
  LexiconWriter(size_t entries, size_t pairs) {
    storage_.slots.reserve(entries);
    storage_.records.reserve(entries);
    storage_.blocks.push_back(std::make_unique<int[]>(2 * pairs));
    storage_.prob_blocks.push_back(std::make_unique<float[]>(pairs));
    next_number_ = storage_.blocks.back().get();
    next_prob_ = storage_.prob_blocks.back().get();
  }

  template <class PairAt>
  void insert_word(const char* word, int n, PairAt pair_at) {
    int* tags = next_number_;
    int* lemmas = tags + n;
    for (int i = 0; i < n; ++i) {
      tags[i] = pair_at(i).tag;
      lemmas[i] = pair_at(i).lemma;
    }
    storage_.records.push_back({n, tags, next_prob_, nullptr, 0, lemmas});
    storage_.slots.push_back({word, &storage_.records.back()});
    next_number_ += 2 * n;
    next_prob_ += n;
  }

  lexicon_storage_t take() { return std::move(storage_); }

 private:
  lexicon_storage_t storage_;
  int* next_number_;
  float* next_prob_;
};

void insert_number_entry(LexiconWriter& writer, const char* lemma) {
  const int number = lemma_number(lemma);
  writer.insert_word("", Number_of_Tags, [number](int tag) { return pair_t{tag, number}; });
}

}  // namespace

void read_tags(FILE* file, const char* name) {
  if (!Quiet) std::fputs("\t\treading the tagset ...\n", stderr);
  File = {};
  File.lemmas.number(Card_Lemma);
  File.lemmas.number(Ord_Lemma);
  Line = 0;
  LineReader reader(file, name);
  while (const line_record_t* line = next_word_tags_lemmas(reader)) collect_line(*line);
  Line = 0;

  std::vector<int> rank;
  std::vector<const char*> names = File.tags.sorted(rank);
  const int sent_tag = sentence_tag_number(names);
  define_tagset(std::move(names), sent_tag);
  for (pair_t& pair : File.pairs) pair.tag = rank[pair.tag];
}

void read_lemmas() {
  if (!Quiet) std::fputs("\t\treading the lemmas ...\n", stderr);
  std::vector<int> rank;
  define_lemmas(File.lemmas.sorted(rank));
  for (pair_t& pair : File.pairs) pair.lemma = rank[pair.lemma];
}

void read_words() {
  if (!Quiet) std::fputs("\t\treading the entries ...\n", stderr);
  sort_pairs();

  if (!Quiet) std::fputs("\t\tsorting the lexicon ...\n", stderr);
  const std::vector<uint32_t> order = sorted_order(File.words);
  for (size_t i = 1; i < order.size(); ++i)
    if (str_cmp(File.words[order[i - 1]], File.words[order[i]]) == 0)
      fail("\nERROR: Two lexicon entries for word form \"%s\"!\n", File.words[order[i]]);

  LexiconWriter writer(order.size() - First_Entry,
                       File.pairs.size() + 2 * static_cast<size_t>(Number_of_Tags));
  insert_number_entry(writer, Card_Lemma);
  insert_number_entry(writer, Ord_Lemma);
  for (const uint32_t i : order) {
    const pair_t* pairs = File.pairs.data() + File.line_start(i);
    const int n = static_cast<int>(File.line_end[i] - File.line_start(i));
    writer.insert_word(File.words[i], n, [pairs](int k) { return pairs[k]; });
  }
  File = {};
  define_lexicon(writer.take());
}

}  // namespace orvelle
