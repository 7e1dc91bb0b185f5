// SPDX-License-Identifier: MIT
// The counts of the corpus against slow ones: maps that are filled line by line.
#include <gtest/gtest.h>
#include <orvelle/word_forms.h>

#include <algorithm>
#include <map>
#include <numeric>
#include <random>

#include "test_support.h"
#include "training/corpus_pass.h"

namespace orvelle {
namespace {

// Everything that a corpus is counted into, by names.
struct counts_t {
  std::map<std::string, int> tags;
  std::map<std::pair<std::string, std::string>, int>
      readings;  // of entries, "@card@" and "@ord@" for the numbers
  std::map<std::vector<std::string>, int> ngrams;

  void expect_same(const counts_t& expected, const char* how) const {
    EXPECT_EQ(tags, expected.tags) << how;
    EXPECT_EQ(readings, expected.readings) << how;
    EXPECT_EQ(ngrams, expected.ngrams) << how;
  }
};

constexpr int Context_Size = 2;
const std::string Entries =
    "1\tA one\n1.\tB first\ndog\tA dog\tB dog\nNew York\tC x\n.\tSENT .\nlong\tC long\n";

// Of lines of a word, a TAB and a tag, and empty ones.
counts_t slow_counts(const std::vector<std::pair<std::string, std::string>>& tokens) {
  const std::map<std::string, std::string> entries = {{"1", "A"},        {"1.", "B"},   {"dog", "AB"},
                                                      {"New York", "C"}, {".", "SENT"}, {"long", "C"}};
  counts_t counts;
  std::vector<std::string> window;
  for (const auto& [word, tag] : tokens) {
    if (tag.empty()) continue;
    ++counts.tags[tag];
    if (entries.contains(word) &&
        (entries.at(word) == tag || (tag.size() == 1 && entries.at(word).find(tag) != std::string::npos)))
      ++counts.readings[{word, tag}];
    // An ordinal number that is not listed looks like a cardinal one as well.
    if (ord(word)) ++counts.readings[{"@ord@", tag}];
    if (card(word) && !(ord(word) && entries.contains(word))) ++counts.readings[{"@card@", tag}];
    window.push_back(tag);
    if (window.size() > Context_Size + 1) window.erase(window.begin());
    if (window.size() == Context_Size + 1) ++counts.ngrams[window];
  }
  return counts;
}

counts_t fast_counts(const Input& corpus, size_t max_cached_bytes) {
  LexiconSink lexicon_sink;
  CorpusSink corpus_sink;
  const TrainingLexicon lexicon = read_lexicon_file({nullptr, Entries}, "SENT", {}, lexicon_sink);
  CorpusCounts counted = count_corpus(corpus, lexicon, Context_Size, {}, corpus_sink, max_cached_bytes);
  const NGramTable ngrams(std::move(counted.ngrams), lexicon.tagset.Number_of_Tags, {});
  counts_t counts;
  for (int t = 0; t < lexicon.tagset.Number_of_Tags; ++t)
    if (counted.Tag_Freq[t] > 0) counts.tags[lexicon.tagset.Tag[t]] = counted.Tag_Freq[t];
  for (int i = First_Entry; i < lexicon.lexicon.Fullform_Lexicon_Size; ++i) {
    const entry_t& entry = lexicon.lexicon.Fullform_Lexicon[i];
    const char* const name = i == Cardinal_Entry ? "@card@" : i == Ordinal_Entry ? "@ord@" : entry.word;
    for (int k = 0; k < entry.data->n; ++k)
      if (const int count = counted.readings[lexicon.first_reading(*entry.data) + k])
        counts.readings[{name, lexicon.tagset.Tag[entry.data->tag[k]]}] = count;
  }
  for (size_t i = 0; i < ngrams.size(); ++i) {
    std::vector<std::string> names;
    for (int k = 0; k < ngrams.length(); ++k) names.push_back(lexicon.tagset.Tag[ngrams.tags(i)[k]]);
    counts.ngrams[names] = static_cast<int>(ngrams.count(i));
  }
  return counts;
}

// Whether all lines, some or none are remembered; from memory, from a file and from a pipe.
TEST(Counting, CountsTokensReadingsAndNgrams) {
  std::mt19937 random(11);
  const std::string words[] = {"dog", "dog", "1",  "1.", "2",    "3.",   "4,5",     "New York",
                               ".",   "cat", "c.", "-",  "long", "Dog ", "\xC3\xA9"};
  const TempDir dir;
  for (int round = 0; round < 4; ++round) {
    std::vector<std::pair<std::string, std::string>> tokens;
    std::string text;
    for (int i = 0; i < 1500; ++i) {
      if (random() % 9 == 0) {
        tokens.emplace_back("", "");
        text += '\n';
        continue;
      }
      std::string word = words[random() % 15];
      if (random() % 4 == 0) word += std::string(random() % 20, 'x') + std::to_string(random() % 50);
      const std::string tag = std::vector<std::string>{"A", "B", "C", "SENT"}[random() % 4];
      text.append(word).append("\t").append(tag);
      if (random() % 20 == 0) text += " rest\tof the line";
      if (random() % 50 == 0) text += bytes("\0\tX");
      text += '\n';
      tokens.emplace_back(word, tag);
    }
    if (round % 2) text.pop_back();
    const counts_t expected = slow_counts(tokens);
    fast_counts({nullptr, text}, 0).expect_same(expected, "no cache");
    fast_counts({nullptr, text}, 500).expect_same(expected, "full cache");
    fast_counts({nullptr, text}, Max_Cached_Bytes).expect_same(expected, "from memory");
    const std::string path = dir.write("corpus", text);
    fast_counts({path.c_str(), {}}, Max_Cached_Bytes).expect_same(expected, "from a file");
    FILE* const pipe = popen(("cat '" + path + "'").c_str(), "r");
    const std::string name = "/dev/fd/" + std::to_string(fileno(pipe));
    fast_counts({name.c_str(), {}}, Max_Cached_Bytes).expect_same(expected, "from a pipe");
    pclose(pipe);
  }
}

// So many lines, short ones and long ones with the same beginning, that some have the same hash.
TEST(Counting, TellsLinesApart) {
  const std::string tags[] = {"A", "B", "C", "SENT"};
  for (const std::string beginning : {"", "a common beginning"}) {
    std::mt19937 random(3);
    std::string text;
    std::map<std::string, int> expected;
    for (int i = 0; i < 300000; ++i) {
      const std::string& tag = tags[random() % 4];
      ++expected[tag];
      text.append(beginning).append(std::to_string(random())).append("\t").append(tag).append("\n");
    }
    EXPECT_EQ(fast_counts({nullptr, text}, Max_Cached_Bytes).tags, expected) << beginning;
  }
}

// So many n-grams that the table grows often and that some have the same hash; so long ones that they are not stored;
// whatever number of tags waits.
TEST(NGramTable, TellsNgramsApart) {
  for (const auto& [context_size, tags, length, window, rare] : {std::tuple{1, 20000, 200000, 4096, 1},
                                                                 {3, 5, 5000, 1, 1},
                                                                 {3, 30000, 20000, 64, 1},
                                                                 {4, 6, 5000, 3, 1},
                                                                 {2, 12, 5000, 7, 1},
                                                                 {9, 2, 3000, 4, 1},
                                                                 {15, 2, 3000, 20, 9},
                                                                 {16, 2, 3000, 20, 9},
                                                                 {31, 3, 3000, 9, 50},
                                                                 {62, 2, 500, 9, 100},
                                                                 {39, 2, 39, 9, 1}}) {
    std::mt19937 random(5);
    NGramCounter counter(context_size, false, static_cast<size_t>(window));
    std::vector<uint64_t> corpus, expected;  // the tags, and the n-grams as numbers whose digits are the tags
    const auto as_number = [tags = static_cast<uint64_t>(tags)](auto first, auto last) {
      return std::accumulate(first, last, uint64_t{0},
                             [tags](uint64_t n, uint64_t tag) { return n * tags + tag; });
    };
    for (int i = 0; i < length; ++i) {
      corpus.push_back(random() % static_cast<size_t>(rare) == 0 ? random() % static_cast<size_t>(tags) : 0);
      counter.add_line({context_tag_t::Token, static_cast<int16_t>(corpus.back())}, "");
      if (i % 7 == 0) counter.add_line({context_tag_t::Empty_Line, -1}, "\n");
      if (i >= context_size) expected.push_back(as_number(corpus.end() - context_size - 1, corpus.end()));
    }
    const NGramTable table(std::move(counter), tags, {});
    ASSERT_EQ(table.length(), context_size + 1);
    std::vector<uint64_t> got;
    for (size_t i = 0; i < table.size(); ++i) {
      got.insert(got.end(), table.count(i), as_number(table.tags(i), table.tags(i) + table.length()));
      ASSERT_TRUE(i == 0 || table.tags(i - 1)[context_size] <= table.tags(i)[context_size]);
    }
    std::sort(expected.begin(), expected.end());
    std::sort(got.begin(), got.end());
    EXPECT_TRUE(got == expected) << context_size;
    EXPECT_EQ(table.size(),
              static_cast<size_t>(std::unique(expected.begin(), expected.end()) - expected.begin()));
  }
}

// Long n-grams lie in the corpus: 10,000 of 10,000 tags would take 200 MB.
TEST(NGramTable, LongNgramsShareTheirTags) {
  constexpr int Longest = 9999, Tokens = 30000;
  NGramCounter counter(Longest, true);
  std::string told;
  for (int i = 0; i < Tokens; ++i)
    counter.add_line({context_tag_t::Token, static_cast<int16_t>(i % 15000 == 12000)}, "");
  const NGramTable table(std::move(counter), 2, [&](std::string_view text) { told += text; });
  ASSERT_EQ(table.size(), 10001u);
  std::map<uint32_t, int> counts;
  for (size_t i = 0; i < table.size(); ++i) ++counts[table.count(i)];
  EXPECT_EQ(counts, (std::map<uint32_t, int>{{1, 7000}, {2, 3000}, {7001, 1}}));
  const auto [first, last] = std::pair{table.tags(0), table.tags(table.size() - 2)};
  EXPECT_LE(last - first, Tokens);
  EXPECT_NE(told.find("\r9000\t0\r10000\t1\r11000\t1\r12000\t1\r13000\t1001"), told.npos) << told;
  EXPECT_NE(told.find("\r30000\t10001\n"), told.npos) << told;
}

}  // namespace
}  // namespace orvelle
