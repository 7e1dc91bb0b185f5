// SPDX-License-Identifier: MIT
// What the first pass keeps, for two lines "saw NN saw VVD see" and "dog NN dog":
//
//   words     "saw"  "dog"       line_end   2  3     (pairs up to the end of the line)
//   pairs     (0,2) (1,3) (0,4)  tag and lemma, numbered as they came: NN 0, VVD 1; @card@ 0, @ord@ 1, saw 2 ...
//
// Cost: one hash look-up for each tag and lemma, then three sorts.
#include "training/lexicon_file.h"

#include <algorithm>
#include <memory>
#include <string_view>
#include <utility>

#include "support/counts.h"
#include "support/errors.h"
#include "support/files.h"
#include "support/line_reader.h"
#include "support/string_sort.h"
#include "support/string_table.h"

namespace orvelle {

void LexiconSink::line(int64_t, const lexicon_line_t&) {}

void LexiconSink::missing_lemma(int64_t line, const char*) {
  fail("\nERROR: Missing lemma in line %ld\n", static_cast<long>(line));
}

void LexiconSink::no_tags(int64_t, const char* word) {
  fail("Error: no tags in lexicon for word \"%s\"!\n", word);
}

void LexiconSink::too_many_tags(int64_t, const char*) { fail("\nERROR: too many tags !\n"); }

void LexiconSink::no_sentence_tag(const char* tag) {
  fail("\nERROR: Sentence punctuation tag \"%s\" is not in lexicon!\n", tag);
}

void LexiconSink::tag_twice(int64_t line, const char* word, const char* tag) {
  fail("\nERROR: Tag \"%s\" replicated in lexicon entry for \"%s\" at line %ld\n", tag, word,
       static_cast<long>(line));
}

void LexiconSink::word_twice(int64_t, int64_t, const char* word) {
  fail("\nERROR: Two lexicon entries for word form \"%s\"!\n", word);
}

namespace {

// The strings of a table in byte order; `rank` becomes the map from the numbers so far to the places in that order.
std::vector<const char*> sorted(const StringTable& table, std::vector<int>& rank) {
  std::vector<const char*> result;
  result.reserve(table.texts().size());
  rank.resize(table.texts().size());
  for (const uint32_t i : sorted_order(table.texts())) {
    rank[i] = static_cast<int>(result.size());
    result.push_back(table.texts()[i]);
  }
  return result;
}

struct pair_t {
  int tag;  // -1: not to be used, after a fault that was passed over
  int lemma;
};

// The lines of the file, from the first pass to the third.
struct lexicon_lines_t {
  StringTable lemmas;
  StringArena word_strings;
  std::vector<const char*> words;
  std::vector<size_t> line_end;  // parallel to words: index in pairs behind the line's last pair
  std::vector<pair_t> pairs;

  size_t line_start(size_t i) const { return i == 0 ? 0 : line_end[i - 1]; }
};

// ---- First pass

class TagReader {
 public:
  TagReader(lexicon_lines_t& lines, LexiconSink& sink) : lines_(lines), sink_(sink) {}

  void read(LineReader& reader) {
    lexicon_line_t fields;
    while (next_word_tags_lemmas(reader, fields)) {
      collect_line(fields);
      int_count(lines_.words.size() - First_Entry, "lines in lexicon");
      int_count(lines_.pairs.size(), "tags and lemmas in lexicon");
    }
  }

  StringTable take_tags() { return std::move(tags_); }

 private:
  // False at the end of the file.
  bool next_word_tags_lemmas(LineReader& reader, lexicon_line_t& fields) {
    if (reader.next().data() == nullptr) return false;
    ++line_;
    fields.split(reader.terminated());
    sink_.line(line_, fields);
    return true;
  }

  void collect_line(const lexicon_line_t& fields) {
    if (!fields.pairs.empty() && *fields.pairs.back().lemma == '\0')
      sink_.missing_lemma(line_, fields.pairs.back().tag);
    if (fields.pairs.empty()) sink_.no_tags(line_, fields.word);
    lines_.words.push_back(lines_.word_strings.add(fields.word));
    for (const auto& [tag, lemma] : fields.pairs)
      lines_.pairs.push_back({collect_tag(tag), lines_.lemmas.number(lemma)});
    lines_.line_end.push_back(lines_.pairs.size());
  }

