// SPDX-License-Identifier: MIT
// orvelle check: what it finds, and that its verdict is the trainer's.
#include <random>
#include <set>
#include <sstream>

#include "commands/command_test.h"

namespace orvelle {
namespace {

const std::string Lexicon = "the\tDT the\n.\tSENT .\ndog\tNN dog\nwalking\tVVG walk\tNN walking\n";
const std::string Corpus = "the\tDT\ndog\tNN\nwalking\tVVG\n.\tSENT\n";
constexpr int Damaged_Files = 150;
const std::string Long(9999, 'x');  // one byte more than a line may have, with its LF

class CheckTest : public CommandTest {
 protected:
  // No line stands twice, and those of a severity are as many as the last line says.
  static void expect_each_finding_once(const std::string& out) {
    std::istringstream lines(out);
    std::multiset<std::string> seen;
    for (std::string line; std::getline(lines, line);) seen.insert(line);
    for (const std::string& line : seen) EXPECT_EQ(seen.count(line), 1u) << line;
    const std::string totals = counted(count_of(out, ": error: "), "error") + ", " +
                               counted(count_of(out, ": warning: "), "warning") + ": ";
    EXPECT_NE(out.find("\n" + totals), std::string::npos) << out;
  }

  result_t check(const std::string& lexicon, const std::string& open, const std::string& corpus,
                 const std::string& options = "") {
    dir_.write("lex", lexicon);
    dir_.write("open", open);
    dir_.write("corpus", corpus);
    return orvelle("check " + options + " lex open corpus");
  }
};

TEST_F(CheckTest, FindsWhatTheTrainerStopsAtAndAgreesWithIt) {
  const struct {
    const char* name;
    std::string lexicon, open, corpus;
    std::string finding;  // stands in the output; "" if there is none
  } cases[] = {
      {"sound", Lexicon, "NN", Corpus, ""},
      {"no tag", Lexicon + "cat NN cat\n", "NN", Corpus,
       "lex:5: error: no tag for the word form 'cat NN cat'"},
      {"empty line", Lexicon + "\n", "NN", Corpus, "lex:5: error: no tag"},
      {"no lemma", "cat\tJJ\n" + Lexicon, "NN", Corpus, "lex:1: error: tag JJ has no lemma"},
      {"tag twice", Lexicon + "cat\tNN a\tJJ b\tNN c\n", "NN", Corpus,
       "lex:5: error: tag NN stands twice for 'cat'"},
      {"tag three times", Lexicon + "cat\tNN a\tNN b\tNN c\n", "NN", Corpus,
       "lex:5: error: tag NN stands twice for 'cat'"},
      {"form twice", Lexicon + "dog\tJJ dog\n", "NN", Corpus,
       "lex:5: error: word form 'dog' stands in line 3"},
      {"no sentence tag", "a\tDT a\n", "", "a\tDT\n", "lex: error: no entry has the sentence tag SENT"},
      {"empty lexicon", "", "", "", "lex: error: no entry has the sentence tag SENT"},
      {"open class", Lexicon, "NN\n\nNP VV", Corpus, "open:3: error: NP is no tag"},
      {"open class cut", Lexicon, "NN" + std::string(1000, 'x'), Corpus, "open:1: error: NN"},
      {"open class with NUL", Lexicon, bytes("NN\0x"), Corpus, ""},
      {"no open class", Lexicon, "", Corpus, "open: warning: no open classes"},
      {"unknown tag", Lexicon, "NN", Corpus + "cat\tNP\n", "corpus:5: error: NP, the tag of 'cat'"},
      {"blank for TAB", Lexicon, "NN", "dog NN\n" + Corpus,
       "corpus:1: error: no tag for the word form 'dog NN'"},
      {"no form", Lexicon, "NN", "\tNN\n", "corpus:1: error: no tag"},
      {"line of blanks", Lexicon, "NN", "dog\tNN\n  \n" + Corpus,
       "corpus:2: error: neither empty nor a token"},
      {"empty lines", Lexicon, "NN", "\n\n" + Corpus + "\n", ""},
      {"corpus CR LF", Lexicon, "NN", "the\tDT\r\n", "corpus:1: error: CR LF"},
      {"empty CR LF", Lexicon, "NN", Corpus + "\r\n", "corpus:5: error: CR LF"},
      {"lexicon CR LF", Lexicon + "cat\tNN cat\r\n", "NN", Corpus, "lex:5: warning: CR LF"},
      {"blank before tag", Lexicon, "NN", "dog\t NN\n" + Corpus, ""},
      {"CR before tag", Lexicon, "NN", "dog\t\rNN\n" + Corpus, "corpus:1: error: "},
      {"two readings", Lexicon, "NN", " \tNN\tDT\n" + Corpus,
       "corpus:1: warning: is a DT to the lexicon and a NN"},
      {"no line end", Lexicon, "NN", Corpus + "dog\tNN", ""},
      {"NUL in the corpus", Lexicon, "NN", bytes("dog\tNN\0NN\n") + Corpus,
       "corpus:1: warning: what follows the NUL"},
      {"NUL first", Lexicon, "NN", bytes("\0dog\tNN\n") + Corpus,
       "corpus:1: error: neither empty nor a token"},
      {"NUL in the lexicon", bytes("a\0\tDT a\n") + Lexicon, "NN", Corpus, "lex:1: error: no tag"},
      {"long form", Lexicon, "NN", Long + "\tNN\n", "corpus:1: error: no tag"},
      {"long line cut behind a CR", Lexicon, "NN", Corpus + std::string(9999, '\r') + "\n",
       "corpus:5: error: neither empty nor a token"},
      {"long line, LF cut off", Lexicon, "NN", "a\tNN " + Long.substr(5) + "\n",
       "corpus:1: warning: 10000 bytes"},
      {"long lexicon line", Lexicon + "a\tNN " + Long.substr(5) + "\n", "NN", Corpus, "lex:5: error: no tag"},
      {"byte-order mark", "\xEF\xBB\xBF" + Lexicon, "NN", Corpus, "lex:1: warning: the byte-order mark"},
      {"lemma with a tag", Lexicon + "run\tNN run VVG run\n", "NN", Corpus,
       "lex:5: warning: lemma 'run VVG run'"},
      {"lemma with a blank", Lexicon + "run\tNN run \n", "NN", Corpus,
       "lex:5: warning: the blank at the end"},
      {"not listed", Lexicon, "NN", Corpus + "dog\tVVG\n",
       "corpus:5: warning: the entry of 'dog' lacks the tag VVG"},
      {"no entry", Lexicon, "NN", Corpus + "cat\tNN\n", "corpus:5: warning: 'cat' has no entry"},
      {"number", Lexicon, "NN", Corpus + "1,000\tNN\n", ""},
      {"no sentence end", Lexicon, "NN", "the\tDT\ndog\tNN\nwalking\tVVG\n",
       "corpus: warning: the sentence tag"},
      {"unused tag", Lexicon + "x\tFW x\n", "NN", Corpus, "lex:5: warning: tag FW does not occur"},
      {"empty corpus", Lexicon, "NN", "", "corpus: warning: too few tokens"},
      {"six bytes", "sixsix\tDT x\n" + Lexicon, "DT", Corpus, ""},
      {"no long word", Lexicon, "DT", Corpus, "open: warning: no word form of 6 bytes or more"},
  };
  for (const auto& c : cases) {
    const result_t result = check(c.lexicon, c.open, c.corpus);
    EXPECT_EQ(result.status, train() != "(no error)") << c.name;
    EXPECT_NE(result.out.find(c.finding), std::string::npos) << c.name << "\n" << result.out;
    EXPECT_EQ(result.out.find("warning: ") == std::string::npos && result.status == 0, c.finding.empty())
        << result.out;
    EXPECT_EQ(result.err, "") << c.name;
    expect_each_finding_once(result.out);
  }
}

// Random damage to sound files: the verdict is still the trainer's.
TEST_F(CheckTest, AgreesWithTheTrainerOnDamagedFiles) {
  const std::string damage = bytes(" \t\r\n\0x.N");
  std::mt19937 random(1);
  int stopped = 0;
  for (int i = 0; i < Damaged_Files; ++i) {
    std::string texts[] = {Lexicon, "NN VVG\n", Corpus};
    std::string& text = texts[random() % 3];
    for (size_t k = random() % 3 + 1; k > 0; --k)
      text[random() % text.size()] = damage[random() % damage.size()];
    const int status = check(texts[0], texts[1], texts[2]).status;
    ASSERT_EQ(status, train() != "(no error)") << texts[0] << texts[1] << texts[2];
    stopped += status;
  }
  EXPECT_GT(stopped, Damaged_Files / 6);
  EXPECT_LT(stopped, Damaged_Files * 5 / 6);
}

TEST_F(CheckTest, SumsUp) {
  std::string corpus = times(2, "the\tDT\ndog\tNN\n.\tSENT\n") + "dog\tVVG\n1,000\tNN\n";
  EXPECT_EQ(check(Lexicon, "NN VVG NN", corpus).out,
            "corpus:7: warning: the entry of 'dog' lacks the tag VVG\n"
            "lexicon       4 word forms, 4 tags\n"
            "open classes  2 tags\n"
            "corpus        8 tokens, 2 sentence ends\n"
            "   75.00%     the entry of the form lists the tag\n"
            "   12.50%     the entry of the form lacks the tag\n"
            "   12.50%     numbers without an entry of their own\n"
            "    0.00%     no entry\n"
            "0 errors, 1 warning: the training would run\n");
  // A line may have 9999 bytes with its LF, a name of an open class 999.
  const auto line = [](size_t size) { return "a\tNN " + std::string(size - 6, 'x') + "\n"; };
  EXPECT_EQ(count_of(check(Lexicon, "NN", line(9999) + Corpus).out, "9999 bytes"), 0);
  EXPECT_NE(check(Lexicon, "NN", line(10000) + Corpus)
                .out.find("corpus:1: warning: 10000 bytes are read as 2 lines\n"),
            std::string::npos);
  const std::string name(999, 't');
  EXPECT_EQ(check(Lexicon + "t\t" + name + " t\n", name, Corpus + "t\t" + name + "\n").status, 0);
}

TEST_F(CheckTest, ShowsTheFirstOfAKindAndCountsTheRest) {
  std::string corpus = Corpus;
  for (int i = 0; i < 8; ++i) corpus += "dog\tXX\n";
  const result_t some = check(Lexicon, "NN", corpus), all = check(Lexicon, "NN", corpus, "--all");
  EXPECT_EQ(count_of(some.out, "the tag of 'dog'"), 5);
  EXPECT_NE(some.out.find("corpus: error: 3 more tokens with a tag that the lexicon lacks\n"),
            std::string::npos);
  EXPECT_EQ(count_of(all.out, "the tag of 'dog'"), 8);
  EXPECT_EQ(all.out.find(" more "), std::string::npos);
  EXPECT_NE(all.out.find("8 errors, 0 warnings: the training would stop\n"), std::string::npos) << all.out;
}

TEST_F(CheckTest, TakesTheSentenceTagAndStandardInput) {
  check(Lexicon, "NN", Corpus);
  EXPECT_EQ(orvelle("check --sentence-tag NN lex open -", Corpus).status, 0);
  EXPECT_EQ(orvelle("check --sentence-tag XX lex open corpus").status, 1);
  const result_t folder = orvelle("check lex open .");
  EXPECT_EQ(folder.status, 1);
  EXPECT_EQ(folder.err, "orvelle check: can't read .: Is a directory\n");
}

}  // namespace
}  // namespace orvelle
