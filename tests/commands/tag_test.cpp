// SPDX-License-Identifier: MIT
// orvelle tag and evaluate, on files that the trainer makes.
#include <orvelle/tagger.h>

#include <random>

#include "commands/command_test.h"

namespace orvelle {
namespace {

class TaggingTest : public CommandTest {
 protected:
  TaggingTest() {
    dir_.write("lex",
               "the\tDT the\n.\tSENT .\nwalk\tNN walk\tVB walk\ndogs\tNNS dog\nthey\tPP they\n"
               "walking\tVBG walk\nsinging\tVBG sing\nParis\tNP Paris\n");
    dir_.write("open", "NN NNS VBG NP");
    dir_.write("corpus", times(9,
                               "the\tDT\nwalk\tNN\n.\tSENT\nthey\tPP\nwalk\tVB\nthe\tDT\ndogs\tNNS\n.\tSENT\n"
                               "they\tPP\nwalking\tVBG\n.\tSENT\nParis\tNP\nsinging\tVBG\n.\tSENT\n"));
    EXPECT_EQ(train("-utf8"), "(no error)");
  }
};

std::string conllu_line(const char* number, const char* form, const char* lemma, const char* xpos,
                        const char* upos = "X") {
  return conllu_row(number, form, lemma, upos, xpos, "_", "SpaceAfter=No");
}

TEST_F(TaggingTest, TagsText) {
  const std::string far(600, 'y');
  const struct {
    const char* name;
    const char* arguments;
    std::string text;
    std::string out;
  } cases[] = {
      {"empty", "", "", ""},
      {"by the context", "", "the\nwalk\n.\n\nthey\nwalk\nthe\n",
       "the\tDT\tthe\nwalk\tNN\twalk\n.\tSENT\t.\n\nthey\tPP\tthey\nwalk\tVB\twalk\nthe\tDT\tthe\n"},
      {"small in the lexicon", "", "They\nwalk\n", "They\tPP\tthey\nwalk\tVB\twalk\n"},
      {"by the ending", "", "they\njumping\n", "they\tPP\tthey\njumping\tVBG\tjumping\n"},
      {"placeholder", "--unknown-lemma '?'", "they\njumping\n", "they\tPP\tthey\njumping\tVBG\t?\n"},
      {"no lemma", "--no-lemma --decode word", "they\n", "they\tPP\n"},
      {"the last option wins", "--unknown-lemma a --unknown-lemma=b", "jumping\n", "jumping\tVBG\tb\n"},
      {"more columns stay", "", "the\tx\ty\nwalk\n", "the\tx\ty\tDT\tthe\nwalk\tNN\twalk\n"},
      {"CR LF and no last LF", "", "the\r\nwalk\r\n\r\nthe",
       "the\tDT\tthe\r\nwalk\tNN\twalk\r\n\r\nthe\tDT\tthe\n"},
      {"markup passes through", "--markup", "<p>\nthe\n<b x='1'>\nwalk\n</b>\n\n</p>",
       "<p>\nthe\tDT\tthe\n<b x='1'>\nwalk\tNN\twalk\n</b>\n\n</p>"},
      {"a tag in a word", "--markup", "they\nwalk<br/>\njumping<i>\n",
       "they\tPP\tthey\nwalk<br/>\tVB\twalk\njumping<i>\tVBG\tjumping<i>\n"},
      {"NUL ends a form", "--no-lemma", bytes("the\0x\nwalk\n"), bytes("the\0x\tDT\nwalk\tNN\n")},
      {"NUL far behind", "--no-lemma", "the\t" + far + bytes("\0z\nwalk\n"),
       "the\t" + far + bytes("\0z\tDT\nwalk\tNN\n")},
      {"CoNLL-U", "--conllu",
       "# text\n1-2\tthewalk\t_\t_\t_\t_\t_\t_\t_\t_\n" + conllu_line("1", "the", "_", "_") +
           conllu_line("2", "walk", "_", "_") + conllu_line("2.1", "walk", "_", "_") + "\n",
       "# text\n1-2\tthewalk\t_\t_\t_\t_\t_\t_\t_\t_\n" + conllu_line("1", "the", "the", "DT") +
           conllu_line("2", "walk", "walk", "NN") + conllu_line("2.1", "walk", "_", "_") + "\n"},
      {"CoNLL-U, UPOS, no word", "--conllu --column upos", conllu_line("1", "", "x", "Y"),
       conllu_line("1", "", "_", "Y", "VBG")},
      {"CoNLL-U, no lemma", "--conllu --no-lemma --markup", "<s>\n" + conllu_line("1", "they", "x", "Y"),
       "<s>\n" + conllu_line("1", "they", "x", "PP")},
  };
  for (const auto& c : cases) {
    dir_.write("text", c.text);
    const result_t result = orvelle(std::string("tag ") + c.arguments + " par text");
    EXPECT_EQ(result.status, 0) << c.name << result.err;
    EXPECT_EQ(result.out, c.out) << c.name;
    EXPECT_EQ(result.err, "") << c.name;
    EXPECT_EQ(orvelle(std::string("tag ") + c.arguments + " --output copy par -", c.text).out, "");
    EXPECT_EQ(read_file(dir_.path("copy")), c.out) << c.name;
  }
}

// Words that the training did not meet get the tags of a lexicon that is added; words that it met often keep theirs.
TEST_F(TaggingTest, TakesEntriesWithoutTraining) {
  dir_.write("one", "jumping\tNN leap\r\nthe\tNN the\ndancing\tVB dance\nlondon\tNP London\n");
  dir_.write("two", "jumping\tXX y\tNN other\tVB leap\nwalking\tXX walk\n");
  const char* const text = "they\njumping\nthe\nDancing\nLONDON\nwalking\n";
  const result_t result = orvelle("tag --lexicon one --lexicon two par -", text);
  EXPECT_EQ(result.out,
            "they\tPP\tthey\njumping\tVB\tleap\nthe\tDT\tthe\nDancing\tVB\tdance\nLONDON\tNP\tLondon\n"
            "walking\tVBG\twalk\n");
  EXPECT_EQ(result.err,
            "orvelle tag: two: 2 readings left out, with tags that the model does not have, such as XX\n");
  EXPECT_EQ(orvelle("tag par -", "jumping\n").out, "jumping\tVBG\tjumping\n");
  dir_.write("text", text);
  const struct {
    const char* entry;
    const char* message;
  } faults[] = {{"word\n", "orvelle tag: one:1: no tag for the word form 'word'\n"},
                {"w\tNN\n", "orvelle tag: one:1: tag NN has no lemma\n"}};
  for (const auto& fault : faults) {
    dir_.write("one", fault.entry);
    const result_t refused = orvelle("tag --lexicon one par -", text);
    EXPECT_EQ(refused.status, 1);
    EXPECT_EQ(refused.out + refused.err, fault.message);
  }
  expect_in_part({{"tag --lexicon one --output one par text", 1, "one"}});
}

// "dey" is in the class of "they". To all words that the transducer does not accept it makes no difference.
TEST_F(TaggingTest, WordClasses) {
  dir_.write("classes", "0 d 2\n0 t 1\n1 h 2\n2 e 3\n3 y 4\n4 z 0\n4 wordclass 1\n");
  dir_.write("corpus", read_file(dir_.path("corpus")) + "1999\tNN\n.\tSENT\n");
  EXPECT_EQ(train(), "(no error)");
  dir_.write("text", "dey\nwalk\n17\n.\n\nthey\njumping\n\nDogs\n");
  const result_t result = orvelle("tag --wordclass classes par text");
  EXPECT_EQ(result.out,
            "dey\tPP\tdey\nwalk\tVB\twalk\n17\tNN\t@card@\n.\tSENT\t.\n\nthey\tPP\tthey\n"
            "jumping\tVBG\tjumping\n\nDogs\tNNS\tdog\n")
      << result.err;
  EXPECT_EQ(orvelle("tag --wordclass - par text", read_file(dir_.path("classes"))).out, result.out);
  EXPECT_NE(orvelle("tag par text").out.substr(0, 6), "dey\tPP");
  dir_.write("gold", "dey\tPP\nwalk\tVB\n");
  EXPECT_NE(orvelle("evaluate --wordclass classes - gold", read_file(dir_.path("par")))
                .out.find("unknown words      100.00%"),
            std::string::npos);
}

// All probabilities of a word sum to 1, the most probable first; a bound leaves those above it, and one at least.
TEST_F(TaggingTest, ProbabilitiesOfAWord) {
  const auto probabilities = [&](const char* bound) {
    const std::string out = orvelle(std::string("tag --probabilities ") + bound + " par -", "walk\n").out;
    std::vector<double> result;
    for (size_t at = out.find(" walk "); at != std::string::npos; at = out.find(" walk ", at + 1))
      result.push_back(std::atof(out.c_str() + at + 6));
    EXPECT_EQ(out.substr(0, 11), "walk\tVB wal");
    return result;
  };
  const std::vector<double> all = probabilities("0");
  ASSERT_GE(all.size(), 2u);
  double sum = 0.0;
  for (size_t i = 0; i < all.size(); ++i) {
    sum += all[i];
    EXPECT_TRUE(i == 0 || all[i - 1] >= all[i]);
  }
  EXPECT_NEAR(sum, 1.0, 5.1e-5 * static_cast<double>(all.size()));
  EXPECT_LT(all[0], 1.0);
  EXPECT_EQ(probabilities("1"), std::vector<double>{all[0]});
  EXPECT_EQ(probabilities(std::to_string(all[1] / 2 + all[0] / 2).c_str()), std::vector<double>{all[0]});
}

// A text without ends of sentences is tagged in pieces, with no line lost and as if it were tagged at once.
TEST_F(TaggingTest, EndlessSentence) {
  const std::string_view words[] = {"the", "walk", "they", "walk", "."};
  std::mt19937 random(2);
  std::vector<std::string_view> forms;
  std::string text, expected;
  for (int i = 0; i < 20000; ++i)
    text.append(forms.emplace_back(words[random() % 5])).append(i % 7 ? "\n" : "\n<s>\n");
  const Model model = read_parameter_file("par");
  Tagger tagger(model);
  tagger.tag(forms);
  for (size_t i = 0; i < forms.size(); ++i)
    expected.append(forms[i])
        .append("\t")
        .append(model.Tag(tagger.chosen(i).tag))
        .append(i % 7 ? "\n" : "\n<s>\n");
  dir_.write("text", text);
  for (const char* jobs : {"1", "3"})
    EXPECT_TRUE(orvelle(std::string("tag --markup --no-lemma --jobs ") + jobs + " par text").out == expected)
        << jobs;
  const std::string form(1500000, 'x');
  const std::string out = orvelle("tag --no-lemma par -", "the\n" + form + "\n").out;
  EXPECT_TRUE(out.starts_with("the\tDT\n" + form + "\t"));
  EXPECT_EQ(out.find('\n', 8), out.size() - 1);
}

// Sentences of all kinds, which the threads get in batches of 64 KB, and a sentence of more than a megabyte among them.
TEST_F(TaggingTest, AnyNumberOfJobsGivesTheSame) {
  const char* const words[] = {"the",     "walk",  "walk", ".",    "they", "Paris",
                               "jumping", "xyz-1", "7",    "Walk", "<i>"};
  std::mt19937 random(9);
  std::string gold;
  for (int i = 0; i < 1600; ++i) {
    for (size_t left = i == 1200 ? 2400 : random() % 20; left > 0; --left) {
      gold += words[random() % 11];
      if (i == 1200) gold += std::string(450, 'x');
      gold += random() % 2 ? "\tNN\n" : "\tVB\r\n";
    }
    gold += i % 5 ? "\n" : "\r\n\n";
  }
  dir_.write("gold", gold);
  dir_.write("large", times(100'000, "the\nwalk\n.\n\n"));  // more than may wait for the threads
  dir_.write("broken", gold.substr(0, 100000) + "\nwalk\n\n" + gold);
  const struct {
    const char* arguments;
    std::vector<const char*> jobs;
    int status;
  } cases[] = {{"tag --markup par gold", {"1", "2", "8"}, 0},
               {"evaluate --json par gold", {"1", "3"}, 0},
               {"evaluate par broken", {"1", "2"}, 1},
               {"tag --output /dev/full par large", {"1", "2"}, 1}};
  for (const auto& c : cases) {
    result_t first;
    for (const char* jobs : c.jobs) {
      result_t result = orvelle(std::string(c.arguments) + " --jobs " + jobs);
      if (const size_t speed = result.out.find("words_per_second"); speed != std::string::npos)
        result.out.erase(speed, result.out.find(',', speed) - speed);
      EXPECT_EQ(result.status, c.status) << c.arguments << result.err;
      EXPECT_EQ(result.err.empty(), c.status == 0) << c.arguments;
      if (jobs == c.jobs[0]) first = result;
      EXPECT_TRUE(result.out == first.out) << c.arguments << " " << jobs;
      EXPECT_EQ(result.err, first.err) << c.arguments << " " << jobs;
    }
    EXPECT_TRUE(&c != cases || count_of(first.out, "\n") == count_of(gold, "\n"));
  }
  // What came before a line that is none comes out, and the message names it.
  dir_.write("text", times(2000, conllu_line("1", "the", "_", "_") + "\n") + "x\n\n" +
                         conllu_line("1", "a", "_", "_"));
  const result_t alone = orvelle("tag --conllu par text"), many = orvelle("tag --conllu --jobs 3 par text");
  EXPECT_EQ(alone.err, "orvelle tag: text:4001: not a CoNLL-U line of ten columns: x\n");
  EXPECT_EQ(many.err, alone.err);
  EXPECT_TRUE(alone.out == many.out);
  EXPECT_EQ(count_of(alone.out, "\tthe\tthe\tX\tDT"), 2000);
  // Behind a sentence that one thread had to itself the lines are counted on.
  dir_.write("text", times(60000, conllu_line("1", "a", "_", "_")) + "\n" +
                         times(2000, conllu_line("1", "the", "_", "_") + "\n") + "x\n");
  EXPECT_EQ(orvelle("tag --conllu --jobs 2 par text").err,
            "orvelle tag: text:64002: not a CoNLL-U line of ten columns: x\n");
}

// The lexicon had CR LF ends, which become part of its lemmas.
TEST_F(TaggingTest, NoLemmaBreaksALine) {
  dir_.write("lex", ".\tSENT .\nwalk\tVB a\rb\r\nthe\tDT the\r\ndogs\tNNS dog\r\n");
  dir_.write("open", "NNS");
  dir_.write("corpus", times(9, "the\tDT\ndogs\tNNS\nwalk\tVB\n.\tSENT\n"));
  ASSERT_EQ(train(), "(no error)");
  EXPECT_EQ(orvelle("tag par -", "the\nwalk\n").out, "the\tDT\tthe\nwalk\tVB\ta b\n");
  EXPECT_EQ(orvelle("tag par -", conllu_line("1", "dogs", "_", "_")).out,
            conllu_line("1", "dogs", "dog", "NNS"));
}

// The other end of the pipe gets a sentence while the text still goes on.
TEST_F(TaggingTest, AnswersBeforeTheEndOfItsInput) {
  for (const char* jobs : {"1", "2"}) {
    const result_t result =
        run(std::string("rm -f in out; mkfifo in out; $orvelle tag --no-lemma --jobs ") + jobs +
            " par <in >out & exec 3>in 4<out\n"
            "printf 'the\\nwalk\\n\\n' >&3; head -n 3 <&4; printf 'they\\n' >&3; exec 3>&-; cat <&4; wait");
    EXPECT_EQ(result.out, "the\tDT\nwalk\tNN\n\nthey\tPP\n");
  }
}

TEST_F(TaggingTest, Evaluates) {
  dir_.write(
      "gold",
      "the\tDT\nwalk\tNN\n."
      "\tSENT\n\nthey\tPP\nwalk\tNN\tx\njumping\tVBG\n\nthe\tQ\"\r\n\nparis\tNP\nwalk\tNN\n\nthe\tDT\n");
  const result_t table = orvelle("evaluate par gold");
  EXPECT_EQ(table.status, 0);
  EXPECT_EQ(table.err,
            "orvelle evaluate: 1 tag of the corpus not in the model, whose words count as wrong: Q\" 1\n");
  const auto body = [](const std::string& out) { return out.substr(0, out.rfind("\n\n") + 1); };
  EXPECT_EQ(body(table.out), body(orvelle("evaluate --tags 0 --confusions 0 par gold").out));
  const std::string scores =
      "                  accuracy       number\n"
      "all words           60.00%           10\n"
      "known words         62.50%            8\n"
      "unknown words       50.00%            2\n"
      "ambiguous words     33.33%            3\n"
      "sentences           40.00%            5\n";
  EXPECT_EQ(body(table.out).substr(0, scores.size()), scores);
  for (const char* line : {"\nNN                 100.00%    33.33%    50.00%         3\n",
                           "\nVBG                 50.00%   100.00%    66.67%         1\n",
                           "\nDT                  66.67%   100.00%    80.00%         2\n",
                           "\nQ\"                   0.00%     0.00%     0.00%         1\n",
                           "        2  NN               VB               walk\n",
                           "        1  Q\"               DT               the\n"})
    EXPECT_EQ(count_of(table.out, line), 1) << line << table.out;
  const std::string few = orvelle("evaluate --tags 1 --confusions 1 par gold").out;
  EXPECT_EQ(count_of(few, "%"), 5 + 3);
  EXPECT_EQ(count_of(few, "VB  "), 1);
  EXPECT_EQ(count_of(few, "Q\""), 0);
  const std::string json = orvelle("evaluate --json par gold").out;
  for (const char* part :
       {"\"all\": {\"number\": 10, \"right\": 6, \"accuracy\": 0.600000}",
        "\"unknown\": {\"number\": 2, \"right\": 1, \"accuracy\": 0.500000}",
        "\"sentences\": {\"number\": 5, \"right\": 2, \"accuracy\": 0.400000}",
        "{\"tag\": \"Q\\\"\", \"in_model\": false, \"gold\": 1, \"given\": 0, \"right\": 0,",
        "{\"tag\": \"NN\", \"in_model\": true, \"gold\": 3, \"given\": 1, \"right\": 1, \"precision\": "
        "1.000000, "
        "\"recall\": 0.333333, \"f1\": 0.500000}",
        "{\"gold\": \"NN\", \"given\": \"VB\", \"number\": 2, \"examples\": [\"walk\"]}"})
    EXPECT_NE(json.find(part), std::string::npos) << part << json;
  // Without empty lines the sentence tags count.
  EXPECT_NE(orvelle("evaluate par corpus").out.find("sentences          100.00%           36\n"),
            std::string::npos);
}

TEST_F(TaggingTest, Refuses) {
  dir_.write("broken", "1\tthe\t_\n");
  dir_.write("long", std::string(59, 'x') + "\xC3\xA9y");  // cut behind the character that has the 60th byte
  dir_.write("tagless", "the\tDT\nwalk\n");
  dir_.write("nothing", "\n");
  expect_in_part({
      {"tag --conllu par broken", 1, "broken:1: not a CoNLL-U line of ten columns: 1\\tthe\\t_"},
      {"tag --conllu par long", 1, "columns: " + std::string(59, 'x') + "\xC3\xA9...\n"},
      {"tag --column pos par broken", 2, "--column is one of xpos, upos, upos+feats"},
      {"tag --output lex par lex", 1, "lex is an input and would be overwritten"},
      {"tag --output ./par par lex", 1, "./par is an input and would be overwritten"},
      {"tag par missing", 1, "can't open missing"},
      {"tag --wordclass missing par lex", 1, "can't open missing"},
      {"tag --wordclass lex par lex", 1, "tag: lex: in transducer file"},
      {"tag --wordclass . par lex", 1, "orvelle tag: .: it can't be read\n"},
      {"tag lex", 1, "lex: it is no model"},
      {"tag -", 2, "only one file can be standard input"},
      {"evaluate --json --tags x missing", 2, "--tags takes a whole number"},
      {"evaluate par tagless", 1, "tagless:2: no TAB and tag behind the word: walk"},
      {"evaluate par nothing", 1, "no words in nothing"},
  });
}

}  // namespace
}  // namespace orvelle
