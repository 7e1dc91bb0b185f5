#include "wordclass/wordclass.h"

#include <gtest/gtest.h>

#include <string>

#include "small_lexicon.h"
#include "test_support.h"

namespace orvelle {
namespace {

Automaton automaton_of(const std::string& text) { return Automaton(ByteStream(text)); }

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

TEST(AutomatonDeathTest, RefusesABrokenFile) {
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
      {"2000000000 a 1", "number too large (2000000000 a 1)!"},
      {"99999999999 a 1", "number too large (2147483647 a 1)!"},
      {"0 a 0 0 wordclass 2147483647", "number too large (0 wordclass 2147483647)!"},
      {"0 a 99999999999999999999", "transition to unknown state 2147483647!"},
      {"0 a 0", "no word class!"},
  };
  for (const auto& row : cases)
    EXPECT_FATAL(automaton_of(row.text), "Error: in transducer file: " + row.message) << row.text;
  EXPECT_FATAL(read_wordclass(ByteStream("")), "Error: in transducer file: no word class!");
}

TEST(AutomatonDeathTest, AReadErrorIsNotTheEnd) {
  const TempDir directory;
  FILE* file = std::fopen(directory.path().c_str(), "r");
  ASSERT_NE(file, nullptr);
  EXPECT_ERROR(Automaton{file}, "Can't read from input file");
  std::fclose(file);
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

TEST(Wordclass, LexiconHoldsTheDistributionOfEachClass) {
  set_small_lexicon({"DT", "NN", "SENT", "VB"}, {{"a", {{0, 0.75f}, {3, 0.25f}}},    // class 1
                                                 {"aa", {{1, 1.f}}},                 // class 1
                                                 {"b", {{1, 0.995f}, {2, 0.005f}}},  // class 3
                                                 {"c", {{0, 0.f}}},  // class 4: no probability
                                                 {"other", {{1, 0.5f}, {2, 0.5f}}}});  // class 0
  const ByteStream file("0 a 1 0 b 2 0 c 3 1 a 1 3 d 3 1 wordclass 1 2 wordclass 3 3 wordclass 4");
  const auto warning = [](int m) {
    return "\nWARNING: no lexicon entry for word class " + std::to_string(m) + "!\n";
  };
  EXPECT_EQ(stderr_of([&] { read_wordclass(file); }), warning(2) + warning(4));

  using readings_t = std::vector<std::pair<int, float>>;
  const readings_t expected[] = {
      {{1, 0.5f}, {2, 0.5f}}, {{0, 0.375f}, {1, 0.5f}, {3, 0.125f}}, {}, {{1, 0.995f}}, {}};
  ASSERT_EQ(WA->number_of_classes, 5);
  for (int m = 0; m < 5; ++m) {
    const entry_t& slot = Wordclass_Lexicon[m];
    EXPECT_EQ(slot.word, nullptr);
    readings_t readings;
    for (int i = 0; slot.data != nullptr && i < slot.data->n; ++i) {
      readings.emplace_back(slot.data->tag[i], slot.data->prob[i]);
    }
    EXPECT_EQ(readings, expected[m]) << m;
    EXPECT_EQ(slot.data == nullptr, expected[m].empty());
    EXPECT_TRUE(slot.data == nullptr || slot.data->freq == 0);
  }

  const struct {
    const char* word;
    const entry_t* expected;
  } lookups[] = {
      {"b", &Fullform_Lexicon[2]},    {"aaa", &Wordclass_Lexicon[1]}, {"cd", nullptr},
      {"zzz", &Wordclass_Lexicon[0]}, {"", &Wordclass_Lexicon[0]},    {"3.", &Wordclass_Lexicon[0]}};
  for (const auto& row : lookups) EXPECT_EQ(fullform_lookup(row.word), row.expected) << row.word;
  WA = nullptr;  // no other test looks words up by class
}

}  // namespace
}  // namespace orvelle
