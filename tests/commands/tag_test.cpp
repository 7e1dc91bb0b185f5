// orvelle tag, evaluate and tune, on files that the trainer makes.
#include "commands/program.h"

namespace orvelle {
namespace {

class TaggingTest : public ProgramTest {
 protected:
  TaggingTest() {
    dir_.write("lex",
               "the\tDT the\n.\tSENT .\nwalk\tNN walk\tVB walk\ndogs\tNNS dog\nthey\tPP they\n"
               "walking\tVBG walk\nsinging\tVBG sing\nParis\tNP Paris\n");
    dir_.write("open", "NN NNS VBG NP");
    std::string corpus;
    for (int i = 0; i < 9; ++i)
      corpus +=
          "the\tDT\nwalk\tNN\n.\tSENT\nthey\tPP\nwalk\tVB\nthe\tDT\ndogs\tNNS\n.\tSENT\n"
          "they\tPP\nwalking\tVBG\n.\tSENT\nParis\tNP\nsinging\tVBG\n.\tSENT\n";
    dir_.write("corpus", corpus);
    EXPECT_EQ(run("$train -quiet -utf8 lex open corpus par").status, 0);
  }
};

std::string conllu_line(const char* number, const char* form, const char* lemma, const char* xpos) {
  return std::string(number) + "\t" + form + "\t" + lemma + "\tX\t" + xpos +
         "\t_\t0\troot\t_\tSpaceAfter=No\n";
}

TEST_F(TaggingTest, TagsText) {
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
      {"more columns stay", "", "the\tx\ty\nwalk\n", "the\tx\ty\tDT\tthe\nwalk\tNN\twalk\n"},
      {"CR LF and no last LF", "", "the\r\nwalk\r\n\r\nthe",
       "the\tDT\tthe\r\nwalk\tNN\twalk\r\n\r\nthe\tDT\tthe\n"},
      {"markup passes through", "--markup", "<p>\nthe\n<b x='1'>\nwalk\n</b>\n\n</p>",
       "<p>\nthe\tDT\tthe\n<b x='1'>\nwalk\tNN\twalk\n</b>\n\n</p>"},
      {"a tag in a word", "--markup", "they\nwalk<br/>\njumping<i>\n",
       "they\tPP\tthey\nwalk<br/>\tVB\twalk\njumping<i>\tVBG\tjumping<i>\n"},
      {"NUL ends a form", "--no-lemma", bytes("the\0x\nwalk\n"), bytes("the\0x\tDT\nwalk\tNN\n")},
      {"CoNLL-U", "--conllu",
       "# text\n1-2\tthewalk\t_\t_\t_\t_\t_\t_\t_\t_\n" + conllu_line("1", "the", "_", "_") +
           conllu_line("2", "walk", "_", "_") + conllu_line("2.1", "walk", "_", "_") + "\n",
       "# text\n1-2\tthewalk\t_\t_\t_\t_\t_\t_\t_\t_\n" + conllu_line("1", "the", "the", "DT") +
           conllu_line("2", "walk", "walk", "NN") + conllu_line("2.1", "walk", "_", "_") + "\n"},
  };
  for (const auto& c : cases) {
    dir_.write("text", c.text);
    const result_t result = run(std::string("$orvelle tag ") + c.arguments + " par text; $orvelle tag " +
                                c.arguments + " --output copy par - <text; cmp .out copy >&2");
    EXPECT_EQ(result.status, 0) << c.name << result.err;
    EXPECT_EQ(result.out, c.out) << c.name;
    EXPECT_EQ(result.err, "") << c.name;
  }
}

// "dey" is in the class of "they". To all words that the transducer does not accept it makes no difference.
TEST_F(TaggingTest, WordClasses) {
  dir_.write("classes", "0 d 2\n0 t 1\n1 h 2\n2 e 3\n3 y 4\n4 z 0\n4 wordclass 1\n");
  EXPECT_EQ(run("printf '1999\\tNN\\n.\\tSENT\\n' >>corpus; $train -quiet lex open corpus par").status, 0);
  dir_.write("text", "dey\nwalk\n17\n.\n\nthey\njumping\n\nDogs\n");
  const result_t result = run("$orvelle tag --wordclass classes par text");
  EXPECT_EQ(result.out,
            "dey\tPP\tdey\nwalk\tVB\twalk\n17\tNN\t@card@\n.\tSENT\t.\n\nthey\tPP\tthey\n"
            "jumping\tVBG\tjumping\n\nDogs\tNNS\tdog\n")
      << result.err;
  EXPECT_EQ(run("$orvelle tag --wordclass - par text <classes").out, result.out);
  EXPECT_EQ(run("$orvelle tag par text | head -n 1 | cut -f 2").out.find("PP"), std::string::npos);
  dir_.write("gold", "dey\tPP\nwalk\tVB\n");
  EXPECT_NE(run("$orvelle evaluate --wordclass classes - gold <par").out.find("unknown words      100.00%"),
            std::string::npos);
}

TEST_F(TaggingTest, EveryProbabilityOfAWord) {
  dir_.write("text", "walk\n");
  const std::string out = run("$orvelle tag --probabilities 0 par text").out;
  double sum = 0.0;
  int tags = 0;
  for (size_t at = out.find(" walk "); at != std::string::npos; at = out.find(" walk ", at + 1), ++tags)
    sum += std::atof(out.c_str() + at + 6);
  EXPECT_GE(tags, 2) << out;
  EXPECT_NEAR(sum, 1.0, 5.1e-5 * tags) << out;
}

// A text without ends of sentences comes out in pieces, with no line lost and no tag changed by the cuts.
TEST_F(TaggingTest, EndlessSentence) {
  std::string expected;
  std::string text;
  for (int i = 0; i < 3000; ++i) {
    text += "the\nwalk\n.\nthey\nwalk\n<s>\n";
    expected += "the\tDT\nwalk\tNN\n.\tSENT\nthey\tPP\nwalk\tVB\n<s>\n";
  }
  dir_.write("text", text);
  EXPECT_EQ(run("$orvelle tag --markup --no-lemma par text").out, expected);
  dir_.write("text", std::string(3000000, 'x') + "\nthe\n");
  const result_t result = run("$orvelle tag --no-lemma par text | wc -lc");
  EXPECT_NE(result.out.find(" 2 300001"), std::string::npos) << result.out;
}

// The other end of the pipe gets a sentence while the text still goes on.
TEST_F(TaggingTest, AnswersBeforeTheEndOfItsInput) {
  const result_t result =
      run("mkfifo in out; $orvelle tag --no-lemma par <in >out & exec 3>in 4<out\n"
          "printf 'the\\nwalk\\n\\n' >&3; head -n 3 <&4; printf 'they\\n' >&3; exec 3>&-; cat <&4; wait");
  EXPECT_EQ(result.out, "the\tDT\nwalk\tNN\n\nthey\tPP\n");
}

TEST_F(TaggingTest, Evaluates) {
  dir_.write("gold", "the\tDT\nwalk\tNN\n.\tSENT\n\nthey\tPP\nwalk\tNN\njumping\tVBG\n\nthe\tQ\"\n");
  const result_t table = run("$orvelle evaluate par gold");
  EXPECT_EQ(table.status, 0) << table.err;
  EXPECT_EQ(table.err,
            "orvelle evaluate: 1 tag of the corpus not in the model, whose words count as wrong: Q\" 1\n");
  for (const char* line :
       {"all words           71.43%            7\n", "known words         66.67%            6\n",
        "unknown words      100.00%            1\n", "ambiguous words     50.00%            2\n",
        "sentences           33.33%            3\n",
        "NN                 100.00%    50.00%    66.67%         2\n"})
    EXPECT_NE(table.out.find(line), std::string::npos) << line << table.out;
  const std::string json = run("$orvelle evaluate --json par gold").out;
  for (const char* part :
       {"\"all\": {\"number\": 7, \"right\": 5, \"accuracy\": 0.714286}",
        "{\"tag\": \"Q\\\"\", \"in_model\": false, \"gold\": 1, \"given\": 0, \"right\": 0,",
        "{\"gold\": \"NN\", \"given\": \"VB\", \"number\": 1, \"examples\": [\"walk\"]}"})
    EXPECT_NE(json.find(part), std::string::npos) << part << json;
  // Without empty lines the sentence tags count.
  EXPECT_NE(run("$orvelle evaluate par corpus").out.find("sentences          100.00%           36\n"),
            std::string::npos);
}

TEST_F(TaggingTest, TunesTheSameOnEveryRun) {
  const result_t first = run("$orvelle tune --folds 3 --jobs 2 --utf8 lex open corpus");
  EXPECT_EQ(first.status, 0) << first.err;
  EXPECT_EQ(first.err, "");
  EXPECT_EQ(first.out.find("126 words, 36 sentences, 3 folds\n"), 0u) << first.out;
  EXPECT_NE(first.out.find("\n\ntrain-orvelle -utf8 -cl "), std::string::npos) << first.out;
  EXPECT_EQ(run("$orvelle tune --folds 3 --jobs 1 --utf8 lex open corpus").out, first.out);
  // The command line that it ends with is one.
  EXPECT_EQ(run("line=$($orvelle tune --folds 3 lex open corpus | tail -n 1); PATH=$(dirname $train):$PATH;"
                "eval \"${line%PARAMETER-FILE}tuned\" 2>/dev/null && $orvelle evaluate tuned corpus")
                .status,
            0);
}

TEST_F(TaggingTest, Refuses) {
  dir_.write("broken", "1\tthe\t_\n");
  dir_.write("tagless", "the\tDT\nwalk\n");
  dir_.write("nothing", "\n");
  const struct {
    const char* line;
    int status;
    const char* err;  // a part of it
  } cases[] = {
      {"tag --conllu par broken", 1, "broken:1: not a CoNLL-U line of ten columns: 1\\tthe\\t_"},
      {"tag --conllu --probabilities 0.1 par broken", 2, "no column for --probabilities"},
      {"tag --column upos par broken", 2, "goes with --conllu"},
      {"tag par missing", 1, "can't open missing"},
      {"tag --wordclass missing par lex", 1, "can't open missing"},
      {"tag --wordclass lex par lex", 1, "in transducer file"},
      {"tag lex", 1, "ERROR"},
      {"tag - <par", 2, "only one file can be standard input"},
      {"evaluate --json --tags x missing", 2, "--tags takes a whole number"},
      {"evaluate par tagless", 1, "tagless:2: no TAB and tag behind the word: walk"},
      {"evaluate par nothing", 1, "no words in nothing"},
      {"tune lex open tagless", 1, "tagless:2: no TAB and tag"},
      {"tune --folds 100 lex open corpus", 1, "too few for 100 folds"},
      {"tune lex open -", 2, "needs files"},
  };
  for (const auto& c : cases) {
    const result_t result = run(std::string("$orvelle ") + c.line);
    EXPECT_EQ(result.status, c.status) << c.line;
    EXPECT_NE(result.err.find(c.err), std::string::npos) << c.line << "\n" << result.err;
  }
}

}  // namespace
}  // namespace orvelle
