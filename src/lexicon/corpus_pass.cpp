// Nearly all lines of a corpus repeat an earlier line (94 of 100 in a million words of English), so what a line does
// is worked out at its first sight and kept beside its text:
//
//   text            hits   tag   counts raised           n-gram tag
//   "the\tDT\n"    57,391   DT   the/DT                      DT
//   "3.\tCD\n"         12   CD   ordinal/CD, cardinal/CD     CD
//   "\n"           40,110    -   -                           line passed over
//
// A later sight costs a hash, a probe and a comparison; the hits are added to the counts at the end. Texts beyond
// Max_Cached_Bytes are worked out each time, so that memory does not grow with the corpus.
#include "lexicon/corpus_pass.h"

#include <algorithm>
#include <array>
#include <climits>
#include <cstdint>
#include <cstring>
#include <span>
#include <string_view>
#include <vector>

#include "context/ngram_table.h"
#include "driver/settings.h"
#include "lexicon/entries.h"
#include "lexicon/make_lexicon.h"
#include "lexicon/tagset.h"
#include "support/errors.h"
#include "support/files.h"
#include "support/line_reader.h"
#include "support/string_index.h"
#include "support/strings.h"

namespace orvelle {

namespace {

constexpr size_t Group_Size = 64;  // lines whose memory is asked for together
constexpr size_t Max_Cached_Bytes = 32 << 20;  // texts of distinct lines; a million words of English have 2 MB

// What a line of the corpus does.
struct line_effect_t {
  int tag = -1;                        // number of the token's tag; -1: the line holds no token
  bool known = false;                  // an entry stands for the word form
  int* counts[2] = {nullptr, nullptr}; // corpus counts that it raises
  context_tag_t context;               // what the n-grams see
};

struct cached_line_t {
  const char* text;  // the line, without a NUL behind it
  uint32_t size;     // bytes
  uint32_t hits = 0;
  line_effect_t effect;

  std::string_view view() const { return {text, size}; }
};

// The count of a tag in an entry, or null if the entry does not list the tag.
int* count_of(const entry_t& entry, int tag) {
  const entrydata_t& data = *entry.data;
  const int* place = std::lower_bound(data.tag, data.tag + data.n, tag);
  return place != data.tag + data.n && *place == tag ? &data.count[place - data.tag] : nullptr;
}

// A token counts for the entry of its word form and, if that looks like a number, for a number entry as well.
void resolve_word(const char* word, line_effect_t& effect) {
  const entry_t* entry = fullform_lookup(word);
  if (entry == nullptr) return;
  effect.known = true;
  effect.counts[0] = count_of(*entry, effect.tag);
  const entry_t* ordinal = &Fullform_Lexicon[Ordinal_Entry];
  const entry_t* cardinal = &Fullform_Lexicon[Cardinal_Entry];
  if (ord(word) && entry != ordinal) effect.counts[1] = count_of(*ordinal, effect.tag);
  else if (card(word) && entry != cardinal) effect.counts[1] = count_of(*cardinal, effect.tag);
}

line_effect_t resolve_line(std::string_view line, bool for_ngrams) {
  line_effect_t effect;
  if (for_ngrams) effect.context = context_tag(line);
  char copy[Max_Line_Length + 1];
  std::memcpy(copy, line.data(), line.size());
  copy[line.size()] = '\0';
  char* cursor = copy;
  const char* word = next_string2(&cursor);
  if (*word == '\0') return effect;
  effect.tag = tag_number(next_string(&cursor));
  resolve_word(word, effect);
  return effect;
}

void add_hits(const line_effect_t& effect, int hits) {
  if (effect.tag < 0) return;
  Tag_Freq[effect.tag] += hits;
  for (int* count : effect.counts)
    if (count != nullptr) *count += hits;
}

class LineCache {
 public:
  explicit LineCache(bool for_ngrams) : for_ngrams_(for_ngrams) {}

  // Asks the memory for all that see will look at, in the order in which one thing leads to the next.
  void prepare(std::span<const std::string_view> lines, uint32_t* hashes) const {
    for (size_t i = 0; i < lines.size(); ++i) index_.prefetch(hashes[i] = hash_bytes(lines[i]));
    std::array<std::string_view, Group_Size> new_words;
    size_t new_lines = 0;
    for (size_t i = 0; i < lines.size(); ++i) {
      const int number = index_.peek(hashes[i]);
      if (number >= 0) __builtin_prefetch(&lines_[number]);
      else new_words[new_lines++] = lines[i].substr(0, lines[i].find('\t'));
    }
    prefetch_entries(std::span(new_words).first(new_lines));
    for (size_t i = 0; i < lines.size(); ++i)
      if (const int number = index_.peek(hashes[i]); number >= 0) __builtin_prefetch(lines_[number].text);
  }

  // What the line does; counts it as seen once more. Valid until: the next call.
  const line_effect_t& see(std::string_view line, uint32_t hash) {
    const auto text_at = [this](int i) { return lines_[i].view(); };
    int number = index_.find(line, hash, text_at);
    if (number < 0) {
      if (cached_bytes_ >= Max_Cached_Bytes) {
        uncached_ = resolve_line(line, for_ngrams_);
        add_hits(uncached_, 1);
        return uncached_;
      }
      number = static_cast<int>(lines_.size());
      lines_.push_back({texts_.add(line), static_cast<uint32_t>(line.size()), 0, resolve_line(line, for_ngrams_)});
      index_.insert(hash, number);
      cached_bytes_ += line.size() + sizeof(cached_line_t);
    }
    cached_line_t& cached = lines_[number];
    ++cached.hits;
    return cached.effect;
  }

  void add_all_hits() {
    for (const cached_line_t& line : lines_) add_hits(line.effect, static_cast<int>(line.hits));
  }

 private:
  bool for_ngrams_;
  std::vector<cached_line_t> lines_;
  StringIndex index_;  // from a text to its place in lines_
  StringArena texts_;
  size_t cached_bytes_ = 0;
  line_effect_t uncached_;
};

// The counter of the progress lines: tokens whose word form is known.
class Progress {
 public:
  void token() {
    if (++tokens_ % 1000 == 0) std::fprintf(stderr, "\r%ld", tokens_);
  }

 private:
  long tokens_ = 0;
};

}  // namespace

void count_corpus(FILE* file, const char* name, NGramTable* ngrams) {
  LineReader reader(file, name);
  LineCache cache(ngrams != nullptr);
  Progress progress;
  int64_t tokens = 0;
  std::array<std::string_view, Group_Size> lines;
  std::array<uint32_t, Group_Size> hashes;
  while (const size_t count = reader.next_lines(lines)) {
    cache.prepare(std::span(lines).first(count), hashes.data());
    for (size_t i = 0; i < count; ++i) {
      ++Line;
      const line_effect_t& effect = cache.see(lines[i], hashes[i]);
      if (effect.tag >= 0 && ++tokens > INT_MAX) error("Too many tokens in training corpus");
      if (effect.known && !Quiet) progress.token();
      if (ngrams != nullptr) ngrams->add_line(effect.context, lines[i]);
    }
  }
  cache.add_all_hits();
}

}  // namespace orvelle
