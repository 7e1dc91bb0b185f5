// SPDX-License-Identifier: MIT
// The innermost operations of a training, on their own. The data are small enough to make in a moment and
// large enough not to fit into the nearest caches.
#include <benchmark/benchmark.h>

#include <algorithm>
#include <cstdio>
#include <random>
#include <string>
#include <vector>

#include "lexicon/lexicon.h"
#include "lexicon/tagset.h"
#include "support/binary_log.h"
#include "support/line_reader.h"
#include "training/approximate_log.h"
#include "training/ngram_table.h"
#include "training/split_search.h"

using namespace orvelle;

namespace {

constexpr int Tags = 300, Words = 60'000, Tokens = 200'000;

// A number below n, the lower ones much more often; the same sequence in every run.
class Skewed {
 public:
  int operator()(int n) {
    const double unit = static_cast<double>(random_() >> 11) * 0x1p-53;
    return static_cast<int>(n * unit * unit * unit);
  }

 private:
  std::mt19937_64 random_{7};
};

// Tagset, lexicon and corpus, made once.
struct Sample {
  Sample() : tag_names(Tags), words(Words) {
    StringArena names_arena;
    std::vector<const char*> names;
    for (int i = 0; i < Tags; ++i) {
      tag_names[i] = std::string("T") + std::to_string(1000 + i) + ":Case=Nominative|Number=Singular";
      names.push_back(names_arena.add(tag_names[i]));
    }
    tagset = Tagset(names, 0, std::move(names_arena));
    lexicon_parts_t parts;
    parts.words = {"", ""};
    for (int i = 0; i < Words; ++i) {
      words[i] = std::string("word") + std::to_string(100'000 + i);
      parts.words.push_back(parts.strings.add(words[i]));
    }
    parts.records.resize(parts.words.size());
    lexicon = Lexicon(std::move(parts));
    Skewed skewed;
    int before = 0;
    for (int i = 0; i < Tokens; ++i) {
      const int tag = (skewed(1 + skewed(Tags)) + 7 * before) % Tags;
      tokens.push_back({&words[skewed(Words)], &tag_names[tag], static_cast<int16_t>(tag)});
      lines += *tokens.back().word + '\t' + *tokens.back().tag_name + '\n';
      before = tag;
    }
  }
  struct token_t {
    const std::string *word, *tag_name;
    int16_t tag;
  };
  Tagset tagset;
  Lexicon lexicon;
  std::vector<std::string> tag_names, words;
  std::vector<token_t> tokens;
  std::string lines;  // the corpus file
};

const Sample& sample() {
  static const Sample Made;
  return Made;
}

void count_tokens(benchmark::State& state) { state.SetItemsProcessed(state.iterations() * Tokens); }

void line_reader(benchmark::State& state) {
  std::string text = sample().lines;
  FILE* file = fmemopen(text.data(), text.size(), "r");
  for (auto _ : state) {
    std::rewind(file);
    LineReader reader(file, "sample");
    int lines = 0;
    while (reader.next().data() != nullptr) ++lines;
    if (lines != Tokens) state.SkipWithError("wrong number of lines");
  }
  std::fclose(file);
  count_tokens(state);
  state.SetBytesProcessed(state.iterations() * static_cast<int64_t>(text.size()));
}
BENCHMARK(line_reader);

void tag_lookup(benchmark::State& state) {
  for (auto _ : state)
    for (const auto& token : sample().tokens)
      if (sample().tagset.find_tag(*token.tag_name) != token.tag) state.SkipWithError("wrong tag");
  count_tokens(state);
}
BENCHMARK(tag_lookup);

void word_lookup(benchmark::State& state) {
  for (auto _ : state)
    for (const auto& token : sample().tokens)
      if (sample().lexicon.find_entry(*token.word) == nullptr) state.SkipWithError("wrong entry");
  count_tokens(state);
}
BENCHMARK(word_lookup);

void word_lookup_in_groups(benchmark::State& state) {
  std::vector<std::string_view> texts;
  for (const auto& token : sample().tokens) texts.push_back(*token.word);
  constexpr size_t Group = Lexicon::Max_Words_At_Once;
  const entry_t* found[Group];
  for (auto _ : state) {
    for (size_t i = 0; i < texts.size(); i += Group) {
      const size_t size = std::min(Group, texts.size() - i);
      sample().lexicon.find_entries(std::span(texts).subspan(i, size), found);
      if (found[size - 1]->word != texts[i + size - 1]) state.SkipWithError("wrong entry");
    }
  }
  count_tokens(state);
}
BENCHMARK(word_lookup_in_groups);

NGramTable count_sample(int context_size) {
  NGramCounter ngrams(context_size, false);
  for (const auto& token : sample().tokens) ngrams.add_line({context_tag_t::Token, token.tag}, "w\tt\n");
  return {std::move(ngrams), Tags, {}};
}

// The argument is the number of preceding tags.
void ngram_counting(benchmark::State& state) {
  sample();
  size_t distinct = 0;
  for (auto _ : state) distinct = count_sample(static_cast<int>(state.range(0))).size();
  state.counters["distinct"] = static_cast<double>(distinct);
  count_tokens(state);
}
BENCHMARK(ngram_counting)->Arg(2)->Arg(4);

template <double (*Log)(double)>
void logarithm(benchmark::State& state) {
  std::vector<double> values(4096);
  for (size_t i = 0; i < values.size(); ++i) values[i] = 0.37 * static_cast<double>(i + 1);
  for (auto _ : state) {
    double sum = 0.0;
    for (const double value : values) sum += Log(value);
    benchmark::DoNotOptimize(sum);
  }
  state.SetItemsProcessed(state.iterations() * static_cast<int64_t>(values.size()));
}
BENCHMARK_TEMPLATE(logarithm, ld)->Name("logarithm/library");
BENCHMARK_TEMPLATE(logarithm, approximate_ld)->Name("logarithm/approximate");

chain_start_t root_of(const NGramTable& ngrams) {
  chain_start_t root;
  for (uint32_t i = 0; i < ngrams.size(); ++i) {
    const int tag = ngrams.tags(i)[ngrams.length() - 1];
    if (root.counts.empty() || root.counts.back().tag != tag) root.counts.push_back({tag, 0});
    root.counts.back().count += ngrams.count(i);
    root.freq += ngrams.count(i);
    root.ngrams.push_back(i);
  }
  for (const tag_count_t& k : root.counts) root.q.push_back(static_cast<double>(k.count) / root.freq);
  root.entropy = 20.0;
  for (int position = ngrams.length() - 2; position >= 0; --position) root.positions.push_back(position);
  return root;
}

// One node: the root with all its positions open, first its tables, then its scores.
void node_tables(benchmark::State& state) {
  const NGramTable ngrams = count_sample(2);
  const chain_start_t root = root_of(ngrams);
  SplitSearch search(ngrams, {1.0, 0.5, Tags});
  for (auto _ : state) search.start_chain(root);
  state.SetItemsProcessed(state.iterations() * static_cast<int64_t>(2 * ngrams.size()));
}
BENCHMARK(node_tables);

void node_scores(benchmark::State& state) {
  const NGramTable ngrams = count_sample(2);
  SplitSearch search(ngrams, {1.0, 0.5, Tags});
  search.start_chain(root_of(ngrams));
  split_t split{};
  for (auto _ : state)
    if (!search.find_split(split)) state.SkipWithError("no split");
  state.SetItemsProcessed(state.iterations() * static_cast<int64_t>(2 * Tags));
}
BENCHMARK(node_scores);

}  // namespace
