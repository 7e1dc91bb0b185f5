// SPDX-License-Identifier: MIT
#include <gtest/gtest.h>
#include <orvelle/automaton.h>
#include <sys/resource.h>

#include <string>

#include "sample_file.h"

namespace orvelle {
namespace {

Automaton automaton_of(const std::string& text) { return Automaton(ByteStream(text)); }

// The most memory that the process ever had.
long kilobytes_of_process() {
  rusage usage;
  getrusage(RUSAGE_SELF, &usage);
  return usage.ru_maxrss;
}

constexpr const char* Example = "0 a 1\n0 b 2\n1 x 2 2 d 0\n1 wordclass 3\n2 wordclass 4\n";

TEST(Automaton, MapsWordFormsToClasses) {
  const Automaton automaton = automaton_of(Example);
  EXPECT_EQ(automaton.number_of_classes, 5);
  const struct {
    const char* word;
    int state, expected;
  } cases[] = {
      {"a", 0, 3},         {"b", 0, 4},    {"ax", 0, 4}, {"bd", 0, 0},  {"bda", 0, 3}, {"ab", 0, 0},
      {"x", 0, 0},         {"", 0, 0},     {"", 1, 3},   {"x", 1, 4},   {"", -1, 0},   {"a", 3, 0},
      {"a", INT32_MAX, 0}, {"\xFF", 0, 0}, {"a", -1, 0}, {"ax ", 0, 0},
  };
  for (const auto& row : cases) EXPECT_EQ(automaton.wordclass(row.word, row.state), row.expected) << row.word;
}

// What is read of the file, told by the class of "a" and the number of states.
TEST(Automaton, ReadsUpToTheFirstTripleThatIsNotWhole) {
  const std::string a_has_class_7 = "0 a 0 0 wordclass 7 ";
  const struct {
    std::string text;
    int expected;
    size_t states;
  } cases[] = {
      {"", 0, 0},
      {"x a 0", 0, 0},
      {a_has_class_7, 7, 1},
      {"0a +0\v-0\fwordclass\r\n07", 7, 1},  // no blanks needed after a number
      {a_has_class_7 + "0 wordclass", 7, 1},
      {a_has_class_7 + "0 wordclass x", 7, 1},
      {a_has_class_7 + "99999999999 ", 7, 1},                       // not whole, so not looked at
      {a_has_class_7 + "0 " + std::string(101, 'b') + " 0", 7, 1},  // the rest of a long token is no number
      {a_has_class_7 + "0 wordclass 8.5 0 wordclass 9", 8, 1},
      {"0 a 1 0 a 0 1 b 0 1 wordclass 7", 7, 2},                   // the first of equal symbols
      {"0 a 2 2 b 0 1 wordclass 6 2 wordclass 7", 7, 3},           // state 1 exists by state 2
      {"0 0 0 0 wordclass 1 0 a 0 0 \xC3 0 0 wordclass 7", 7, 1},  // a class leaves the order alone
      {bytes("0 \0 0 0 a 0 0 wordclass 7"), 7, 1},
  };
  for (const auto& row : cases) {
    const Automaton automaton = automaton_of(row.text);
    EXPECT_EQ(automaton.wordclass("a", 0), row.expected) << row.text;
    EXPECT_EQ(automaton.states.size(), row.states) << row.text;
  }
}

TEST(Automaton, RefusesABrokenFile) {
  const std::string hundred(100, 'b');
  const struct {
    std::string text, message;
  } cases[] = {
      {"1 x 2 0 y 3", "states not ordered (1,0)!"},
      {"0 b 1 1 a 2 0 a 3", "states not ordered (1,0)!"},
      {"0 b 1 0 a 2", "symbols not ordered (b,a) at state 0!"},
      {"0 \xC3 1 0 a 2", "symbols not ordered (\xC3,a) at state 0!"},
      {"0 ab 1", "illegal symbol \"ab\"!"},
      {"0 wordclas 1", "illegal symbol \"wordclas\"!"},
      {"0 " + hundred + "5", "illegal symbol \"" + hundred + "\"!"},
      {"0 wordclass 1", "class for unknown state 0!"},
      {"0 a 0 1 wordclass 1", "class for unknown state 1!"},
      {"0 a 0 0 b 2 0 wordclass 1", "transition to unknown state 2!"},
      {"-1 a 0", "negative number (-1 a 0)!"},
      {"0 a -1", "negative number (0 a -1)!"},
      {"0 a 0 -1 wordclass 1", "negative number (-1 wordclass 1)!"},
      {"0 a 0 0 wordclass -1", "negative number (0 wordclass -1)!"},
      {"0 a 0 0 wordclass -99999999999", "negative number (0 wordclass -2147483648)!"},
      {"2147483647 a 1", "number too large (2147483647 a 1)!"},
      {"99999999999 a 1", "number too large (2147483647 a 1)!"},
      {"0 a 5 3 a 0 4 wordclass 1", "class for unknown state 4!"},
      {"0 a 0 0 wordclass 2147483647", "number too large (0 wordclass 2147483647)!"},
      {"0 a 99999999999999999999", "transition to unknown state 2147483647!"},
      {"0 a 0", "no word class!"},
  };
  for (const auto& row : cases)
    EXPECT_FATAL(automaton_of(row.text), "Error: in transducer file: " + row.message) << row.text;
  Model model = sample_file_t().model();
  EXPECT_FATAL(model.read_wordclass(ByteStream("")), "Error: in transducer file: no word class!");
  EXPECT_EQ(model.WA(), nullptr);
}

TEST(Automaton, AReadErrorIsNotTheEnd) {
  const TempDir directory;
  FILE* file = std::fopen(directory.path().c_str(), "r");
  ASSERT_NE(file, nullptr);
  EXPECT_ERROR(Automaton{file}, "Can't read from input file");
  std::fclose(file);
}

// Numbers may be far apart: a class for two states without transitions, one of them in a gap, and the last number.
TEST(Automaton, LargeNumbersCostNothing) {
  const std::string text =
      "0 a 5000000\n0 b 2000000000\n0 c 3\n5000000 a 2147483646\n2147483646 z 0\n"
      "2000000000 wordclass 8\n5000000 wordclass 1\n2147483646 wordclass 2147483646\n"
      "7 wordclass 9\n2000000000 wordclass 7\n";
  Model model = sample_file_t().model();
  std::string warnings;
  const long before = kilobytes_of_process();
  model.read_wordclass(ByteStream(text), into(warnings));
  EXPECT_LT(kilobytes_of_process() - before, 10000);
  EXPECT_EQ(warnings, "\nWARNING: no lexicon entry for the word classes 1 to 2147483646!\n");
  const Automaton& automaton = *model.WA();
  EXPECT_EQ(automaton.number_of_classes, INT32_MAX);
  EXPECT_EQ(automaton.states.size(), size_t{INT32_MAX});
  const struct {
    const char* word;
    int state, expected;
  } cases[] = {{"a", 0, 1}, {"aa", 0, 2147483646}, {"aaza", 0, 1},     {"b", 0, 7}, {"ba", 0, 0}, {"c", 0, 0},
               {"", 7, 9},  {"a", 8, 0},           {"", 2000000000, 7}};
  for (const auto& row : cases) EXPECT_EQ(automaton.wordclass(row.word, row.state), row.expected) << row.word;
  EXPECT_EQ(model.Wordclass_Lexicon()[2000000000].data, nullptr);
  EXPECT_EQ(model.fullform_lookup("x"), &model.Wordclass_Lexicon()[0]);
}

// A state that leads on with every byte but the blanks, each to a state and class of its own.
TEST(Automaton, TellsEveryByteFromTheOthers) {
  std::string text, classes;
  const auto number = [](int byte) { return " " + std::to_string(byte) + "\n"; };
  for (int byte = 1; byte < 256; ++byte) {
    if (byte == ' ' || (byte >= '\t' && byte <= '\r')) continue;
    text += "0 " + std::string(1, static_cast<char>(byte)) + number(byte);
    classes += number(byte) + "wordclass" + number(byte);
  }
  const Automaton automaton = automaton_of(text + "255 x 0" + classes);
  for (int byte = 1; byte < 256; ++byte) {
    const char word[] = {static_cast<char>(byte), '\0'};
    EXPECT_EQ(automaton.wordclass(word, 0), byte == ' ' || (byte >= '\t' && byte <= '\r') ? 0 : byte);
  }
}

using readings_t = std::vector<std::pair<int, float>>;

readings_t readings_of(const entry_t& entry) {
  readings_t readings;
  for (int i = 0; entry.data != nullptr && i < entry.data->n; ++i)
    readings.emplace_back(entry.data->tag[i], entry.data->prob[i]);
  return readings;
}

Model model_with_words(const std::vector<sample_entry_t>& words) {
  sample_file_t sample;
  sample.tags.push_back("VB");
  sample.factors.push_back(1.0);
  sample.set_words(words);
  return sample.model();
}

TEST(Wordclass, LexiconHoldsTheDistributionOfEachClass) {
  Model model = model_with_words({sample_entry("a", {{0, 0.75f}, {3, 0.25f}}, 5),  // class 1
                                  sample_entry("aa", {{1, 1.f}}, 5),               // class 1
                                  sample_entry("b", {{1, 0.995f}, {2, 0.005f}}),   // class 3
                                  sample_entry("c", {{0, 0.f}}),                   // class 4: no probability
                                  sample_entry("ee", {{1, 100.f}, {2, 1.f}}),  // class 5: at the threshold
                                  sample_entry("eee", {{0, 3.f}}),             // class 5: above it
                                  sample_entry("other", {{1, 0.5f}, {2, 0.5f}})});  // class 0
  std::string warnings;
  const auto warning = [](int m) {
    return "\nWARNING: no lexicon entry for word class " + std::to_string(m) + "!\n";
  };
  model.read_wordclass(ByteStream("0 a 1 0 b 2 0 c 3 0 e 4 1 a 1 3 d 3 4 e 4 1 wordclass 1 2 wordclass 3 "
                                  "3 wordclass 4 4 wordclass 5"),
                       into(warnings));
  EXPECT_EQ(warnings, warning(2) + warning(4));

  constexpr float sum = 104.f;
  const readings_t expected[] = {{{1, 0.5f}, {2, 0.5f}},
                                 {{0, 0.375f}, {1, 0.5f}, {3, 0.125f}},
                                 {},
                                 {{1, 0.995f}},
                                 {},
                                 {{0, 3.f / sum}, {1, 100.f / sum}}};
  ASSERT_EQ(model.WA()->number_of_classes, 6);
  ASSERT_EQ(model.Wordclass_Lexicon().size(), 6u);
  for (size_t m = 0; m < 6; ++m) {
    const entry_t& slot = model.Wordclass_Lexicon()[m];
    EXPECT_EQ(slot.word, nullptr);
    EXPECT_EQ(readings_of(slot), expected[m]) << m;
    EXPECT_EQ(slot.data == nullptr, expected[m].empty());
    if (slot.data == nullptr) continue;
    EXPECT_EQ(slot.data->freq, 0);
    EXPECT_EQ(slot.data->lemma, nullptr);
    EXPECT_STREQ(model.lemma(slot, 0), "");
  }

  const struct {
    const char* word;
    const entry_t* expected;
  } lookups[] = {{"b", &model.Fullform_Lexicon(2)},
                 {"aaa", &model.Wordclass_Lexicon()[1]},
                 {"cd", nullptr},
                 {"zzz", &model.Wordclass_Lexicon()[0]},
                 {"", &model.Wordclass_Lexicon()[0]},
                 {"3.", &model.Wordclass_Lexicon()[0]}};
  for (const auto& row : lookups) EXPECT_EQ(model.fullform_lookup(row.word), row.expected) << row.word;
  EXPECT_EQ(model.fullform_lookup2("<i>b</i>", 1), &model.Wordclass_Lexicon()[0]);
}

// Ten thousand classes of a word each, and as many tags: a number for each pair would take 800 MB.
TEST(Wordclass, ClassesTakeMemoryForTheirOwnTagsOnly) {
  constexpr int Words = 10'000;
  sample_file_t sample;
  std::vector<sample_entry_t> words;
  std::string transducer, classes;
  for (int i = 0; i < Words; ++i) {
    std::string word = std::to_string(Words + i).substr(1);  // of four digits, as letters
    for (char& c : word) c = static_cast<char>(c - '0' + 'a');
    words.push_back(sample_entry(word, {{i, 1.F}}));
    classes += std::to_string(1111 + i) + " wordclass " + std::to_string(i) + " ";
  }
  // State s goes on to the states 10 s + 1 to 10 s + 10.
  for (int state = 0; state <= 1111 + Words; ++state)
    for (int c = 0; c < 10 && state < 1111; ++c)
      transducer += std::to_string(state) + " " + static_cast<char>('a' + c) + " " +
                    std::to_string(10 * state + 1 + c) + " ";
  transducer += std::to_string(1111 + Words) + " x 0 ";
  sample.tags.clear();
  for (int i = 0; i < Words; ++i) sample.tags.push_back("T" + std::to_string(Words + i));
  sample.factors.assign(Words, 1.0);
  sample.set_words(words);
  Model model = sample.model();
  const long before = kilobytes_of_process();
  model.read_wordclass(ByteStream(transducer + classes), {});
  EXPECT_LT(kilobytes_of_process() - before, 200'000);
  EXPECT_EQ(model.Wordclass_Lexicon().size(), size_t{Words});
  for (const int i : {0, 4711, Words - 1})
    EXPECT_EQ(readings_of(model.Wordclass_Lexicon()[static_cast<size_t>(i)]), (readings_t{{i, 1.F}})) << i;
}

// Each model has its own; they move with it, others replace them, and a file that is refused leaves them.
TEST(Wordclass, BelongToTheirModel) {
  const std::vector<sample_entry_t> words = {sample_entry("a", {{0, 1.f}}), sample_entry("b", {{1, 1.f}})};
  Model with = model_with_words(words), without = model_with_words(words);
  std::string warnings;
  with.read_wordclass(ByteStream("0 a 0 0 wordclass 1"), into(warnings));
  EXPECT_EQ(without.WA(), nullptr);
  EXPECT_EQ(without.Wordclass_Lexicon().size(), 0u);
  EXPECT_EQ(without.fullform_lookup("aa"), nullptr);
  EXPECT_FATAL(with.read_wordclass(ByteStream("0 ab 1")),
               "Error: in transducer file: illegal symbol \"ab\"!");
  EXPECT_EQ(readings_of(*with.fullform_lookup("aa")), (readings_t{{0, 1.f}}));
  const Model moved = std::move(with);
  EXPECT_EQ(readings_of(*moved.fullform_lookup("aa")), (readings_t{{0, 1.f}}));
  EXPECT_EQ(readings_of(*moved.fullform_lookup("c")), (readings_t{{1, 1.f}}));
  without.read_wordclass(ByteStream("0 a 0 0 wordclass 1"), into(warnings));
  without.read_wordclass(ByteStream("0 b 0 0 wordclass 1"), into(warnings));
  EXPECT_EQ(readings_of(*without.fullform_lookup("bb")), (readings_t{{1, 1.f}}));
  EXPECT_EQ(readings_of(*without.fullform_lookup("aa")), (readings_t{{0, 1.f}}));  // class 0
  EXPECT_EQ(warnings, "");
}

}  // namespace
}  // namespace orvelle
