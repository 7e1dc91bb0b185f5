// What the readers make of sound sections, and the lookups in it.
#include <cmath>
#include <functional>

#include "affix/affix_lookup.h"
#include "context/context_section.h"
#include "driver/parameter_check.h"
#include "driver/parameter_file.h"
#include "driver/settings.h"
#include "lexicon/entries.h"
#include "lexicon/lemmas.h"
#include "lexicon/lexicon_section.h"
#include "lexicon/tagset.h"
#include "loading/sample_file.h"
#include "support/binary_input.h"
#include "test_support.h"

namespace orvelle {

class Loaded : public testing::Test {
 protected:
  void load(const sample_file_t& sample) { read_parameter_file(dir_.write("file", sample.bytes()).c_str()); }
  TempDir dir_;
};

TEST(Inputs, ReadsUpToTheNul) {
  const std::string longest(Max_Line_Length, 'x');
  const ByteStream stream(bytes("abc\0\0") + longest + '\0' + "next");
  for (const std::string& expected : {std::string("abc"), std::string(), longest}) {
    char* const s = inputs(stream);
    EXPECT_EQ(s, expected);
    std::free(s);
  }
  EXPECT_EQ(std::getc(stream), 'n');
}

TEST(Inputs, EndsTheRunWithoutANul) {
  for (const std::string& content : {std::string(), std::string("abc"), std::string(10000, 'x') + '\0'}) {
    const ByteStream stream(content);
    EXPECT_ERROR(inputs(stream), "while reading string from binary file");
  }
}

// ctest gives every test a process of its own.
TEST(Lookup, FindsNothingBeforeThereIsALexicon) {
  if (Fullform_Lexicon != nullptr) GTEST_SKIP() << "another test has loaded one";
  for (const char* word : {"dog", "3", "3."}) EXPECT_EQ(fullform_lookup(word), nullptr) << word;
  EXPECT_EQ(prefix_leaf("dog"), nullptr);
}

// The second file replaces the tables of the first.
TEST_F(Loaded, HasTheTablesOfTheFile) {
  load({});
  sample_file_t sample;
  sample.utf8 = 1;
  sample.tags = {"A", "B", "SENT"};
  sample.entries[3].word = "cat";
  load(sample);
  EXPECT_EQ(UTF8_Processing, 1);
  EXPECT_EQ(find_tag("B"), 1);
  EXPECT_EQ(find_tag("NN"), -1);
  EXPECT_EQ(find_entry("dog"), nullptr);
  EXPECT_EQ(fullform_lookup("3."), &Fullform_Lexicon[Ordinal_Entry]);
  const entry_t* const cat = fullform_lookup("cat");
  ASSERT_EQ(cat, &Fullform_Lexicon[1]);
  EXPECT_EQ(std::vector(cat->data->prob, cat->data->prob + cat->data->n), sample.entries[3].probs);
  EXPECT_EQ(Lemma[cat->data->lemma[1]], std::string("dog"));
  EXPECT_EQ(A_Priori_Tag_Prob_Fac, sample.factors);
}

TEST_F(Loaded, AffixLookup) {
  load({});
  struct row_t {
    const char *name, *word;
    int leaf;  // index in the prefix tree, -1 for none
  };
  for (const row_t& row : {row_t{"a byte above 127", "w\xE9lking", 3},
                           {"the default child", "stalking", 2},
                           {"no child and no default child", "walking", -1},
                           {"ends at an inner node", "w", -1},
                           {"ends at a node with a default child", "", 2}}) {
    const ANODE* const leaf = prefix_leaf(row.word);
    EXPECT_EQ(leaf, row.leaf < 0 ? nullptr : Prefix_Lexicon + row.leaf) << row.name;
    EXPECT_EQ(suffix_leaf(row.word), Suffix_Lexicon) << row.name;  // only a root
  }
  EXPECT_EQ(prefix_leaf("w\xE9")->tagprob[1].prob, .25F);
  EXPECT_EQ(Open_Class_Node->tagprob[0].tag, 1);

  sample_file_t reversed;
  std::swap(reversed.prefix, reversed.suffix);
  load(reversed);
  EXPECT_EQ(suffix_leaf("lking\xE9w"), Suffix_Lexicon + 3);
  EXPECT_EQ(suffix_leaf("w\xE9"), Suffix_Lexicon + 2);
}

TEST_F(Loaded, ContextLookup) {
  load({});
  struct row_t {
    int32_t preceding[2];
    uint32_t freq;
    double probs[3];
  };
  for (const row_t& row : {row_t{{2, 1}, 7, {1.0, 0.0, 0.0}},
                           {{1, 1}, 8, {0.0, 0.0, 0.0}},
                           {{1, 2}, 9, {.25, .25, .5}},
                           {{2, 0}, 9, {.25, .25, .5}}}) {
    const context_leaf_t& leaf = context_leaf(Context_Tree, row.preceding);
    EXPECT_EQ(leaf.freq, row.freq);
    for (int tag = 0; tag < 3; ++tag) EXPECT_EQ(tag_probability(leaf, tag), row.probs[tag]);
    EXPECT_EQ(tag_probability(leaf, -1) + tag_probability(leaf, 3), 0.0);
  }
}

// Probabilities may be anything, and all that was loaded is written as the same bytes.
TEST_F(Loaded, IsWrittenAsTheSameBytes) {
  sample_file_t odd;
  odd.utf8 = 1;
  odd.entries[3].probs = {-1.F, std::nanf("7")};
  odd.factors[1] = -std::nan("9");
  odd.nodes = raw(0, 0, 2) + raw(1, 0, 4000000000u) + raw(1, 1, 2u, 2, INFINITY * 1.0);
  for (const sample_file_t& sample : {sample_file_t(), odd}) {
    load(sample);
    rewrite_parameter_file(dir_.path("again").c_str());
    EXPECT_EQ(read_file(dir_.path("again")), sample.bytes());
  }
}

// The number of nodes to a leaf is limited by nothing but the file.
TEST_F(Loaded, DeepTrees) {
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
  load(chain_of_no);
  EXPECT_EQ(Context_Tree.nodes.size(), 2 * Depth + 1);
  EXPECT_EQ(context_leaf(Context_Tree, std::vector<int32_t>(2, 1).data()).freq, 2);
  load(chain_of_yes);
  EXPECT_EQ(context_leaf(Context_Tree, std::vector<int32_t>(Depth, 0).data()).freq, 2);
}

}  // namespace orvelle
