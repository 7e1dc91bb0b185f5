// What the lexicon run makes of small files: tables, counts, filters, probabilities.
#include <gtest/gtest.h>

#include <cmath>
#include <cstdio>
#include <string>
#include <vector>

#include "lexicon/entries.h"
#include "lexicon/lemmas.h"
#include "lexicon/lexicon_section.h"
#include "lexicon/make_lexicon.h"
#include "lexicon/open_classes.h"
#include "lexicon/tagset.h"
#include "test_support.h"
#include "training_settings.h"

namespace orvelle {
namespace {

class MakeLexicon : public TrainingTest {
 protected:
  void run(const std::string& lexicon, const std::string& corpus, const std::string& open = "") {
    make_lexicon(dir_.write("train", corpus).c_str(), dir_.write("lex", lexicon).c_str(),
                 dir_.write("open", open).c_str());
  }

  // Frequency and readings: "4: A/x 0.750000 B/y 0.250000".
  static std::string show(const entry_t& entry) {
    const entrydata_t& data = *entry.data;
    std::string text = std::to_string(data.freq) + ":";
    for (int i = 0; i < data.n; ++i) {
      char prob[32];
      std::snprintf(prob, sizeof prob, " %.6f", data.prob[i]);
      text.append(" ").append(Tag[data.tag[i]]).append("/").append(Lemma[data.lemma[i]]).append(prob);
    }
    return text;
  }

  static std::string show(const char* word) { return show(*find_entry(word)); }

  static std::string join(const std::vector<const char*>& strings) {
    std::string text;
    for (const char* s : strings) text.append(s).append("|");
    return text;
  }

  TempDir dir_;
};

std::string times(int n, const std::string& line) {
  std::string text;
  while (n-- > 0) text += line;
  return text;
}

const std::string Two_Words = "w\tB y\tA x\nv\tA x\tB y\n.\tSENT .\n";
const std::string W_4 = times(3, "w\tA\n") + "w\tB\n";
const std::string Three_Tags = "w\tC c\tA a\tB b\n.\tSENT .\n";
const std::string W_20 = times(10, "w\tA\n") + times(4, "w\tB\n") + times(6, "w\tC\n");

TEST_F(MakeLexicon, Probabilities) {
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
    Word_Class_Weight = c.weight;
    Lex_Threshold = c.threshold;
    run(c.lexicon, c.corpus);
    EXPECT_EQ(show(c.word), c.expected);
  }
}

// Numbers that the lexicon does not list count for a number entry, those that it lists for both; the last
// column is "3." as an ordinal that also passes for a cardinal.
TEST_F(MakeLexicon, NumberEntries) {
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
  Lex_Threshold = 0.5;  // does not touch number entries
  for (const auto& c : cases) {
    SCOPED_TRACE(c.name);
    run(lexicon, c.corpus);
    EXPECT_EQ(show(Fullform_Lexicon[Cardinal_Entry]), c.cardinal);
    EXPECT_EQ(show(Fullform_Lexicon[Ordinal_Entry]), c.ordinal);
    EXPECT_EQ(show("1"), c.one);
  }
}

TEST_F(MakeLexicon, Lookup) {
  run("b\tNN b\na\tNN a\nThe\tNN a\n1.\tNN a\nNew York\tNN a\n.\tSENT .\n", "");
  struct {
    const char* word;
    int index;  // -3: null
  } cases[] = {{".", 0},     {"1.", 1},      {"New York", 2}, {"The", 3},   {"a", 4},    {"b", 5},
               {"3.", -1},   {"1,000.", -1}, {"1 000.", -1},  {"3", -2},    {"3.5", -2}, {"1,000", -2},
               {"-5", -2},   {"+49", -2},    {"12:30", -2},   {"1/2", -2},  {"50%", -2}, {"'98", -2},
               {"1.2.", -2}, {"3..", -2},    {",3.", -2},     {"3rd", -3},  {"a1", -3},  {"-", -3},
               {"", -3},     {"the", -3},    {"bb", -3},      {"3\x80", -3}};
  for (const auto& c : cases) {
    const entry_t* entry = fullform_lookup(c.word);
    EXPECT_EQ(entry == nullptr ? -3 : static_cast<int>(entry - Fullform_Lexicon), c.index) << c.word;
  }
}

TEST_F(MakeLexicon, TablesAreInByteOrder) {
  run("run\tVB run\tNN Run\n"
      "x y \t \r nn  !  \tNN\t1\r\n"
      "b\t\xC3 @card@\tVB a\n"
      "e\tSENT .",
      "run\tVB\r\nx y \tnn junk\nx y \tVB\n  \n\nb\tSENT", "VB\f\vNN\r\n VB");
  EXPECT_EQ(join(Tag), "NN|SENT|VB|nn|\xC3|");
  EXPECT_EQ(Sent_Tag, 1);
  EXPECT_EQ(join(Lemma), "!  |.|1\r|@card@|@ord@|Run|a|run|");
  EXPECT_EQ(Open_Class, (std::vector<char>{1, 0, 1, 0, 0}));
  EXPECT_EQ(Tag_Freq, (std::vector<int>{0, 1, 2, 1, 0}));
  EXPECT_EQ(show("x y "), "1: NN/1\r 0.010870 nn/!   0.989130");
  EXPECT_EQ(show("b"), "0: VB/a 0.500000 \xC3/@card@ 0.500000");
}

TEST_F(MakeLexicon, AsManyTagsAndClassesAsThereMayBe) {
  std::string lexicon = ".\tSENT .\n";
  for (int i = 1; i < Max_Number_of_Tags; ++i)
    lexicon += "w" + std::to_string(i) + "\tT" + std::to_string(i) + " l\n";
  run(lexicon, "w19999\tT19999\n");
  EXPECT_EQ(Number_of_Tags, 20000);
  EXPECT_EQ(show("w19999"), "1: T19999/l 1.000000");
  EXPECT_STREQ(Tag[tag_number("T777")], "T777");
}

}  // namespace
}  // namespace orvelle