  int collect_tag(const char* name) {
    const uint32_t hash = hash_bytes(name);
    const int known = tags_.find(name, hash);
    if (known >= 0) return known;
    if (tags_.size() < Max_Number_of_Tags) return tags_.add(name, hash);
    sink_.too_many_tags(line_, name);
    return -1;
  }

  lexicon_lines_t& lines_;
  LexiconSink& sink_;
  StringTable tags_;
  int64_t line_ = 0;
};

Tagset read_tags(LineReader& reader, const std::string& sentence_tag, const Progress& progress,
                 LexiconSink& sink, lexicon_lines_t& lines) {
  say(progress, "\t\treading the tagset ...\n");
  lines.lemmas.number(Card_Lemma);
  lines.lemmas.number(Ord_Lemma);
  TagReader tag_reader(lines, sink);
  tag_reader.read(reader);

  StringTable table = tag_reader.take_tags();
  std::vector<int> rank;
  std::vector<const char*> names = sorted(table, rank);
  for (pair_t& pair : lines.pairs)
    if (pair.tag >= 0) pair.tag = rank[static_cast<size_t>(pair.tag)];
  const auto place =
      std::find_if(names.begin(), names.end(), [&](const char* name) { return sentence_tag == name; });
  const int sent_tag = place != names.end() ? static_cast<int>(place - names.begin()) : -1;
  if (sent_tag < 0) sink.no_sentence_tag(sentence_tag.c_str());
  return {std::move(names), sent_tag, std::move(table).take_arena()};
}

// ---- Second pass

LemmaTable read_lemmas(const Progress& progress, lexicon_lines_t& lines) {
  say(progress, "\t\treading the lemmas ...\n");
  std::vector<int> rank;
  std::vector<const char*> lemmas = sorted(lines.lemmas, rank);
  for (pair_t& pair : lines.pairs) pair.lemma = rank[static_cast<size_t>(pair.lemma)];
  return {std::move(lemmas), std::move(lines.lemmas).take_arena()};
}

// ---- Third pass

// Brings every line's pairs into ascending order of their tags, in file order so that the first bad line is reported.
void sort_pairs(const Tagset& tagset, LexiconSink& sink, lexicon_lines_t& lines) {
  const auto is_repeated = [](const pair_t& a, const pair_t& b) { return a.tag == b.tag; };
  for (size_t i = 0; i < lines.words.size(); ++i) {
    pair_t* first = lines.pairs.data() + lines.line_start(i);
    pair_t* last = lines.pairs.data() + lines.line_end[i];
    std::sort(first, last, [](const pair_t& a, const pair_t& b) { return a.tag < b.tag; });
    pair_t* pair = std::adjacent_find(first, last, is_repeated);
    if (pair == last) continue;
    for (; pair != last; pair = std::adjacent_find(pair, last, is_repeated)) {
      const int tag = pair->tag;
      if (tag >= 0)
        sink.tag_twice(static_cast<int64_t>(i) + 1, lines.words[i], tagset.Tag[static_cast<size_t>(tag)]);
      pair = std::find_if(pair, last, [tag](const pair_t& other) { return other.tag != tag; });
    }
    for (pair = std::unique(first, last, is_repeated); pair != last; ++pair) pair->tag = -1;
  }
}

// The lines in byte order of their word forms; of several lines with one word form the first alone.
std::vector<uint32_t> sorted_lines(const lexicon_lines_t& lines, LexiconSink& sink) {
  std::vector<uint32_t> order = sorted_order(lines.words);
  const auto same = [&](uint32_t a, uint32_t b) { return str_cmp(lines.words[a], lines.words[b]) == 0; };
  if (std::adjacent_find(order.begin(), order.end(), same) == order.end()) return order;
  for (auto first = order.begin(); first != order.end();) {
    const auto last = std::find_if(first, order.end(), [&](uint32_t i) { return !same(*first, i); });
    std::sort(first, last);
    for (auto again = first + 1; again != last; ++again)
      sink.word_twice(int64_t{*again} + 1, int64_t{*first} + 1, lines.words[*again]);
    first = last;
  }
  order.erase(std::unique(order.begin(), order.end(), same), order.end());
  return order;
}

// Appends entries; the arrays of all of them lie in three blocks, in the order of the entries.
class LexiconWriter {
 public:
  LexiconWriter(size_t entries, size_t readings) {
    parts_.words.reserve(entries);
    parts_.records.reserve(entries);
    tags_ = parts_.numbers.take(readings);
    lemmas_ = parts_.numbers.take(readings);
    probs_ = parts_.probs.take(readings);
    std::fill_n(probs_, readings, 0.0f);
  }

