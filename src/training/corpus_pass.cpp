// SPDX-License-Identifier: MIT
// Nearly all lines of a corpus repeat an earlier line (94 of 100 in a million words of English), so what a line does
// is worked out at its first sight and kept beside its text:
//
//   text            hits   tag   counts raised           n-gram tag
//   "the\tDT\n"    57,391   DT   the/DT                      DT
//   "3.\tCD\n"         12   CD   ordinal/CD, cardinal/CD     CD
//   "\n"           40,110    -   -                           line passed over
//
// A later sight costs a hash, a probe and a comparison; the hits are added to the counts at the end. Texts beyond
// a limit are worked out each time, so that memory does not grow with the corpus.
#include "training/corpus_pass.h"

#include <orvelle/word_forms.h>

#include <algorithm>
#include <array>
#include <bit>
#include <climits>
#include <cstring>
#include <span>

#include "support/errors.h"
#include "support/files.h"
#include "support/line_reader.h"
#include "support/string_index.h"

namespace orvelle {

void CorpusSink::unknown_tag_of_token(int64_t, const char*, const char* tag) { unknown_tag(tag); }

void CorpusSink::line(int64_t, std::string_view, line_kind_t, int, context_tag_t) {}

namespace {

constexpr size_t Group_Size = Lexicon::Max_Words_At_Once;

// What a line of the corpus does, but for the counts that it raises.
struct line_effect_t {
  int16_t tag = -1;  // number of the token's tag; -1: the line holds no token
  line_kind_t kind = line_kind_t::Nothing;
  context_tag_t context;  // what the n-grams see

  bool is_known() const {
    return kind == line_kind_t::Listed || kind == line_kind_t::Unlisted || kind == line_kind_t::Number;
  }
};

// The corpus counts that a line raises, or null.
using raised_counts_t = std::array<int32_t*, 2>;

// The first bytes of a line, and zeros behind its end: all of a short line, as there is no NUL in it.
struct line_key_t {
  static constexpr size_t Size = 16;  // bytes

  uint64_t low, high;

  bool operator==(const line_key_t&) const = default;
};
static_assert(line_key_t::Size <= LineReader::Readable_Behind);

// Which bits of a key belong to a line, by its size.
constexpr auto Key_Masks = [] {
  std::array<line_key_t, line_key_t::Size + 1> masks;
  for (size_t size = 0; size < masks.size(); ++size) {
    std::array<uint8_t, line_key_t::Size> bytes{};
    std::fill_n(bytes.begin(), size, 0xFF);
    masks[size] = std::bit_cast<line_key_t>(bytes);
  }
  return masks;
}();

line_key_t key_of(std::string_view line) {
  line_key_t key;
  std::memcpy(&key, line.data(), sizeof key);
  const line_key_t& mask = Key_Masks[std::min(line.size(), line_key_t::Size)];
  return {key.low & mask.low, key.high & mask.high};
}

// Of a line that is longer than its key the other pieces of that size are added; the last may overlap the one before
// it. The two halves of a piece need not wait for each other.
uint32_t hash_of(std::string_view line, line_key_t key) {
  const auto mix = [](uint64_t x) { return (x ^ x >> 32) * 0x9E3779B97F4A7C15; };
  for (size_t place = line_key_t::Size; place < line.size(); place += line_key_t::Size) {
    line_key_t next;
    std::memcpy(&next, line.data() + std::min(place, line.size() - sizeof next), sizeof next);
    key = {mix(key.low) ^ next.low, mix(key.high) ^ next.high};
  }
  return static_cast<uint32_t>(mix(mix(key.low) ^ key.high) >> 32);
}

struct cached_line_t {
  union {
    line_key_t key;    // of a short line
    const char* text;  // of a long line, without a NUL behind it
  };
  uint32_t size;  // bytes
  uint32_t hits;
  line_effect_t effect;

  bool is_short() const { return size <= line_key_t::Size; }
  std::string_view view() const { return {is_short() ? reinterpret_cast<const char*>(&key) : text, size}; }
  bool is(std::string_view line, line_key_t its_key) const {
    return size == line.size() && (is_short() ? key == its_key : view() == line);
  }
};

// The beginning of a line up to its first TAB, and its entry: of nearly all lines the word form.
struct likely_word_t {
  std::string_view text;
  const entry_t* entry = nullptr;
};

// What a line does, worked out from its text.
class LineResolver {
 public:
  LineResolver(const TrainingLexicon& lexicon, std::vector<int32_t>& readings, CorpusSink& sink)
      : lexicon_(lexicon), readings_(readings), sink_(sink) {}

