// SPDX-License-Identifier: MIT
// What the lexicon run makes of small files: tables, counts, filters, probabilities.
#include <gtest/gtest.h>

#include <cmath>
#include <cstdio>
#include <string>
#include <vector>

#include "model/tables.h"
#include "test_support.h"
#include "training/open_classes.h"
#include "training/train.h"

namespace orvelle {
namespace {

Model trained(std::string_view lexicon, std::string_view corpus, std::string_view open = "",
              const Settings& settings = {}) {
  return make_model(train({{nullptr, lexicon}, {nullptr, open}, {nullptr, corpus}}, settings, {}));
}

// Frequency and readings: "4: A/x 0.750000 B/y 0.250000".
std::string show(const Model& model, const entry_t& entry) {
  const entrydata_t& data = *entry.data;
  std::string text = std::to_string(data.freq) + ":";
  for (int i = 0; i < data.n; ++i) {
    char prob[32];
    std::snprintf(prob, sizeof prob, " %.6f", data.prob[i]);
    text.append(" ").append(model.Tag(data.tag[i])).append("/").append(model.lemma(entry, i)).append(prob);
  }
  return text;
}

std::string show(const Model& model, const char* word) { return show(model, *model.find_entry(word)); }

std::string join(const std::vector<const char*>& strings) {
  std::string text;
  for (const char* s : strings) text.append(s).append("|");
  return text;
}

const std::string Two_Words = "w\tB y\tA x\nv\tA x\tB y\n.\tSENT .\n";
const std::string W_4 = times(3, "w\tA\n") + "w\tB\n";
const std::string Three_Tags = "w\tC c\tA a\tB b\n.\tSENT .\n";
const std::string W_20 = times(10, "w\tA\n") + times(4, "w\tB\n") + times(6, "w\tC\n");

TEST(MakeLexicon, Probabilities) {
  struct {
    const char* name;
    std::string lexicon, corpus;
    double weight, threshold;
    const char* word;
    const char* expected;
  } cases[] = {
      {"class of a seen word", Two_Words, W_4, 0.15, 0, "w", "4: A/x 0.747093 B/y 0.252907"},
      {"class of an unseen word", Two_Words, W_4, 0.15, 0, "v", "0: A/x 0.708333 B/y 0.291667"},
      {"no weight, seen", Two_Words, W_4, 0, 0, "w", "4: A/x 0.750000 B/y 0.250000"},
      {"no weight, unseen", Two_Words, W_4, 0, 0, "v", "0: A/x 0.708333 B/y 0.291667"},
      {"negative weight", Two_Words, W_4, -1, 0, "w", "4: A/x 0.791667 B/y 0.208333"},
      {"empty corpus", Two_Words, "", 0.15, 0, "w", "0: A/x 0.500000 B/y 0.500000"},
      {"reading not listed", Two_Words, "v\tA\nv\tSENT\n", 0.15, 0, "v", "1: A/x 0.989130 B/y 0.010870"},
      {"threshold drops one", Three_Tags, W_20, 0, 0.5, "w", "16: A/a 0.625000 C/c 0.375000"},
      {"at the threshold", Three_Tags, W_20, 0, 0.6, "w", "16: A/a 0.625000 C/c 0.375000"},
      {"threshold truncated", Three_Tags, W_20, 0, 0.4999, "w", "20: A/a 0.500000 B/b 0.200000 C/c 0.300000"},
      {"threshold of half a token", Two_Words, "w\tA\n", 0, 0.5, "w", "1: A/x 1.000000 B/y 0.000000"},
      {"threshold drops all", Two_Words, W_4, 0.15, 2, "w", "0:"},
      {"threshold beyond int", Two_Words, W_4, 0.15, 1e300, "w", "0:"},
      {"threshold not a number", Two_Words, W_4, 0, NAN, "w", "4: A/x 0.750000 B/y 0.250000"},
      {"negative threshold", Two_Words, W_4, 0, -5, "w", "4: A/x 0.750000 B/y 0.250000"},
  };
  for (const auto& c : cases) {
    SCOPED_TRACE(c.name);
    Settings settings;
    settings.Word_Class_Weight = c.weight;
    settings.Lex_Threshold = c.threshold;
    EXPECT_EQ(show(trained(c.lexicon, c.corpus, "", settings), c.word), c.expected);
  }
}

// Numbers that the lexicon does not list count for a number entry, those that it lists for both; the last
// column is "3." as an ordinal that also passes for a cardinal.
TEST(MakeLexicon, NumberEntries) {
  const std::string lexicon = "1\tB one\n1.\tA first\n.\tSENT .\n";
  struct {
    const char *name, *corpus, *cardinal, *ordinal, *one;
  } cases[] = {
      {"no number", "x\tA\n", "0: A/@card@ 0.333333 B/@card@ 0.333333 SENT/@card@ 0.333333",
       "0: A/@ord@ 0.333333 B/@ord@ 0.333333 SENT/@ord@ 0.333333", "0: B/one 1.000000"},
      {"listed", "1\tB\n1.\tA\n", "1: B/@card@ 1.000000", "1: A/@ord@ 1.000000", "1: B/one 1.000000"},
      {"not listed", "2\tA\n2\tA\n2\tB\n2\tA\n3.\tB\n", "5: A/@card@ 0.600000 B/@card@ 0.400000",
       "1: B/@ord@ 1.000000", "0: B/one 1.000000"},
  };
  Settings settings;
  settings.Lex_Threshold = 0.5;  // does not touch number entries
  for (const auto& c : cases) {
    SCOPED_TRACE(c.name);
    const Model model = trained(lexicon, c.corpus, "", settings);
    EXPECT_EQ(show(model, model.Fullform_Lexicon(Cardinal_Entry)), c.cardinal);
    EXPECT_EQ(show(model, model.Fullform_Lexicon(Ordinal_Entry)), c.ordinal);
    EXPECT_EQ(show(model, "1"), c.one);
  }
}

TEST(MakeLexicon, TablesAreInByteOrder) {
  const std::string_view open = "VB\f\vNN\r\n VB";
  const Model model = trained(
      "run\tVB run\tNN Run\n"
      "x y \t \r nn  !  \tNN\t1\r\n"
      "b\t\xC3 @card@\tVB a\n"
      "e\tSENT .",
      "run\tVB\nx y \tnn junk\nx y \tVB\n\nb\tSENT\n", open);
  const fullex_t& fullex = ModelAccess::tables(model).fullex;
  EXPECT_EQ(join(fullex.tagset.Tag), "NN|SENT|VB|nn|\xC3|");
  EXPECT_EQ(model.Sent_Tag(), 1);
  EXPECT_EQ(join(fullex.lemmas.Lemma), "!  |.|1\r|@card@|@ord@|Run|a|run|");
  EXPECT_EQ(fullex.A_Priori_Tag_Prob_Fac, (std::vector<double>{4 / .5, 4 / 1.5, 4 / 2.5, 4 / 1.5, 4 / .5}));
  EXPECT_EQ(show(model, "x y "), "1: NN/1\r 0.010870 nn/!   0.989130");
  EXPECT_EQ(show(model, "b"), "0: VB/a 0.500000 \xC3/@card@ 0.500000");
  OpenClassSink faults;
  EXPECT_EQ(read_open_classes({nullptr, open}, fullex.tagset, {}, faults),
            (std::vector<char>{1, 0, 1, 0, 0}));
}

TEST(MakeLexicon, AsManyTagsAndClassesAsThereMayBe) {
  std::string lexicon = ".\tSENT .\n";
  for (int i = 1; i < Max_Number_of_Tags; ++i)
    lexicon += "w" + std::to_string(i) + "\tT" + std::to_string(i) + " l\n";
  const Model model = trained(lexicon, "w19999\tT19999\n");
  EXPECT_EQ(model.Number_of_Tags(), 20000);
  EXPECT_EQ(show(model, "w19999"), "1: T19999/l 1.000000");
  EXPECT_STREQ(model.Tag(model.tag_number("T777")), "T777");
}

}  // namespace
}  // namespace orvelle