  void insert_word(const char* word, const pair_t* first, const pair_t* last) {
    const size_t start = used_;
    for (; first != last; ++first) {
      if (first->tag < 0) continue;
      tags_[used_] = first->tag;
      lemmas_[used_++] = first->lemma;
    }
    const auto n = static_cast<int32_t>(used_ - start);
    parts_.words.push_back(word);
    parts_.records.push_back({n, 0, tags_ + start, probs_ + start, lemmas_ + start});
  }

  void insert_number_entry(int tags, int lemma) {
    std::vector<pair_t> pairs;
    pairs.reserve(static_cast<size_t>(tags));
    for (int tag = 0; tag < tags; ++tag) pairs.push_back({tag, lemma});
    insert_word("", pairs.data(), pairs.data() + pairs.size());
  }

  void finish(StringArena word_strings, TrainingLexicon& lexicon) {
    parts_.strings = std::move(word_strings);
    lexicon.tags = tags_;
    lexicon.lemma_numbers = lemmas_;
    lexicon.probs = probs_;
    lexicon.readings = used_;
    lexicon.lexicon = Lexicon(std::move(parts_));
  }

 private:
  lexicon_parts_t parts_;
  int32_t* tags_;
  int32_t* lemmas_;
  float* probs_;
  size_t used_ = 0;  // readings
};

void read_words(const Progress& progress, LexiconSink& sink, lexicon_lines_t lines,
                TrainingLexicon& lexicon) {
  say(progress, "\t\treading the entries ...\n");
  sort_pairs(lexicon.tagset, sink, lines);

  say(progress, "\t\tsorting the lexicon ...\n");
  const std::vector<uint32_t> order = sorted_lines(lines, sink);
  const int tags = lexicon.tagset.Number_of_Tags;
  LexiconWriter writer(order.size() - First_Entry, lines.pairs.size() + 2 * static_cast<size_t>(tags));
  writer.insert_number_entry(tags, lexicon.lemmas.lemma_number(Card_Lemma));
  writer.insert_number_entry(tags, lexicon.lemmas.lemma_number(Ord_Lemma));
  for (const uint32_t i : order)
    writer.insert_word(lines.words[i], lines.pairs.data() + lines.line_start(i),
                       lines.pairs.data() + lines.line_end[i]);
  StringArena word_strings = std::move(lines.word_strings);
  lines = {};  // before the index of the lexicon takes memory
  writer.finish(std::move(word_strings), lexicon);
}

TrainingLexicon read_lexicon(LineReader& reader, const std::string& sentence_tag, const Progress& progress,
                             LexiconSink& sink) {
  say(progress, "\treading the lexicon ...\n");
  lexicon_lines_t lines;
  TrainingLexicon lexicon;
  lexicon.tagset = read_tags(reader, sentence_tag, progress, sink, lines);
  lexicon.lemmas = read_lemmas(progress, lines);
  read_words(progress, sink, std::move(lines), lexicon);
  return lexicon;
}

}  // namespace

TrainingLexicon read_lexicon_file(const Input& input, const std::string& sentence_tag,
                                  const Progress& progress, LexiconSink& sink) {
  const auto open = [](const char* name) {
    File file = open_stream(name, "rt");
    if (file == nullptr) fail("Can't open lexicon file: %s\n\n", name);
    return file;
  };
  return with_lines(input, open,
                    [&](LineReader reader) { return read_lexicon(reader, sentence_tag, progress, sink); });
}

}  // namespace orvelle
