// SPDX-License-Identifier: MIT
// What a model makes of a sound parameter file, and the lookups in it.
#include <gtest/gtest.h>

#include <cmath>
#include <functional>
#include <optional>
#include <random>

#include "model/added_readings.h"
#include "sample_file.h"

namespace orvelle {
namespace {

std::vector<float> probs_of(const entry_t& entry) {
  return {entry.data->prob, entry.data->prob + entry.data->n};
}

std::string written(const Model& model) {
  const TempDir dir;
  write_parameter_file(dir.path("again").c_str(), model);
  return read_file(dir.path("again"));
}

// Two models at once, of which each answers for itself; the second outlives the first and is moved.
TEST(Model, HasTheTablesOfItsFile) {
  std::optional<Model> first(sample_file_t().model());
  sample_file_t sample;
  sample.utf8 = 1;
  sample.tags = {"A", "B", "SENT"};
  sample.entries[3].word = "cat";
  sample.factors[1] = 5.0;
  Model second = sample.model();
  EXPECT_FALSE(first->UTF8_Processing());
  EXPECT_EQ(first->tag_number("NN"), 1);
  EXPECT_EQ(first->find_entry("cat"), nullptr);
  EXPECT_EQ(first->A_Priori_Tag_Prob_Fac(1), 4.0);
  const entry_t* const dog = first->fullform_lookup("dog");
  ASSERT_EQ(dog, &first->Fullform_Lexicon(1));
  EXPECT_EQ(probs_of(*dog), sample.entries[3].probs);

  const entry_t* const cat = second.fullform_lookup("cat");
  const Model moved = std::move(second);
  first.reset();
  EXPECT_TRUE(moved.UTF8_Processing());
  EXPECT_EQ(moved.find_tag("B"), 1);
  EXPECT_EQ(moved.find_tag("NN"), -1);
  EXPECT_STREQ(moved.Tag(moved.Sent_Tag()), "SENT");
  EXPECT_EQ(moved.A_Priori_Tag_Prob_Fac(1), 5.0);
  EXPECT_EQ(moved.find_entry("dog"), nullptr);
  ASSERT_EQ(cat, moved.fullform_lookup("cat"));
  EXPECT_EQ(cat, &moved.Fullform_Lexicon(1));
  EXPECT_STREQ(cat->word, "cat");
  EXPECT_EQ(probs_of(*cat), sample.entries[3].probs);
  EXPECT_STREQ(moved.lemma(*cat, 1), "dog");
  EXPECT_EQ(moved.lemma_number("the"), 4);
  EXPECT_FATAL(moved.tag_number("NN"), "\nERROR: unknown tag <NN> !\n\n");
  EXPECT_FATAL(moved.lemma_number("cat"), "\nPROGRAM ERROR: in function lemma_number: \"cat\"\n");
  second = sample_file_t().model();  // what was moved from may be assigned to
  EXPECT_NE(second.find_entry("dog"), nullptr);
}

TEST(Model, LooksWordFormsUp) {
  sample_file_t sample;
  sample.set_words({sample_entry(".", {{2, 1.F}}), sample_entry("1.", {}), sample_entry("<p>", {}),
                    sample_entry("New York", {}), sample_entry("The", {}), sample_entry("a", {})});
  const Model model = sample.model();
  const struct {
    const char* word;
    int strip;
    int index;  // -3: null
  } cases[] = {
      {".", 0, 0},      {"1.", 0, 1},      {"New York", 0, 3},  {"The", 0, 4},        {"a", 0, 5},
      {"3.", 0, -1},    {"1,000.", 0, -1}, {"1 000.", 0, -1},   {"3", 0, -2},         {"3.5", 0, -2},
      {"1,000", 0, -2}, {"-5", 0, -2},     {"+49", 0, -2},      {"12:30", 0, -2},     {"1/2", 0, -2},
      {"50%", 0, -2},   {"'98", 0, -2},    {"1.2.", 0, -2},     {"3..", 0, -2},       {",3.", 0, -2},
      {"3rd", 0, -3},   {"a1", 0, -3},     {"-", 0, -3},        {"", 0, -3},          {"the", 0, -3},
      {"aa", 0, -3},    {"3\x80", 0, -3},  {"a", 1, 5},         {"<b>a<b>", 1, 5},    {"<b>a<b>", 0, -3},
      {"<p>", 1, 2},    {"x", 1, -3},      {"<b>x</b>", 1, -3}, {"<b>3.</b>", 1, -1}, {"12", 1, -2}};
  for (const auto& c : cases) {
    const entry_t* const entry = model.fullform_lookup2(c.word, c.strip);
    EXPECT_EQ(entry, c.index == -3 ? nullptr : &model.Fullform_Lexicon(c.index)) << c.word;
    EXPECT_TRUE(c.strip || model.fullform_lookup(c.word) == entry) << c.word;
    const bool is_listed = c.index >= 0 && std::string(c.word) == entry->word;
    EXPECT_EQ(model.find_entry(c.word), is_listed ? entry : nullptr) << c.word;
  }
  EXPECT_EQ(model.find_entry(std::string_view("a.", 1)), &model.Fullform_Lexicon(5));  // no NUL behind it
}

TEST(Model, AffixLeaves) {
  const Model model = sample_file_t().model();
  const struct {
    const char *name, *word;
    int leaf;  // index in the prefix tree, -1 for none
  } cases[] = {{"a byte above 127", "w\xE9lking", 3},
               {"the default child", "stalking", 2},
               {"no child and no default child", "walking", -1},
               {"ends at an inner node", "w", -1},
               {"ends at a node with a default child", "", 2}};
  for (const auto& c : cases) {
    EXPECT_EQ(model.prefix_leaf(c.word), c.leaf < 0 ? nullptr : &model.Prefix_Lexicon()[c.leaf]) << c.name;
    EXPECT_EQ(model.suffix_leaf(c.word), &model.Suffix_Lexicon()[0]) << c.name;  // only a root
  }
  EXPECT_EQ(model.prefix_leaf("w\xE9")->tagprob[1].prob, .25F);
  EXPECT_EQ(model.Open_Class_Node().tagprob[0].tag, 1);

  sample_file_t sample;
  std::swap(sample.prefix, sample.suffix);
  const Model reversed = sample.model();
  EXPECT_EQ(reversed.suffix_leaf("lking\xE9w"), &reversed.Suffix_Lexicon()[3]);
  EXPECT_EQ(reversed.suffix_leaf("w\xE9"), &reversed.Suffix_Lexicon()[2]);

  // The end of a word form is no byte, not even the last one. A chain of b that an a ends, of 40001 nodes.
  constexpr int Depth = 20000;
  sample.prefix = {{{0, 257, 1, 1}, {1, -1, 0, 0}}, {}};
  sample.suffix = {{{0, 257, 2, 1}}, {}};
  for (int i = 1; i <= Depth; ++i) {
    sample.suffix.nodes.push_back({1, 'a', 0, 0});
    sample.suffix.nodes.push_back({static_cast<int16_t>(i == Depth), 'b',
                                   static_cast<int16_t>(i == Depth ? 0 : 2),
                                   static_cast<uint16_t>(i == Depth ? 0 : 2 * i + 1)});
  }
  const Model deep = sample.model();
  EXPECT_EQ(deep.prefix_leaf(""), nullptr);
  EXPECT_EQ(deep.prefix_leaf("\xFF"), &deep.Prefix_Lexicon()[1]);
  for (const size_t length : {0, 200, 19000})
    EXPECT_EQ(deep.suffix_leaf("a" + std::string(length, 'b')), &deep.Suffix_Lexicon()[2 * length + 1]);
  EXPECT_TRUE(written(deep) == sample.bytes());
}

TEST(Model, ContextLeaves) {
  const Model model = sample_file_t().model();
  const struct {
    int32_t preceding[2];
    uint32_t freq;
    double probs[3];
  } cases[] = {{{2, 1}, 7, {1.0, 0.0, 0.0}},
               {{1, 1}, 8, {0.0, 0.0, 0.0}},
               {{1, 2}, 9, {.25, .25, .5}},
               {{2, 0}, 9, {.25, .25, .5}}};
  for (const auto& c : cases) {
    const context_leaf_t& leaf = model.context_leaf(c.preceding);
    EXPECT_EQ(leaf.freq, c.freq);
    for (int tag = 0; tag < 3; ++tag) EXPECT_EQ(Model::tag_probability(leaf, tag), c.probs[tag]);
    EXPECT_EQ(Model::tag_probability(leaf, -1) + Model::tag_probability(leaf, 3), 0.0);
  }
  const int32_t tags[] = {0, 2, 5};
  const double probs[] = {.5, .25, .125};
  const context_leaf_t sparse{tags, probs, 3, 1};
  const double expected[] = {.5, 0, .25, 0, 0, .125, 0};
  for (int tag = 0; tag < 7; ++tag) EXPECT_EQ(Model::tag_probability(sparse, tag), expected[tag]) << tag;
}

// Probabilities may be anything, and all that was loaded is written as the same bytes.
TEST(Model, IsWrittenAsTheSameBytes) {
  sample_file_t odd;
  odd.utf8 = 1;
  odd.entries[3].probs = {-1.F, std::nanf("7")};
  odd.factors[1] = -std::nan("9");
  odd.nodes = raw(0, 0, 2) + raw(1, 0, 4000000000u) + raw(1, 1, 2u, 2, INFINITY * 1.0);
  for (const sample_file_t& sample : {sample_file_t(), odd})
    EXPECT_EQ(written(sample.model()), sample.bytes());
}

// Larger than every buffer and block: 20,000 tags, strings and entries of many sizes, leaves of many tags. From a file,
// from memory and through a pipe, of which nobody knows the length, it is the same.
TEST(Model, LargeFiles) {
  std::mt19937 random(8);
  const auto below = [&](size_t n) { return static_cast<int>(random() % n); };
  sample_file_t large;
  large.sent_tag = 0;
  large.tags.clear();
  large.factors.clear();
  for (int i = 0; i < 20000; ++i) {
    large.tags.push_back(std::to_string(100000 + i) + std::string(i % 97 == 0 ? 3000 : 0, 't'));
    large.factors.push_back(i);
  }
  std::vector<sample_entry_t> words;
  for (int i = 0; i < 300; ++i) {
    words.push_back(
        {std::to_string(1000 + i) + std::string(below(20) ? below(9) : below(9990), 'w'), i, {}, {}, {}});
    for (int t = below(50), left = below(40) ? below(8) : below(20000); t < 20000 && left > 0;
         t += 1 + below(3), --left) {
      words.back().tags.push_back(t);
      words.back().probs.push_back(static_cast<float>(below(1000)) / 7);
      words.back().lemmas.push_back(below(5));
    }
  }
  large.set_words(words);
  large.nodes.clear();
  for (int leaf = 0; leaf < 8; ++leaf) {
    if (leaf < 7) large.nodes += raw(0, 1, leaf);
    const int n = leaf % 4 == 0 ? 5000 + leaf : below(2000);
    large.nodes += raw(1, n, static_cast<uint32_t>(leaf));
    for (int i = 0; i < n; ++i) large.nodes += raw(i * 3 + leaf % 3, below(1000) / 3.0);
  }
  const std::string content = large.bytes();
  ASSERT_GT(content.size(), size_t{1} << 20);
  const TempDir dir;
  const std::string path = dir.write("file", content);
  const Model small = sample_file_t().model(), from_memory = model_of(content),
              from_file = read_parameter_file(path.c_str());
  EXPECT_TRUE(written(from_memory) == content);
  EXPECT_TRUE(written(from_file) == content);
  FILE* const pipe = popen(("cat '" + path + "'").c_str(), "r");
  ASSERT_NE(pipe, nullptr);
  EXPECT_TRUE(written(read_parameter_file(("/dev/fd/" + std::to_string(fileno(pipe))).c_str())) == content);
  pclose(pipe);
  for (const sample_entry_t& word : words) ASSERT_NE(from_file.find_entry(word.word), nullptr) << word.word;
  for (int i = 0; i < 20000; ++i) ASSERT_EQ(from_file.find_tag(large.tags[i]), i);
  for (const Model& model : {std::cref(from_file), std::cref(small)})
    EXPECT_ERROR(write_parameter_file("/dev/full", model), "Can't write to output file");
  EXPECT_ERROR(write_parameter_file("/none/file", small), "Can't open for writing: /none/file");
}

// The number of nodes to a leaf is limited by nothing but the file.
TEST(Model, DeepTrees) {
  constexpr int Depth = 100000;
  std::string leaves;
  sample_file_t chain_of_no, chain_of_yes;
  chain_of_no.nodes.clear();
  chain_of_yes.nodes.clear();
  chain_of_yes.context_size = Depth;
  for (int i = 0; i < Depth; ++i) {
    chain_of_no.nodes += raw(0, 1, 0) + raw(1, 0, 1u);
    chain_of_yes.nodes += raw(0, i, 0);
    leaves += raw(1, 0, 1u);
  }
  chain_of_no.nodes += raw(1, 0, 2u);
  chain_of_yes.nodes += raw(1, 0, 2u) + leaves;
  EXPECT_EQ(chain_of_no.model().context_leaf(std::vector<int32_t>(2, 1).data()).freq, 2);
  const Model yes = chain_of_yes.model();
  EXPECT_EQ(yes.context_leaf(std::vector<int32_t>(Depth, 0).data()).freq, 2);
  EXPECT_TRUE(written(yes) == chain_of_yes.bytes());
}

TEST(AddedReadings, AreReadAsTheyWereWritten) {
  AddedReadings readings;
  readings.add("gnu", 1, "gnu"), readings.add("emu s", 2, "emu"), readings.add("gnu", 2, "gnus");
  readings.add("gnu", 1, "not this one");
  EXPECT_EQ(readings.section(), "emu s\t2 emu\ngnu\t1 gnu\t2 gnus\n");
  EXPECT_EQ(AddedReadings(readings.section(), 3).section(), readings.section());
  EXPECT_EQ(AddedReadings("w\t0 \n", 1).section(), "w\t0 \n");
  for (const char* bad : {"gnu\t1 gnu", "gnu\n", "\n", "\t1 gnu\n", "gnu\t\n", "gnu\t3 gnu\n",
                          "gnu\t-1 gnu\n", "gnu\t1\n", "gnu\tx gnu\n", "gnu\t1x gnu\n", "gnu\t1 gnu\t\n"})
    EXPECT_ERROR(AddedReadings(bad, 3), "in model file: added readings") << bad;
}

}  // namespace
}  // namespace orvelle
