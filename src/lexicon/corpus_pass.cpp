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
#include "lexicon/tagset.h"
#include "support/errors.h"
#include "support/files.h"
#include "support/line_reader.h"
#include "support/string_index.h"
#include "support/strings.h"

namespace orvelle {

namespace {

// Texts of distinct lines and what is kept beside them; the texts of a million words of English have 2 MB.
constexpr size_t Max_Cached_Bytes = 32 << 20;

// What a line of the corpus does, but for the counts that it raises.
struct line_effect_t {
  int16_t tag = -1;       // number of the token's tag; -1: the line holds no token
  bool known = false;     // an entry stands for the word form
  context_tag_t context;  // what the n-grams see
};

// The corpus counts that a line raises, or null.
using raised_counts_t = std::array<int*, 2>;

struct cached_line_t {
  const char* text;  // the line, without a NUL behind it
  uint32_t size;     // bytes
  uint32_t hits;
  line_effect_t effect;

  std::string_view view() const { return {text, size}; }
};

// The beginning of a line up to its first TAB, and its entry: of nearly all lines the word form.
struct likely_word_t {
  std::string_view text;
  entry_t* entry = nullptr;
};

// The count of a tag in an entry, or null if the entry does not list the tag.
int* count_of(const entry_t& entry, int tag) {
  const entrydata_t& data = *entry.data;
  const int* place = std::lower_bound(data.tag, data.tag + data.n, tag);
  return place != data.tag + data.n && *place == tag ? &data.count[place - data.tag] : nullptr;
}

// A token counts for the entry of its word form and, if that looks like a number, for a number entry as well.
raised_counts_t resolve_word(const char* word, const entry_t* entry, int tag) {
  raised_counts_t counts = {count_of(*entry, tag), nullptr};
  const entry_t* ordinal = &Fullform_Lexicon[Ordinal_Entry];
  const entry_t* cardinal = &Fullform_Lexicon[Cardinal_Entry];
  if (ord(word) && entry != ordinal)
    counts[1] = count_of(*ordinal, tag);
  else if (card(word) && entry != cardinal)
    counts[1] = count_of(*cardinal, tag);
  return counts;
}

line_effect_t resolve_line(std::string_view line, const likely_word_t& likely, raised_counts_t& counts) {
  line_effect_t effect;
  counts = {nullptr, nullptr};
  char copy[Max_Line_Length + 1];
  std::memcpy(copy, line.data(), line.size());
  copy[line.size()] = '\0';
  const std::string_view context_text = context_tag_text({copy, line.size()});
  const char* context_end = context_text.data() + context_text.size();
  effect.context = context_tag({copy, line.size()}, context_text);
  char* cursor = copy;
  const char* word = next_string2(&cursor);
  if (*word == '\0') return effect;
  const bool as_likely = likely.entry != nullptr && word == copy && copy[likely.text.size()] == '\0';
  const char* tag = next_string(&cursor);
  // Both readings of nearly all lines find the same tag, which then needs to be looked up only once.
  const bool same =
      effect.context.kind == context_tag_t::Token && tag == context_text.data() && *context_end == '\0';
  effect.tag = same ? effect.context.tag : static_cast<int16_t>(tag_number(tag));
  const entry_t* entry = as_likely ? likely.entry : fullform_lookup(word);
  effect.known = entry != nullptr;
  if (effect.known) counts = resolve_word(word, entry, effect.tag);
  return effect;
}

void add_hits(const line_effect_t& effect, const raised_counts_t& counts, int hits) {
  if (effect.tag < 0) return;
  Tag_Freq[effect.tag] += hits;
  for (int* count : counts)
    if (count != nullptr) *count += hits;
}

// A group of lines on its way through the cache.
struct line_group_t {
  std::array<std::string_view, Max_Words_At_Once> lines;
  std::array<uint32_t, Max_Words_At_Once> hashes;
  std::array<int, Max_Words_At_Once> candidates;        // the cached line with that hash, or -1
  std::array<likely_word_t, Max_Words_At_Once> likely;  // of the lines that seem to be new
  size_t size = 0;
};

class LineCache {
 public:
  // Asks the memory for all that see will look at, in the order in which one thing leads to the next.
  void prepare(line_group_t& group) const {
    for (size_t i = 0; i < group.size; ++i) index_.prefetch(group.hashes[i] = hash_bytes(group.lines[i]));
    std::array<std::string_view, Max_Words_At_Once> words;
    std::array<size_t, Max_Words_At_Once> line_of_word;
    size_t count = 0;
    for (size_t i = 0; i < group.size; ++i) {
      const int number = group.candidates[i] = index_.candidate(group.hashes[i]);
      group.likely[i] = {};
      if (number >= 0) {
        __builtin_prefetch(&lines_[number]);
      } else {
        words[count] = group.lines[i].substr(0, group.lines[i].find('\t'));
        line_of_word[count++] = i;
      }
    }
    std::array<entry_t*, Max_Words_At_Once> entries;
    find_entries(std::span(words).first(count), entries.data());
    for (size_t i = 0; i < count; ++i) group.likely[line_of_word[i]] = {words[i], entries[i]};
    for (size_t i = 0; i < group.size; ++i) {
      const int number = group.candidates[i];
      if (number < 0) continue;
      __builtin_prefetch(lines_[number].text);
      __builtin_prefetch(lines_[number].text + lines_[number].size);  // often in the next cache line
    }
  }

  // What line i of a prepared group does; counts it as seen once more. Valid until: the next call.
  const line_effect_t& see(const line_group_t& group, size_t i) {
    const std::string_view line = group.lines[i];
    int number = group.candidates[i];
    if (number < 0 || lines_[number].view() != line)
      number = index_.find(line, group.hashes[i], [this](int k) { return lines_[k].view(); });
    if (number < 0) {
      raised_counts_t counts;
      const line_effect_t effect = resolve_line(line, group.likely[i], counts);
      if (cached_bytes_ >= Max_Cached_Bytes) {
        add_hits(effect, counts, 1);
        return uncached_ = effect;
      }
      number = static_cast<int>(lines_.size());
      lines_.push_back({texts_.add(line), static_cast<uint32_t>(line.size()), 0, effect});
      counts_.push_back(counts);
      index_.insert(group.hashes[i], number);
      cached_bytes_ += line.size() + sizeof(cached_line_t) + sizeof counts;
    }
    cached_line_t& cached = lines_[number];
    ++cached.hits;
    return cached.effect;
  }

  void add_all_hits() {
    for (size_t i = 0; i < lines_.size(); ++i)
      add_hits(lines_[i].effect, counts_[i], static_cast<int>(lines_[i].hits));
  }

 private:
  std::vector<cached_line_t> lines_;
  std::vector<raised_counts_t> counts_;  // parallel; apart, since only the first sight and the end need them
  StringIndex index_;                    // from a text to its place in lines_
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
  LineCache cache;
  Progress progress;
  int64_t tokens = 0;
  line_group_t group;
  while ((group.size = reader.next_lines(group.lines)) > 0) {
    cache.prepare(group);
    for (size_t i = 0; i < group.size; ++i) {
      ++Line;
      const line_effect_t& effect = cache.see(group, i);
      if (effect.tag >= 0 && ++tokens > INT_MAX) error("Too many tokens in training corpus");
      if (effect.known && !Quiet) progress.token();
      if (ngrams != nullptr) ngrams->add_line(effect.context, group.lines[i]);
    }
  }
  cache.add_all_hits();
}

}  // namespace orvelle