  line_effect_t resolve_line(int64_t number, std::string_view line, const likely_word_t& likely,
                             raised_counts_t& counts) {
    counts = {nullptr, nullptr};
    char copy[Max_Line_Length + 1];
    std::memcpy(copy, line.data(), line.size());
    copy[line.size()] = '\0';
    const std::string_view context_text = context_tag_text({copy, line.size()});
    const char* context_end = context_text.data() + context_text.size();
    line_effect_t effect;
    effect.context = context_tag(lexicon_.tagset, {copy, line.size()}, context_text);
    const corpus_line_t fields(copy);
    if (*fields.word == '\0') return effect;
    // Both readings of nearly all lines find the same tag, which then needs to be looked up only once.
    const bool same = effect.context.kind == context_tag_t::Token && fields.tag == context_text.data() &&
                      *context_end == '\0';
    const int tag = same ? effect.context.tag : lexicon_.tagset.find_tag(fields.tag);
    if (tag < 0) {
      sink_.unknown_tag_of_token(number, fields.word, fields.tag);
      effect.kind = line_kind_t::Foreign_Tag;
      return effect;
    }
    effect.tag = static_cast<int16_t>(tag);
    const bool as_likely = likely.entry != nullptr && fields.word == copy && copy[likely.text.size()] == '\0';
    resolve_word(fields.word, as_likely ? likely.entry : nullptr, effect, counts);
    return effect;
  }

 private:
  // A token counts for the entry of its word form and, if that looks like a number, for a number entry as well.
  void resolve_word(const char* word, const entry_t* entry, line_effect_t& effect, raised_counts_t& counts) {
    const Lexicon& lexicon = lexicon_.lexicon;
    if (entry == nullptr) entry = lexicon.fullform_lookup(word);
    if (entry == nullptr) {
      effect.kind = line_kind_t::Unknown;
      return;
    }
    counts[0] = count_of(*entry, effect.tag);
    const entry_t* ordinal = &lexicon.Fullform_Lexicon[Ordinal_Entry];
    const entry_t* cardinal = &lexicon.Fullform_Lexicon[Cardinal_Entry];
    if (ord(word) && entry != ordinal)
      counts[1] = count_of(*ordinal, effect.tag);
    else if (card(word) && entry != cardinal)
      counts[1] = count_of(*cardinal, effect.tag);
    effect.kind = entry == ordinal || entry == cardinal ? line_kind_t::Number
                  : counts[0] != nullptr                ? line_kind_t::Listed
                                                        : line_kind_t::Unlisted;
  }

  // The count of a tag in an entry, or null if the entry does not list the tag.
  int32_t* count_of(const entry_t& entry, int tag) {
    const entrydata_t& data = *entry.data;
    const int32_t* place = std::lower_bound(data.tag, data.tag + data.n, tag);
    if (place == data.tag + data.n || *place != tag) return nullptr;
    return &readings_[static_cast<size_t>(place - lexicon_.tags)];
  }

  const TrainingLexicon& lexicon_;
  std::vector<int32_t>& readings_;  // the counts
  CorpusSink& sink_;
};

// A group of lines on its way through the cache.
struct line_group_t {
  std::array<std::string_view, Group_Size> lines;
  std::array<line_key_t, Group_Size> keys;
  std::array<uint32_t, Group_Size> hashes;
  std::array<int, Group_Size> candidates;        // the cached line with that hash, or -1
  std::array<likely_word_t, Group_Size> likely;  // of the lines without one
  size_t size = 0;
};

class LineCache {
 public:
  LineCache(const TrainingLexicon& lexicon, CorpusSink& sink, CorpusCounts& counts, size_t max_bytes)
      : lexicon_(lexicon.lexicon),
        resolver_(lexicon, counts.readings, sink),
        Tag_Freq_(counts.Tag_Freq),
        max_bytes_(max_bytes) {}

  // Asks the memory for all that see will look at, in the order in which one thing leads to the next.
  void prepare(line_group_t& group) const {
    for (size_t i = 0; i < group.size; ++i) {
      group.keys[i] = key_of(group.lines[i]);
      index_.prefetch(group.hashes[i] = hash_of(group.lines[i], group.keys[i]));
    }
    std::array<std::string_view, Group_Size> words;
    std::array<size_t, Group_Size> line_of_word;
    size_t count = 0;
    for (size_t i = 0; i < group.size; ++i) {
      const int number = group.candidates[i] = index_.candidate(group.hashes[i]);
      if (number >= 0) {
        __builtin_prefetch(&lines_[number]);
      } else {
        words[count] = group.lines[i].substr(0, group.lines[i].find('\t'));
        line_of_word[count++] = i;
      }
    }
    std::array<const entry_t*, Group_Size> entries;
    lexicon_.find_entries(std::span(words).first(count), entries.data());
    for (size_t i = 0; i < count; ++i) group.likely[line_of_word[i]] = {words[i], entries[i]};
    for (size_t i = 0; i < group.size; ++i) {
      const int number = group.candidates[i];
      if (number < 0 || group.lines[i].size() <= line_key_t::Size) continue;
      __builtin_prefetch(lines_[number].view().data());
      __builtin_prefetch(lines_[number].view().end());  // often in the next cache line
    }
  }

  // What line i of a prepared group does; counts it as seen once more. Valid until: the next call.
  const line_effect_t& see(int64_t line_number, const line_group_t& group, size_t i) {
    const int candidate = group.candidates[i];
    if (candidate < 0 || !lines_[candidate].is(group.lines[i], group.keys[i]))
      return see_other(line_number, group, i);
    ++lines_[candidate].hits;
    return lines_[candidate].effect;
  }

  void add_all_hits() {
    for (size_t i = 0; i < lines_.size(); ++i)
      add_hits(lines_[i].effect, counts_[i], static_cast<int>(lines_[i].hits));
  }

 private:
  // The same for a line that is not the candidate, nearly always at its first sight. Kept out of the loop over all lines:
  // inlined there it made a training on a million words 3% slower.
  [[gnu::noinline]] const line_effect_t& see_other(int64_t line_number, const line_group_t& group, size_t i) {
    const std::string_view line = group.lines[i];
    int number = index_.find(line, group.hashes[i], [this](int k) { return lines_[k].view(); });
    if (number < 0) {
      raised_counts_t counts;
      const likely_word_t likely = group.candidates[i] < 0 ? group.likely[i] : likely_word_t();
      const line_effect_t effect = resolver_.resolve_line(line_number, line, likely, counts);
      if (cached_bytes_ >= max_bytes_) {
        add_hits(effect, counts, 1);
        return uncached_ = effect;
      }
      number = static_cast<int>(lines_.size());
      lines_.push_back({{group.keys[i]}, static_cast<uint32_t>(line.size()), 0, effect});
      if (!lines_.back().is_short()) lines_.back().text = texts_.add(line);
      counts_.push_back(counts);
      index_.insert(line, group.hashes[i], number);
      cached_bytes_ += line.size() + sizeof(cached_line_t) + sizeof counts;
    }
    ++lines_[number].hits;
    return lines_[number].effect;
  }

  void add_hits(const line_effect_t& effect, const raised_counts_t& counts, int hits) {
    if (effect.tag < 0) return;
    Tag_Freq_[static_cast<size_t>(effect.tag)] += hits;
    for (int32_t* count : counts)
      if (count != nullptr) *count += hits;
  }

  const Lexicon& lexicon_;
  LineResolver resolver_;
  std::vector<int32_t>& Tag_Freq_;
  size_t max_bytes_;
  std::vector<cached_line_t> lines_;
  std::vector<raised_counts_t> counts_;  // parallel; apart, since only the first sight and the end need them
  StringIndex index_;                    // from a text to its place in lines_
  StringArena texts_;
  size_t cached_bytes_ = 0;
  line_effect_t uncached_;
};

// The counter of the progress lines: tokens whose word form is known.
class TokenCounter {
 public:
  explicit TokenCounter(const Progress& progress) : progress_(progress) {}

  void token() {
    if (++tokens_ != told_next_) return;
    told_next_ += Progress_Step;
    progress_(formatted("\r%ld", tokens_));
  }

 private:
  static constexpr long Progress_Step = 1000;  // tokens

  const Progress& progress_;
  long tokens_ = 0;
  long told_next_ = Progress_Step;
};

CorpusCounts count_lines(LineReader& reader, const TrainingLexicon& lexicon, int context_size,
                         const Progress& progress, CorpusSink& sink, size_t max_cached_bytes) {
  CorpusCounts counts{std::vector<int32_t>(static_cast<size_t>(lexicon.tagset.Number_of_Tags), 0),
                      std::vector<int32_t>(lexicon.readings, 0),
                      NGramCounter(context_size, static_cast<bool>(progress))};
  LineCache cache(lexicon, sink, counts, max_cached_bytes);
  TokenCounter counter(progress);
  const bool tells = static_cast<bool>(progress), shows_lines = sink.wants_lines();
  int64_t tokens = 0, line = 0;
  line_group_t group;
  while ((group.size = reader.next_lines(group.lines)) > 0) {
    cache.prepare(group);
    for (size_t i = 0; i < group.size; ++i) {
      const line_effect_t& effect = cache.see(++line, group, i);
      if (effect.tag >= 0 && ++tokens > INT_MAX) error("Too many tokens in training corpus");
      if (tells && effect.is_known()) counter.token();
      counts.ngrams.add_line(effect.context, group.lines[i]);
      if (shows_lines) sink.line(line, group.lines[i], effect.kind, effect.tag, effect.context);
    }
  }
  cache.add_all_hits();
  return counts;
}

}  // namespace

CorpusCounts count_corpus(const Input& input, const TrainingLexicon& lexicon, int context_size,
                          const Progress& progress, CorpusSink& sink, size_t max_cached_bytes) {
  const auto open = [](const char* name) { return name != nullptr ? open_input(name) : File(stdin); };
  return with_lines(input, open, [&](LineReader reader) {
    return count_lines(reader, lexicon, context_size, progress, sink, max_cached_bytes);
  });
}

}  // namespace orvelle
